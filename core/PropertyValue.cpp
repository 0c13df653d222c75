#include "PropertyValue.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <ctime>
#include <functional>
#include <limits>

namespace nbx {

// ---- PropertyDictionary ----

PropertyDictionary::PropertyDictionary(std::initializer_list<Entry> entries) {
    entries_.reserve(entries.size());
    for (const auto& e : entries)
        set(e.first, e.second);
}

PropertyDictionary::PropertyDictionary(const PropertyDictionary& other)
    : entries_(other.entries_), slots_(other.slots_) {}

PropertyDictionary& PropertyDictionary::operator=(const PropertyDictionary& other) {
    if (this != &other) {
        entries_ = other.entries_;
        slots_ = other.slots_;
    }
    return *this;
}

PropertyDictionary::~PropertyDictionary() = default;

static std::size_t hashKey(std::string_view key) {
    return std::hash<std::string_view>{}(key);
}

void PropertyDictionary::rebuildIndex() const {
    slots_.clear();
    if (entries_.size() <= kIndexThreshold) return;
    std::size_t capacity = 64;
    while (capacity < entries_.size() * 2)
        capacity *= 2;
    slots_.assign(capacity, 0);
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        std::size_t slot = hashKey(entries_[i].first) & (capacity - 1);
        while (slots_[slot] != 0)
            slot = (slot + 1) & (capacity - 1);
        slots_[slot] = static_cast<std::uint32_t>(i + 1);
    }
}

std::ptrdiff_t PropertyDictionary::indexOf(std::string_view key) const {
    if (slots_.empty()) {
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (entries_[i].first == key) return static_cast<std::ptrdiff_t>(i);
        return -1;
    }
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = hashKey(key) & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const std::size_t i = slots_[slot] - 1;
        if (entries_[i].first == key) return static_cast<std::ptrdiff_t>(i);
    }
    return -1;
}

const PropertyValue* PropertyDictionary::find(std::string_view key) const {
    const auto i = indexOf(key);
    return i < 0 ? nullptr : &entries_[static_cast<std::size_t>(i)].second;
}

PropertyValue* PropertyDictionary::find(std::string_view key) {
    const auto i = indexOf(key);
    return i < 0 ? nullptr : &entries_[static_cast<std::size_t>(i)].second;
}

const PropertyValue& PropertyDictionary::operator[](std::string_view key) const {
    const PropertyValue* v = find(key);
    return v ? *v : PropertyValue::null();
}

void PropertyDictionary::set(std::string key, PropertyValue value) {
    if (PropertyValue* existing = find(key)) {
        *existing = std::move(value);
        return;
    }
    entries_.emplace_back(std::move(key), std::move(value));
    if (entries_.size() <= kIndexThreshold) return;
    // Grow at half load; otherwise insert the one new slot.
    if (slots_.empty() || entries_.size() * 2 > slots_.size()) {
        rebuildIndex();
        return;
    }
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = hashKey(entries_.back().first) & mask;
    while (slots_[slot] != 0)
        slot = (slot + 1) & mask;
    slots_[slot] = static_cast<std::uint32_t>(entries_.size());
}

bool PropertyDictionary::erase(std::string_view key) {
    const auto i = indexOf(key);
    if (i < 0) return false;
    entries_.erase(entries_.begin() + i);
    rebuildIndex();
    return true;
}

void PropertyDictionary::clear() {
    entries_.clear();
    slots_.clear();
}

bool PropertyDictionary::operator==(const PropertyDictionary& other) const {
    if (size() != other.size()) return false;
    for (const auto& [key, value] : entries_) {
        const PropertyValue* theirs = other.find(key);
        if (!theirs || !(*theirs == value)) return false;
    }
    return true;
}

// ---- PropertyValue ----

const PropertyValue& PropertyValue::null() {
    static const PropertyValue kNull;
    return kNull;
}

bool PropertyValue::isNumber() const {
    switch (type()) {
        case Type::Boolean:
        case Type::Integer:
        case Type::Unsigned:
        case Type::Real:
            return true;
        default:
            return false;
    }
}

std::optional<bool> PropertyValue::boolean() const {
    if (const bool* b = std::get_if<bool>(&v_)) return *b;
    return std::nullopt;
}

std::optional<std::int64_t> PropertyValue::integer() const {
    switch (type()) {
        case Type::Boolean:
            return std::get<bool>(v_) ? 1 : 0;
        case Type::Integer:
            return std::get<std::int64_t>(v_);
        case Type::Unsigned: {
            const auto u = std::get<std::uint64_t>(v_);
            if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                return std::nullopt;
            return static_cast<std::int64_t>(u);
        }
        case Type::Real: {
            const double d = std::get<double>(v_);
            // 2^63 is exactly representable; anything at or past it does not fit.
            if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0)) return std::nullopt;
            return static_cast<std::int64_t>(d);
        }
        default:
            return std::nullopt;
    }
}

std::optional<std::uint64_t> PropertyValue::unsignedInteger() const {
    switch (type()) {
        case Type::Unsigned:
            return std::get<std::uint64_t>(v_);
        case Type::Real: {
            const double d = std::get<double>(v_);
            if (!(d > -1.0 && d < 18446744073709551616.0)) return std::nullopt;
            return static_cast<std::uint64_t>(d);
        }
        default: {
            const auto i = integer();
            if (!i || *i < 0) return std::nullopt;
            return static_cast<std::uint64_t>(*i);
        }
    }
}

std::optional<double> PropertyValue::real() const {
    switch (type()) {
        case Type::Boolean:
            return std::get<bool>(v_) ? 1.0 : 0.0;
        case Type::Integer:
            return static_cast<double>(std::get<std::int64_t>(v_));
        case Type::Unsigned:
            return static_cast<double>(std::get<std::uint64_t>(v_));
        case Type::Real:
            return std::get<double>(v_);
        default:
            return std::nullopt;
    }
}

std::optional<std::string> PropertyValue::string() const {
    if (const auto* s = stringPtr()) return *s;
    return std::nullopt;
}

std::optional<Date> PropertyValue::date() const {
    if (const Date* d = std::get_if<Date>(&v_)) return *d;
    return std::nullopt;
}

bool PropertyValue::isTrue() const {
    const auto r = real();
    return r && *r != 0.0;
}

const PropertyValue& PropertyValue::operator[](std::string_view key) const {
    const auto* d = dictionaryPtr();
    return d ? (*d)[key] : null();
}

const PropertyValue& PropertyValue::at(std::size_t index) const {
    const auto* a = arrayPtr();
    return a && index < a->size() ? (*a)[index] : null();
}

std::size_t PropertyValue::size() const {
    if (const auto* a = arrayPtr()) return a->size();
    if (const auto* d = dictionaryPtr()) return d->size();
    return 0;
}

void PropertyValue::set(std::string key, PropertyValue value) {
    if (isNull()) v_ = PropertyDictionary();
    if (auto* d = dictionaryPtr()) d->set(std::move(key), std::move(value));
}

void PropertyValue::append(PropertyValue value) {
    if (isNull()) v_ = PropertyArray();
    if (auto* a = arrayPtr()) a->push_back(std::move(value));
}

bool PropertyValue::operator==(const PropertyValue& other) const {
    // Integers compare by value across signedness, as numbers do.
    if (isInteger() && other.isInteger() && type() != other.type()) {
        const auto a = integer(), b = other.integer();
        return a && b && *a == *b;
    }
    return v_ == other.v_;
}

const char* typeName(PropertyValue::Type type) {
    switch (type) {
        case PropertyValue::Type::Null:
            return "null";
        case PropertyValue::Type::Boolean:
            return "boolean";
        case PropertyValue::Type::Integer:
            return "integer";
        case PropertyValue::Type::Unsigned:
            return "unsigned";
        case PropertyValue::Type::Real:
            return "real";
        case PropertyValue::Type::String:
            return "string";
        case PropertyValue::Type::Date:
            return "date";
        case PropertyValue::Type::Data:
            return "data";
        case PropertyValue::Type::Array:
            return "array";
        case PropertyValue::Type::Dictionary:
            return "dictionary";
    }
    return "unknown";
}

// ---- description ----

namespace {

bool needsQuotes(std::string_view s) {
    if (s.empty()) return true;
    return !std::all_of(s.begin(), s.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '_' || c == '.' || c == '$' || c == '/' || c >= 0x80;
    });
}

void appendQuoted(std::string& out, std::string_view s) {
    if (!needsQuotes(s)) {
        out += s;
        return;
    }
    out += '"';
    for (const char c : s) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                out += c;
        }
    }
    out += '"';
}

std::string formatDate(Date d) {
    const std::time_t t = std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(d));
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[40];
    std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S +0000", &tm);
    return buf;
}

void describe(std::string& out, const PropertyValue& v, int depth);

void indent(std::string& out, int depth) {
    out.append(static_cast<std::size_t>(depth) * 4, ' ');
}

void describeContainer(std::string& out, const PropertyValue& v, int depth) {
    if (const auto* d = v.dictionaryPtr()) {
        out += "{\n";
        for (const auto& [key, value] : *d) {
            indent(out, depth + 1);
            appendQuoted(out, key);
            out += " = ";
            describe(out, value, depth + 1);
            out += ";\n";
        }
        indent(out, depth);
        out += '}';
        return;
    }
    const auto& a = *v.arrayPtr();
    out += "(\n";
    for (std::size_t i = 0; i < a.size(); ++i) {
        indent(out, depth + 1);
        describe(out, a[i], depth + 1);
        out += i + 1 < a.size() ? ",\n" : "\n";
    }
    indent(out, depth);
    out += ')';
}

void describe(std::string& out, const PropertyValue& v, int depth) {
    static const char* kHex = "0123456789abcdef";
    switch (v.type()) {
        case PropertyValue::Type::Null:
            out += "<null>";
            break;
        case PropertyValue::Type::Boolean:
            out += *v.boolean() ? '1' : '0';
            break;
        case PropertyValue::Type::Integer:
            out += std::to_string(*v.integer());
            break;
        case PropertyValue::Type::Unsigned:
            out += std::to_string(*v.unsignedInteger());
            break;
        case PropertyValue::Type::Real: {
            char buf[32];
            const auto r = std::to_chars(buf, buf + sizeof buf, *v.real());
            out.append(buf, r.ptr);
            break;
        }
        case PropertyValue::Type::String:
            appendQuoted(out, *v.stringPtr());
            break;
        case PropertyValue::Type::Date:
            out += formatDate(*v.date());
            break;
        case PropertyValue::Type::Data: {
            const auto& b = *v.data();
            out += '<';
            for (std::size_t i = 0; i < b.size(); ++i) {
                if (i && i % 4 == 0) out += ' ';
                out += kHex[b[i] >> 4];
                out += kHex[b[i] & 15];
            }
            out += '>';
            break;
        }
        case PropertyValue::Type::Array:
        case PropertyValue::Type::Dictionary:
            describeContainer(out, v, depth);
            break;
    }
}

}  // namespace

std::string PropertyValue::description() const {
    std::string out;
    describe(out, *this, 0);
    return out;
}

// ---- helpers ----

void safeSetObject(PropertyDictionary& dict, const PropertyValue& value,
                   std::optional<std::string_view> key) {
    if (!key || value.isNull()) return;
    dict.set(std::string(*key), value);
}

bool setObjectFromDictionary(PropertyDictionary& dict, const PropertyValue& from,
                             std::string_view key) {
    return setObjectFromDictionary(dict, from, key, key);
}

bool setObjectFromDictionary(PropertyDictionary& dict, const PropertyValue& from,
                             std::string_view fromKey, std::string_view toKey) {
    if (!from.isDictionary() || fromKey.empty() || toKey.empty()) return false;
    const PropertyValue* value = from.dictionaryPtr()->find(fromKey);
    if (!value || value->isNull()) return false;
    dict.set(std::string(toKey), *value);
    return true;
}

bool VerifyIfObjectIsOfType(const PropertyValue& object, PropertyValue::Type type) {
    using T = PropertyValue::Type;
    switch (type) {
        case T::String:
            return object.isString() && !object.stringPtr()->empty();
        case T::Array:
            return object.isArray() && object.size() > 0;
        case T::Dictionary:
            return object.isDictionary() && object.size() > 0;
        case T::Data:
            return object.isData() && !object.data()->empty();
        case T::Boolean:
        case T::Integer:
        case T::Unsigned:
        case T::Real:
            return object.isNumber();
        default:
            return false;
    }
}

bool isValidUtf8(std::string_view text) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end) {
        const unsigned char c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        std::size_t len;
        std::uint32_t cp;
        if (c >= 0xC2 && c <= 0xDF) {
            len = 2;
            cp = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            len = 3;
            cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            len = 4;
            cp = c & 0x07;
        } else {
            return false;
        }
        if (static_cast<std::size_t>(end - p) < len) return false;
        for (std::size_t i = 1; i < len; ++i) {
            if ((p[i] & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (p[i] & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF.
        if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF)) ||
            (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        p += len;
    }
    return true;
}

std::string SafeStringFromNSData(std::string_view bytes) {
    if (bytes.empty() || !isValidUtf8(bytes)) return {};
    return std::string(bytes);
}

std::string SafeStringFromNSData(const Bytes* bytes) {
    if (!bytes) return {};
    return SafeStringFromNSData(
        std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()));
}

}  // namespace nbx
