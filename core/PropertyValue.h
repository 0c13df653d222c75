#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace nbx {

class PropertyValue;
class PropertyDictionary;

using PropertyArray = std::vector<PropertyValue>;
using Bytes = std::vector<std::uint8_t>;
// Dates keep microseconds; property-list files round them to whole seconds.
using Date = std::chrono::sys_time<std::chrono::microseconds>;

// Insertion-ordered string-keyed map. Small records are scanned linearly;
// past kIndexThreshold entries a hash index keeps look-ups constant time.
class PropertyDictionary {
public:
    using Entry = std::pair<std::string, PropertyValue>;
    using const_iterator = std::vector<Entry>::const_iterator;
    static constexpr std::size_t kIndexThreshold = 24;

    PropertyDictionary() = default;
    PropertyDictionary(std::initializer_list<Entry> entries);
    PropertyDictionary(const PropertyDictionary& other);
    PropertyDictionary(PropertyDictionary&&) noexcept = default;
    PropertyDictionary& operator=(const PropertyDictionary& other);
    PropertyDictionary& operator=(PropertyDictionary&&) noexcept = default;
    ~PropertyDictionary();

    // Defined below PropertyValue: clang instantiates these eagerly and needs it complete.
    std::size_t size() const;
    bool empty() const;
    const_iterator begin() const;
    const_iterator end() const;
    void reserve(std::size_t n);

    const PropertyValue* find(std::string_view key) const;
    PropertyValue* find(std::string_view key);
    bool contains(std::string_view key) const { return find(key) != nullptr; }
    // A missing key reads as the null value.
    const PropertyValue& operator[](std::string_view key) const;

    // Replacing keeps the key's original position.
    void set(std::string key, PropertyValue value);
    bool erase(std::string_view key);
    void clear();

    // Same keys with equal values, in any order.
    bool operator==(const PropertyDictionary& other) const;

private:
    std::ptrdiff_t indexOf(std::string_view key) const;
    void rebuildIndex() const;

    std::vector<Entry> entries_;
    mutable std::vector<std::uint32_t> slots_;  // open addressing; 0 = empty, else index + 1
};

class PropertyValue {
public:
    enum class Type {
        Null,
        Boolean,
        Integer,
        Unsigned,
        Real,
        String,
        Date,
        Data,
        Array,
        Dictionary
    };

    PropertyValue() = default;
    PropertyValue(std::nullptr_t) {}
    PropertyValue(bool b) : v_(b) {}
    PropertyValue(int i) : v_(std::int64_t{i}) {}
    PropertyValue(long i) : v_(std::int64_t{i}) {}
    PropertyValue(long long i) : v_(std::int64_t{i}) {}
    PropertyValue(unsigned i) : v_(std::uint64_t{i}) {}
    PropertyValue(unsigned long i) : v_(std::uint64_t{i}) {}
    PropertyValue(unsigned long long i) : v_(std::uint64_t{i}) {}
    PropertyValue(double d) : v_(d) {}
    PropertyValue(const char* s) : v_(std::string(s)) {}
    PropertyValue(std::string s) : v_(std::move(s)) {}
    PropertyValue(std::string_view s) : v_(std::string(s)) {}
    PropertyValue(Date d) : v_(d) {}
    PropertyValue(Bytes b) : v_(std::move(b)) {}
    PropertyValue(PropertyArray a) : v_(std::move(a)) {}
    PropertyValue(PropertyDictionary d) : v_(std::move(d)) {}

    static PropertyValue array(std::initializer_list<PropertyValue> items = {}) {
        return PropertyArray(items);
    }
    static PropertyValue dictionary(std::initializer_list<PropertyDictionary::Entry> e = {}) {
        return PropertyDictionary(e);
    }

    Type type() const { return static_cast<Type>(v_.index()); }
    bool isNull() const { return type() == Type::Null; }
    bool isBoolean() const { return type() == Type::Boolean; }
    bool isInteger() const { return type() == Type::Integer || type() == Type::Unsigned; }
    // Booleans count as numbers, as they do in the property-list world.
    bool isNumber() const;
    bool isString() const { return type() == Type::String; }
    bool isDate() const { return type() == Type::Date; }
    bool isData() const { return type() == Type::Data; }
    bool isArray() const { return type() == Type::Array; }
    bool isDictionary() const { return type() == Type::Dictionary; }

    // Typed reads: absence, never an exception, on a wrong type.
    std::optional<bool> boolean() const;                   // a boolean only
    std::optional<std::int64_t> integer() const;           // any number that fits
    std::optional<std::uint64_t> unsignedInteger() const;  // any non-negative number that fits
    std::optional<double> real() const;                    // any number
    std::optional<std::string> string() const;
    std::optional<Date> date() const;
    // A number's or boolean's truth; false for everything else.
    bool isTrue() const;

    // Borrowed views; null on a wrong type.
    const std::string* stringPtr() const { return std::get_if<std::string>(&v_); }
    const Bytes* data() const { return std::get_if<Bytes>(&v_); }
    const PropertyArray* arrayPtr() const { return std::get_if<PropertyArray>(&v_); }
    PropertyArray* arrayPtr() { return std::get_if<PropertyArray>(&v_); }
    const PropertyDictionary* dictionaryPtr() const { return std::get_if<PropertyDictionary>(&v_); }
    PropertyDictionary* dictionaryPtr() { return std::get_if<PropertyDictionary>(&v_); }

    // Element and member reads: the null value when absent or of another type.
    const PropertyValue& operator[](std::string_view key) const;
    const PropertyValue& operator[](const char* key) const {
        return (*this)[std::string_view(key)];
    }
    const PropertyValue& at(std::size_t index) const;
    std::size_t size() const;  // elements of an array or dictionary, else 0

    // Sets a member, turning a null value into a dictionary first; ignored for other types.
    void set(std::string key, PropertyValue value);
    // Appends, turning a null value into an array first; ignored for other types.
    void append(PropertyValue value);

    bool operator==(const PropertyValue& other) const;

    // Multi-line text for log lines: `{ key = value; }` and `( a, b )`.
    std::string description() const;

    static const PropertyValue& null();

private:
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Date,
                 Bytes, PropertyArray, PropertyDictionary>
        v_;
};

inline std::size_t PropertyDictionary::size() const {
    return entries_.size();
}
inline bool PropertyDictionary::empty() const {
    return entries_.empty();
}
inline PropertyDictionary::const_iterator PropertyDictionary::begin() const {
    return entries_.begin();
}
inline PropertyDictionary::const_iterator PropertyDictionary::end() const {
    return entries_.end();
}
inline void PropertyDictionary::reserve(std::size_t n) {
    entries_.reserve(n);
}

const char* typeName(PropertyValue::Type type);

// Request-building helpers used wherever request dictionaries are made.
// Stores only when both key and value are present.
void safeSetObject(PropertyDictionary& dict, const PropertyValue& value,
                   std::optional<std::string_view> key);
// Copies `key` from `from` when `from` is present, the key is non-empty and the value is there.
bool setObjectFromDictionary(PropertyDictionary& dict, const PropertyValue& from,
                             std::string_view key);
bool setObjectFromDictionary(PropertyDictionary& dict, const PropertyValue& from,
                             std::string_view fromKey, std::string_view toKey);
// True when present, of the type and, for text, data and containers, not empty.
// Type::Integer, Unsigned, Real and Boolean all mean "a number".
bool VerifyIfObjectIsOfType(const PropertyValue& object, PropertyValue::Type type);
// Bytes as UTF-8 text; "" for empty or invalid input.
std::string SafeStringFromNSData(const Bytes* bytes);
std::string SafeStringFromNSData(std::string_view bytes);

bool isValidUtf8(std::string_view text);

}  // namespace nbx
