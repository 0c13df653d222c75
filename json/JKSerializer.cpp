#include <charconv>
#include <cmath>

#include "DoubleFormat.h"
#include "JSONKit.h"

namespace nbx {

namespace {

// Bytes written as they are inside a string.
bool isPlain(unsigned char c) {
    return c >= 0x20 && c != '"' && c != '\\';
}

class Writer {
public:
    explicit Writer(JSONError* error) : error_(error) {}

    bool write(const PropertyValue& value, std::size_t depth);
    std::string take() { return std::move(out_); }

private:
    bool fail(std::string message);
    bool writeString(const std::string& text);
    bool writeReal(double d);
    template <typename Integer>
    void writeInteger(Integer i);
    bool writeArray(const PropertyArray& array, std::size_t depth);
    bool writeDictionary(const PropertyDictionary& dict, std::size_t depth);

    std::string out_;
    JSONError* error_;
};

bool Writer::fail(std::string message) {
    if (error_) *error_ = {std::move(message), 0, 0};
    return false;
}

bool Writer::write(const PropertyValue& value, std::size_t depth) {
    switch (value.type()) {
        case PropertyValue::Type::Null:
            out_ += "null";
            return true;
        case PropertyValue::Type::Boolean:
            out_ += value.isTrue() ? "true" : "false";
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
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, i);
    out_.append(buffer, result.ptr);
}

bool Writer::writeReal(double d) {
    if (!std::isfinite(d))
        return fail(
            "Floating point values must be finite.  JSON does not support NaN or Infinity.");
    // Same text as "%.17g" in the C locale, whatever the process locale is.
    char buffer[32];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, d, std::chars_format::general, 17);
    out_.append(buffer, result.ptr);
    return true;
}

bool Writer::writeString(const std::string& text) {
    static constexpr char kHex[] = "0123456789abcdef";
    out_ += '"';
    const char* run = text.data();
    const char* end = text.data() + text.size();
    bool checkedUtf8 = false;
    for (const char* p = run; p < end; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (isPlain(c)) {
            // Checked once per string, and only for strings that need it.
            if (c >= 0x80 && !checkedUtf8) {
                if (!isValidUtf8(text))
                    return fail("Unable to serialize a string that is not valid UTF-8.");
                checkedUtf8 = true;
            }
            continue;
        }
        out_.append(run, p);
        run = p + 1;
        out_ += '\\';
        switch (c) {
            case '"':
            case '\\':
                out_ += static_cast<char>(c);
                break;
            case '\b':
                out_ += 'b';
                break;
            case '\f':
                out_ += 'f';
                break;
            case '\n':
                out_ += 'n';
                break;
            case '\r':
                out_ += 'r';
                break;
            case '\t':
                out_ += 't';
                break;
            default:
                out_ += "u00";
                out_ += kHex[c >> 4];
                out_ += kHex[c & 0xF];
        }
    }
    out_.append(run, end);
    out_ += '"';
    return true;
}

bool Writer::writeArray(const PropertyArray& array, std::size_t depth) {
    if (depth > JSONDecoder::kMaxDepth) return fail("Nesting deeper than 512 arrays and objects.");
    out_ += '[';
    for (std::size_t i = 0; i < array.size(); ++i) {
        if (i) out_ += ',';
        if (!write(array[i], depth)) return false;
    }
    out_ += ']';
    return true;
}

bool Writer::writeDictionary(const PropertyDictionary& dict, std::size_t depth) {
    if (depth > JSONDecoder::kMaxDepth) return fail("Nesting deeper than 512 arrays and objects.");
    out_ += '{';
    bool first = true;
    for (const auto& [key, value] : dict) {
        if (!first) out_ += ',';
        first = false;
        if (!writeString(key)) return false;
        out_ += ':';
        if (!write(value, depth)) return false;
    }
    out_ += '}';
    return true;
}

}  // namespace

std::optional<std::string> JKSerializer::serializeObject(const PropertyValue& object,
                                                         JSONError* error) {
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

std::optional<Bytes> JSONData(const PropertyValue& object) {
    const auto text = JKSerializer::serializeObject(object, nullptr);
    if (!text) return std::nullopt;
    return Bytes(text->begin(), text->end());
}

}  // namespace nbx
