#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "DoubleFormat.h"
#include "JSONKit.h"

namespace nbx {

namespace {

constexpr std::uint64_t kOnes = ~0ULL / 255;
constexpr std::uint64_t kHigh = kOnes * 0x80;

// Marks the bytes of an 8-byte word that must be escaped: quote, backslash, below 0x20.
// Only the lowest mark is exact, which is all the caller uses.
std::uint64_t escapeMarks(std::uint64_t x) {
    const auto zeroBytes = [](std::uint64_t v) { return (v - kOnes) & ~v & kHigh; };
    return ((x - kOnes * 0x20) & ~x & kHigh) | zeroBytes(x ^ (kOnes * '"')) |
           zeroBytes(x ^ (kOnes * '\\'));
}

bool needsEscape(unsigned char c) {
    return c < 0x20 || c == '"' || c == '\\';
}

// Writes into a byte buffer that grows by doubling, so the client's bytes need no copy.
class Writer {
public:
    explicit Writer(JSONError* error) : out_(256), error_(error) {}

    bool write(const PropertyValue& value, std::size_t depth);
    Bytes take() {
        out_.resize(used_);
        return std::move(out_);
    }

private:
    bool fail(std::string message);
    char* room(std::size_t n);
    void put(const char* text, std::size_t n);
    void put(char c) {
        *room(1) = c;
        ++used_;
    }
    void commit(const char* end) { used_ = static_cast<std::size_t>(end - base()); }
    char* base() { return reinterpret_cast<char*>(out_.data()); }
    bool writeString(const std::string& text);
    void writeEscape(unsigned char c);
    bool writeReal(double d);
    template <typename Integer>
    void writeInteger(Integer i);
    bool writeArray(const PropertyArray& array, std::size_t depth);
    bool writeDictionary(const PropertyDictionary& dict, std::size_t depth);

    Bytes out_;
    std::size_t used_ = 0;
    JSONError* error_;
};

bool Writer::fail(std::string message) {
    if (error_) *error_ = {std::move(message), 0, 0};
    return false;
}

// At least n writable bytes at the end of the output.
char* Writer::room(std::size_t n) {
    if (out_.size() - used_ < n) out_.resize(std::max(out_.size() * 2, used_ + n));
    return base() + used_;
}

void Writer::put(const char* text, std::size_t n) {
    std::memcpy(room(n), text, n);
    used_ += n;
}

bool Writer::write(const PropertyValue& value, std::size_t depth) {
    switch (value.type()) {
        case PropertyValue::Type::Null:
            put("null", 4);
            return true;
        case PropertyValue::Type::Boolean:
            if (value.isTrue())
                put("true", 4);
            else
                put("false", 5);
            return true;
        case PropertyValue::Type::Integer:
            writeInteger(*value.integer());
            return true;
        case PropertyValue::Type::Unsigned:
            writeInteger(*value.unsignedInteger());
            return true;
        case PropertyValue::Type::Real:
            return writeReal(*value.real());
        case PropertyValue::Type::String:
            return writeString(*value.stringPtr());
        case PropertyValue::Type::Array:
            return writeArray(*value.arrayPtr(), depth + 1);
        case PropertyValue::Type::Dictionary:
            return writeDictionary(*value.dictionaryPtr(), depth + 1);
        default:
            return fail(std::string("Unable to serialize object class ") + typeName(value.type()) +
                        ".");
    }
}

template <typename Integer>
void Writer::writeInteger(Integer i) {
    char* at = room(24);
    commit(std::to_chars(at, at + 24, i).ptr);
}

bool Writer::writeReal(double d) {
    if (!std::isfinite(d))
        return fail(
            "Floating point values must be finite.  JSON does not support NaN or Infinity.");
    commit(formatDouble17(d, room(32)));
    return true;
}

bool Writer::writeString(const std::string& text) {
    const char* p = text.data();
    const char* const end = p + text.size();
    std::uint64_t seenHigh = 0;
    put('"');
    for (;;) {
        const char* run = p;
        while (end - p >= 8) {
            std::uint64_t x;
            std::memcpy(&x, p, sizeof x);
            seenHigh |= x & kHigh;
            if (escapeMarks(x)) break;
            p += 8;
        }
        while (p < end && !needsEscape(static_cast<unsigned char>(*p))) {
            seenHigh |= static_cast<unsigned char>(*p) & 0x80;
            ++p;
        }
        put(run, static_cast<std::size_t>(p - run));
        if (p == end) break;
        writeEscape(static_cast<unsigned char>(*p++));
    }
    put('"');
    // Checked once per string, and only for strings that need it.
    if (seenHigh && !isValidUtf8(text))
        return fail("Unable to serialize a string that is not valid UTF-8.");
    return true;
}

void Writer::writeEscape(unsigned char c) {
    static constexpr char kHex[] = "0123456789abcdef";
    switch (c) {
        case '"':
            put("\\\"", 2);
            return;
        case '\\':
            put("\\\\", 2);
            return;
        case '\b':
            put("\\b", 2);
            return;
        case '\f':
            put("\\f", 2);
            return;
        case '\n':
            put("\\n", 2);
            return;
        case '\r':
            put("\\r", 2);
            return;
        case '\t':
            put("\\t", 2);
            return;
        default:
            const char escape[] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xF]};
            put(escape, sizeof escape);
    }
}

bool Writer::writeArray(const PropertyArray& array, std::size_t depth) {
    if (depth > JSONDecoder::kMaxDepth) return fail("Nesting deeper than 512 arrays and objects.");
    put('[');
    for (std::size_t i = 0; i < array.size(); ++i) {
        if (i) put(',');
        if (!write(array[i], depth)) return false;
    }
    put(']');
    return true;
}

bool Writer::writeDictionary(const PropertyDictionary& dict, std::size_t depth) {
    if (depth > JSONDecoder::kMaxDepth) return fail("Nesting deeper than 512 arrays and objects.");
    put('{');
    bool first = true;
    for (const auto& [key, value] : dict) {
        if (!first) put(',');
        first = false;
        if (!writeString(key)) return false;
        put(':');
        if (!write(value, depth)) return false;
    }
    put('}');
    return true;
}

}  // namespace

namespace {

std::optional<Bytes> serialize(const PropertyValue& object, JSONError* error) {
    if (!object.isArray() && !object.isDictionary()) {
        if (error)
            *error = {std::string("Unable to serialize object class ") + typeName(object.type()) +
                          ", expected a NSArray or NSDictionary.",
                      0, 0};
        return std::nullopt;
    }
    Writer writer(error);
    if (!writer.write(object, 0)) return std::nullopt;
    return writer.take();
}

}  // namespace

std::optional<std::string> JKSerializer::serializeObject(const PropertyValue& object,
                                                         JSONError* error) {
    const auto bytes = serialize(object, error);
    if (!bytes) return std::nullopt;
    return std::string(bytes->begin(), bytes->end());
}

std::optional<Bytes> JSONData(const PropertyValue& object) {
    return serialize(object, nullptr);
}

}  // namespace nbx
