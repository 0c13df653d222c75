#include "PropertyListFile.h"

#include <plist/plist.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <pugixml.hpp>
#include <sstream>
#include <system_error>

#include "CryptoLibrary.h"

namespace nbx {

namespace {

// Deeper trees are refused: the tree code recurses, and no state file nests this far.
constexpr int kMaxDepth = 256;
constexpr std::uintmax_t kMaxFileSize = 64u << 20;
// Shared references in a binary file expand into copies; this bounds the expansion.
constexpr std::size_t kMaxBinaryNodes = 1u << 20;
constexpr std::int64_t kSecondsFrom1970To2001 = 978307200;

std::optional<std::string> readWholeFile(const std::string& path) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec || size > kMaxFileSize) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad() || text.str().size() > kMaxFileSize) return std::nullopt;
    return std::move(text).str();
}

std::string_view trimmed(std::string_view s) {
    const auto first = s.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t\r\n") - first + 1);
}

// ---- XML (pugixml parses without recursion; numbers are read here, exactly and locale-free)

std::optional<PropertyValue> parseInteger(std::string_view text) {
    text = trimmed(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    if (text.empty()) return std::nullopt;
    std::uint64_t magnitude = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
    if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    constexpr auto kMaxSigned =
        static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!negative) {
        if (magnitude <= kMaxSigned) return PropertyValue(static_cast<std::int64_t>(magnitude));
        return PropertyValue(magnitude);
    }
    if (magnitude > kMaxSigned + 1) return std::nullopt;
    return PropertyValue(static_cast<std::int64_t>(0 - magnitude));
}

std::optional<PropertyValue> parseReal(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return PropertyValue(value);
}

std::optional<PropertyValue> parseDate(std::string_view text) {
    const std::string s(trimmed(text));
    int y, mo, d, h, mi, sec, used = 0;
    if (std::sscanf(s.c_str(), "%4d-%2d-%2dT%2d:%2d:%2dZ%n", &y, &mo, &d, &h, &mi, &sec, &used) !=
            6 ||
        used != static_cast<int>(s.size()))
        return std::nullopt;
    const std::chrono::year_month_day ymd{std::chrono::year(y), std::chrono::month(mo),
                                          std::chrono::day(d)};
    if (!ymd.ok() || h > 23 || mi > 59 || sec > 60) return std::nullopt;
    const auto time = std::chrono::sys_days(ymd) + std::chrono::hours(h) +
                      std::chrono::minutes(mi) + std::chrono::seconds(sec);
    return PropertyValue(Date(time));
}

std::optional<PropertyValue> parseData(std::string_view text) {
    std::string compact;
    for (char c : text)
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n') compact += c;
    const CryptoLibrary* c = CryptoLibrary::get();
    if (compact.size() % 4 != 0 || !c) return std::nullopt;
    Bytes bytes(compact.size() / 4 * 3);
    const int n =
        c->decodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(compact.data()),
                       static_cast<int>(compact.size()));
    if (n < 0) return std::nullopt;
    std::size_t padding = 0;
    while (padding < 2 && compact.size() > padding && compact[compact.size() - 1 - padding] == '=')
        ++padding;
    bytes.resize(static_cast<std::size_t>(n) - padding);
    return PropertyValue(std::move(bytes));
}

std::string textOf(const pugi::xml_node& node) {
    std::string text;
    for (const auto& child : node.children())
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            text += child.value();
    return text;
}

bool hasElementChildren(const pugi::xml_node& node) {
    return node.find_child([](const pugi::xml_node& c) { return c.type() == pugi::node_element; });
}

std::optional<PropertyValue> fromXml(const pugi::xml_node& node, int depth);

std::optional<PropertyValue> dictionaryFromXml(const pugi::xml_node& node, int depth) {
    PropertyDictionary dict;
    std::optional<std::string> key;
    for (const auto& child : node.children()) {
        if (child.type() != pugi::node_element) continue;
        if (!key) {
            if (std::strcmp(child.name(), "key") != 0) return std::nullopt;
            key = textOf(child);
            continue;
        }
        auto value = fromXml(child, depth + 1);
        if (!value) return std::nullopt;
        dict.set(std::move(*key), std::move(*value));
        key.reset();
    }
    if (key) return std::nullopt;
    return PropertyValue(std::move(dict));
}

std::optional<PropertyValue> arrayFromXml(const pugi::xml_node& node, int depth) {
    PropertyArray array;
    for (const auto& child : node.children()) {
        if (child.type() != pugi::node_element) continue;
        auto value = fromXml(child, depth + 1);
        if (!value) return std::nullopt;
        array.push_back(std::move(*value));
    }
    return PropertyValue(std::move(array));
}

std::optional<PropertyValue> fromXml(const pugi::xml_node& node, int depth) {
    if (depth > kMaxDepth) return std::nullopt;
    const std::string_view name = node.name();
    if (name == "dict") return dictionaryFromXml(node, depth);
    if (name == "array") return arrayFromXml(node, depth);
    if (hasElementChildren(node)) return std::nullopt;
    if (name == "string") return PropertyValue(textOf(node));
    if (name == "true") return PropertyValue(true);
    if (name == "false") return PropertyValue(false);
    if (name == "integer") return parseInteger(textOf(node));
    if (name == "real") return parseReal(textOf(node));
    if (name == "date") return parseDate(textOf(node));
    if (name == "data") return parseData(textOf(node));
    return std::nullopt;
}

std::optional<PropertyValue> readXml(const std::string& text) {
    pugi::xml_document doc;
    // Line ends inside strings are kept as written, so a "\r" survives a round trip.
    const auto options = (pugi::parse_default & ~pugi::parse_eol) | pugi::parse_ws_pcdata_single;
    if (!doc.load_buffer(text.data(), text.size(), options)) return std::nullopt;
    const auto root = doc.document_element();
    if (std::strcmp(root.name(), "plist") != 0) return std::nullopt;
    pugi::xml_node value;
    for (const auto& child : root.children()) {
        if (child.type() != pugi::node_element) continue;
        if (value) return std::nullopt;
        value = child;
    }
    if (!value) return std::nullopt;
    return fromXml(value, 1);
}

// ---- binary (libplist parses; the object table is checked first because it recurses) ----

class BinaryTable {
public:
    explicit BinaryTable(std::string_view bytes) : bytes_(bytes) {}

    // Walks the object graph in document order, checking bounds and depth; remembers which
    // integers are 16-byte (unsigned) ones, which libplist cannot tell apart from negatives.
    bool check(std::vector<bool>* unsignedIntegers) {
        if (!readTrailer()) return false;
        struct Visit {
            std::uint64_t object;
            int depth;
        };
        std::vector<Visit> stack{{top_, 1}};
        std::size_t nodes = 1;
        while (!stack.empty()) {
            const Visit visit = stack.back();
            stack.pop_back();
            if (visit.depth > kMaxDepth) return false;
            std::vector<std::uint64_t> children;
            bool isUnsigned = false;
            bool isInteger = false;
            if (!readObject(visit.object, &children, &isInteger, &isUnsigned)) return false;
            if (isInteger) unsignedIntegers->push_back(isUnsigned);
            nodes += children.size();
            if (nodes > kMaxBinaryNodes) return false;
            for (auto it = children.rbegin(); it != children.rend(); ++it)
                stack.push_back({*it, visit.depth + 1});
        }
        return true;
    }

private:
    std::optional<std::uint64_t> readUnsigned(std::uint64_t offset, unsigned width) const {
        if (width == 0 || width > 8 || offset > bytes_.size() || bytes_.size() - offset < width)
            return std::nullopt;
        std::uint64_t value = 0;
        for (unsigned i = 0; i < width; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes_[offset + i]);
        return value;
    }

    bool readTrailer() {
        if (bytes_.size() < 8 + 32 || bytes_.substr(0, 6) != "bplist") return false;
        const std::uint64_t trailer = bytes_.size() - 32;
        offsetSize_ = static_cast<unsigned char>(bytes_[trailer + 6]);
        refSize_ = static_cast<unsigned char>(bytes_[trailer + 7]);
        const auto count = readUnsigned(trailer + 8, 8);
        const auto top = readUnsigned(trailer + 16, 8);
        const auto table = readUnsigned(trailer + 24, 8);
        if (!count || !top || !table || offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 ||
            refSize_ > 8 || *count == 0 || *top >= *count || *table < 8 || *table > trailer ||
            *count > (trailer - *table) / offsetSize_)
            return false;
        objectCount_ = *count;
        top_ = *top;
        table_ = *table;
        return true;
    }

    std::optional<std::uint64_t> objectOffset(std::uint64_t object) const {
        const auto offset = readUnsigned(table_ + object * offsetSize_, offsetSize_);
        if (!offset || *offset < 8 || *offset >= table_) return std::nullopt;
        return offset;
    }

    // The element count of an object and where its contents start.
    std::optional<std::pair<std::uint64_t, std::uint64_t>> countAt(std::uint64_t offset) const {
        const std::uint64_t count = static_cast<unsigned char>(bytes_[offset]) & 0x0F;
        if (count != 0x0F) return std::pair(count, offset + 1);
        const auto sizeMarker = readUnsigned(offset + 1, 1);
        if (!sizeMarker || (*sizeMarker >> 4) != 0x1 || (*sizeMarker & 0x0F) > 3)
            return std::nullopt;
        const unsigned width = 1u << (*sizeMarker & 0x0F);
        const auto length = readUnsigned(offset + 2, width);
        if (!length) return std::nullopt;
        return std::pair(*length, offset + 2 + width);
    }

    // libplist asserts on keys with a NUL character, so only clean strings may be keys.
    bool isCleanKey(std::uint64_t object) const {
        const auto offset = objectOffset(object);
        if (!offset) return false;
        const unsigned kind = static_cast<unsigned char>(bytes_[*offset]) >> 4;
        const auto counted = countAt(*offset);
        if ((kind != 0x5 && kind != 0x6) || !counted) return false;
        const auto [count, position] = *counted;
        const std::uint64_t unit = kind == 0x5 ? 1 : 2;
        if (count > (table_ - position) / unit) return false;
        for (std::uint64_t i = 0; i < count; ++i)
            if (readUnsigned(position + i * unit, static_cast<unsigned>(unit)) == 0u) return false;
        return true;
    }

    bool readObject(std::uint64_t object, std::vector<std::uint64_t>* children, bool* isInteger,
                    bool* isUnsigned) const {
        const auto offset = objectOffset(object);
        if (!offset) return false;
        const auto marker = static_cast<unsigned char>(bytes_[*offset]);
        const unsigned kind = marker >> 4;
        *isInteger = kind == 0x1;
        *isUnsigned = marker == 0x14;
        if (kind != 0xA && kind != 0xC && kind != 0xD) return true;
        const auto counted = countAt(*offset);
        if (!counted) return false;
        const auto [count, position] = *counted;
        const std::uint64_t refs = kind == 0xD ? 2 : 1;
        if (count > (table_ - position) / refSize_ / refs || count * refs > kMaxBinaryNodes)
            return false;
        std::vector<std::uint64_t> all;
        for (std::uint64_t i = 0; i < count * refs; ++i) {
            const auto ref = readUnsigned(position + i * refSize_, refSize_);
            if (!ref || *ref >= objectCount_ || (kind == 0xD && i < count && !isCleanKey(*ref)))
                return false;
            all.push_back(*ref);
        }
        // Dictionaries list all keys, then all values; libplist yields them in pairs.
        for (std::uint64_t i = 0; i < count; ++i) {
            children->push_back(all[i]);
            if (kind == 0xD) children->push_back(all[count + i]);
        }
        return true;
    }

    std::string_view bytes_;
    unsigned offsetSize_ = 0;
    unsigned refSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t top_ = 0;
    std::uint64_t table_ = 0;
};

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

class BinaryConverter {
public:
    explicit BinaryConverter(const std::vector<bool>& unsignedIntegers)
        : unsigned_(unsignedIntegers) {}

    std::optional<PropertyValue> convert(plist_t node) {
        switch (plist_get_node_type(node)) {
            case PLIST_BOOLEAN: {
                std::uint8_t b = 0;
                plist_get_bool_val(node, &b);
                return PropertyValue(b != 0);
            }
            case PLIST_UINT:
                return integer(node);
            case PLIST_REAL: {
                double d = 0;
                plist_get_real_val(node, &d);
                return PropertyValue(d);
            }
            case PLIST_STRING: {
                std::uint64_t length = 0;
                const char* s = plist_get_string_ptr(node, &length);
                return PropertyValue(std::string(s ? s : "", s ? length : 0));
            }
            case PLIST_DATA: {
                std::uint64_t length = 0;
                const char* p = plist_get_data_ptr(node, &length);
                return PropertyValue(p ? Bytes(p, p + length) : Bytes());
            }
            case PLIST_DATE: {
                std::int32_t sec = 0, usec = 0;
                plist_get_date_val(node, &sec, &usec);
                return PropertyValue(Date(std::chrono::seconds(sec + kSecondsFrom1970To2001)));
            }
            case PLIST_UID: {
                std::uint64_t uid = 0;
                plist_get_uid_val(node, &uid);
                return PropertyValue(uid);
            }
            case PLIST_ARRAY:
                return array(node);
            case PLIST_DICT:
                return dictionary(node);
            default:
                return std::nullopt;
        }
    }

private:
    std::optional<PropertyValue> integer(plist_t node) {
        std::uint64_t bits = 0;
        plist_get_uint_val(node, &bits);
        if (next_ >= unsigned_.size()) return std::nullopt;
        if (unsigned_[next_++]) return PropertyValue(bits);
        return PropertyValue(static_cast<std::int64_t>(bits));
    }

    std::optional<PropertyValue> array(plist_t node) {
        PropertyArray items;
        const std::uint32_t n = plist_array_get_size(node);
        for (std::uint32_t i = 0; i < n; ++i) {
            auto item = convert(plist_array_get_item(node, i));
            if (!item) return std::nullopt;
            items.push_back(std::move(*item));
        }
        return PropertyValue(std::move(items));
    }

    std::optional<PropertyValue> dictionary(plist_t node) {
        PropertyDictionary dict;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        std::optional<PropertyValue> result;
        while (true) {
            char* key = nullptr;
            plist_t item = nullptr;
            plist_dict_next_item(node, it, &key, &item);
            if (!key || !item) {
                std::free(key);
                result = PropertyValue(std::move(dict));
                break;
            }
            std::string name(key);
            std::free(key);
            auto value = convert(item);
            if (!value) break;
            dict.set(std::move(name), std::move(*value));
        }
        std::free(it);
        return result;
    }

    const std::vector<bool>& unsigned_;
    std::size_t next_ = 0;
};

std::optional<PropertyValue> readBinary(const std::string& bytes) {
    std::vector<bool> unsignedIntegers;
    if (!BinaryTable(bytes).check(&unsignedIntegers)) return std::nullopt;
    plist_t raw = nullptr;
    plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &raw);
    if (!raw) return std::nullopt;
    const PlistPtr root(raw);
    return BinaryConverter(unsignedIntegers).convert(root.get());
}

// ---- writing ----

std::optional<std::string> base64(const Bytes& data) {
    const CryptoLibrary* c = CryptoLibrary::get();
    if (!c) return std::nullopt;
    std::string out(4 * ((data.size() + 2) / 3) + 1, '\0');
    const int n = c->encodeBlock(reinterpret_cast<unsigned char*>(out.data()), data.data(),
                                 static_cast<int>(data.size()));
    out.resize(static_cast<std::size_t>(n));
    return out;
}

std::string isoDate(Date date) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const auto days = std::chrono::floor<std::chrono::days>(seconds);
    const std::chrono::year_month_day ymd(days);
    const std::chrono::hh_mm_ss hms(seconds - days);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(ymd.year()),
                  static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                  static_cast<int>(hms.hours().count()), static_cast<int>(hms.minutes().count()),
                  static_cast<int>(hms.seconds().count()));
    return text;
}

template <typename Number>
std::string numberText(Number n) {
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, n);
    return std::string(text, result.ptr);
}

std::string realText(double d) {
    if (std::isnan(d)) return "nan";
    if (std::isinf(d)) return d > 0 ? "+infinity" : "-infinity";
    return numberText(d);
}

void addText(pugi::xml_node parent, const char* name, const std::string& text) {
    parent.append_child(name).append_child(pugi::node_pcdata).set_value(text.c_str());
}

bool toXml(pugi::xml_node parent, const PropertyValue& value, int depth);

bool containerToXml(pugi::xml_node parent, const PropertyValue& value, int depth) {
    if (const auto* array = value.arrayPtr()) {
        auto node = parent.append_child("array");
        for (const auto& item : *array)
            if (!toXml(node, item, depth + 1)) return false;
        return true;
    }
    auto node = parent.append_child("dict");
    for (const auto& [key, item] : *value.dictionaryPtr()) {
        if (item.isNull()) continue;  // an absent value is a missing key
        if (key.find('\0') != std::string::npos) return false;
        addText(node, "key", key);
        if (!toXml(node, item, depth + 1)) return false;
    }
    return true;
}

bool toXml(pugi::xml_node parent, const PropertyValue& value, int depth) {
    if (depth > kMaxDepth) return false;
    switch (value.type()) {
        case PropertyValue::Type::Null:
            return false;
        case PropertyValue::Type::Boolean:
            parent.append_child(*value.boolean() ? "true" : "false");
            return true;
        case PropertyValue::Type::Integer:
            addText(parent, "integer", numberText(*value.integer()));
            return true;
        case PropertyValue::Type::Unsigned:
            addText(parent, "integer", numberText(*value.unsignedInteger()));
            return true;
        case PropertyValue::Type::Real:
            addText(parent, "real", realText(*value.real()));
            return true;
        case PropertyValue::Type::String:
            // XML has no NUL character; writing the text would cut it short.
            if (value.stringPtr()->find('\0') != std::string::npos) return false;
            addText(parent, "string", *value.stringPtr());
            return true;
        case PropertyValue::Type::Date:
            addText(parent, "date", isoDate(*value.date()));
            return true;
        case PropertyValue::Type::Data: {
            const auto text = base64(*value.data());
            if (text) addText(parent, "data", *text);
            return text.has_value();
        }
        case PropertyValue::Type::Array:
        case PropertyValue::Type::Dictionary:
            return containerToXml(parent, value, depth);
    }
    return false;
}

}  // namespace

std::optional<PropertyValue> readPropertyListFile(const std::string& path) {
    const auto bytes = readWholeFile(path);
    if (!bytes) return std::nullopt;
    if (bytes->rfind("bplist", 0) == 0) return readBinary(*bytes);
    return readXml(*bytes);
}

bool writePropertyListFile(const std::string& path, const PropertyValue& value) {
    if (!value.isArray() && !value.isDictionary()) return false;
    pugi::xml_document doc;
    auto declaration = doc.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
    auto plist = doc.append_child("plist");
    plist.append_attribute("version") = "1.0";
    if (!toXml(plist, value, 1)) return false;
    std::ostringstream text;
    doc.save(text, "\t");
    // Rewritten in place so the file keeps its identity for whoever else holds it.
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text.str();
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace nbx
