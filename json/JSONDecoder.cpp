#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "JSONKit.h"

namespace nbx {

namespace {

constexpr const char* kEndOfBuffer = "Reached the end of the buffer.";
constexpr const char* kUnexpectedComma = "Unexpected ','.";
constexpr const char* kUnexpectedValue = "Unexpected value.";

bool isWhiteSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr std::array<std::int8_t, 256> kHexValues = [] {
    std::array<std::int8_t, 256> table{};
    table.fill(-1);
    for (int i = 0; i < 10; ++i)
        table['0' + i] = static_cast<std::int8_t>(i);
    for (int i = 0; i < 6; ++i)
        table['a' + i] = table['A' + i] = static_cast<std::int8_t>(10 + i);
    return table;
}();

int hexValue(char c) {
    return kHexValues[static_cast<unsigned char>(c)];
}

// Raw bytes in a message would make the message itself invalid text.
char printable(char c) {
    return c >= 0x20 && c < 0x7F ? c : '?';
}

std::string hexByte(unsigned char c) {
    static constexpr char kDigits[] = "0123456789abcdef";
    return {kDigits[c >> 4], kDigits[c & 0xF]};
}

void appendUtf8(std::string& out, std::uint32_t cp) {
    char bytes[4];
    std::size_t n;
    if (cp < 0x80) {
        bytes[0] = static_cast<char>(cp);
        n = 1;
    } else if (cp < 0x800) {
        bytes[0] = static_cast<char>(0xC0 | (cp >> 6));
        bytes[1] = static_cast<char>(0x80 | (cp & 0x3F));
        n = 2;
    } else if (cp < 0x10000) {
        bytes[0] = static_cast<char>(0xE0 | (cp >> 12));
        bytes[1] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        bytes[2] = static_cast<char>(0x80 | (cp & 0x3F));
        n = 3;
    } else {
        bytes[0] = static_cast<char>(0xF0 | (cp >> 18));
        bytes[1] = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        bytes[2] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        bytes[3] = static_cast<char>(0x80 | (cp & 0x3F));
        n = 4;
    }
    out.append(bytes, n);
}

// Length of the well-formed UTF-8 sequence at p (RFC 3629), 0 when ill-formed, or -1 when
// the buffer ends inside an otherwise well-formed sequence.
int utf8SequenceLength(const unsigned char* p, const unsigned char* end) {
    const unsigned char c = p[0];
    int len;
    unsigned char lo = 0x80, hi = 0xBF;  // bounds of the second byte
    if (c >= 0xC2 && c <= 0xDF) {
        len = 2;
    } else if (c >= 0xE0 && c <= 0xEF) {
        len = 3;
        if (c == 0xE0) lo = 0xA0;  // overlong
        if (c == 0xED) hi = 0x9F;  // surrogates
    } else if (c >= 0xF0 && c <= 0xF4) {
        len = 4;
        if (c == 0xF0) lo = 0x90;  // overlong
        if (c == 0xF4) hi = 0x8F;  // past U+10FFFF
    } else {
        return 0;
    }
    for (int i = 1; i < len; ++i) {
        if (p + i >= end) return -1;
        const unsigned char b = p[i];
        if (i == 1 ? (b < lo || b > hi) : (b & 0xC0) != 0x80) return 0;
    }
    return len;
}

#if defined(__SSE2__)
constexpr std::ptrdiff_t kBlock = 16;

// Marks, one bit per byte of the 16 at p, those that need a closer look: quote, backslash,
// control character or non-ASCII byte.
unsigned specialBytes(const char* p) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    // Signed compare: bytes from 0x80 up count as negative, so they are marked too.
    const __m128i low = _mm_cmplt_epi8(x, _mm_set1_epi8(0x20));
    const __m128i quote = _mm_cmpeq_epi8(x, _mm_set1_epi8('"'));
    const __m128i backslash = _mm_cmpeq_epi8(x, _mm_set1_epi8('\\'));
    return static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(low, _mm_or_si128(quote, backslash))));
}

std::ptrdiff_t firstMarked(unsigned marks) {
    return std::countr_zero(marks);
}
#else
// Word-at-a-time scanning reads the lowest marked byte as the first one in memory.
static_assert(std::endian::native == std::endian::little);
constexpr std::ptrdiff_t kBlock = 8;

// As above, 8 bytes at a time; only the lowest mark is exact, which is all the caller uses.
std::uint64_t specialBytes(const char* p) {
    std::uint64_t x;
    std::memcpy(&x, p, sizeof x);
    constexpr std::uint64_t kOnes = ~0ULL / 255;
    constexpr std::uint64_t kHigh = kOnes * 0x80;
    const auto hasZero = [](std::uint64_t v) { return (v - kOnes) & ~v & kHigh; };
    const std::uint64_t below20 = (x - kOnes * 0x20) & ~x & kHigh;
    return (x & kHigh) | below20 | hasZero(x ^ (kOnes * '"')) | hasZero(x ^ (kOnes * '\\'));
}

std::ptrdiff_t firstMarked(std::uint64_t marks) {
    return std::countr_zero(marks) / 8;
}
#endif

bool isPlain(char c) {
    const auto u = static_cast<unsigned char>(c);
    return u >= 0x20 && u < 0x80 && c != '"' && c != '\\';
}

// Estimates whether a number that the double conversion refused is too large (rather than
// too small): the sign of the decimal exponent of its first significant digit decides.
bool exceedsDoubleRange(const char* p, const char* end) {
    if (*p == '-') ++p;
    std::int64_t lead = -1;
    bool found = false;
    for (; p < end && isDigit(*p); ++p) {
        found = found || *p != '0';
        if (found) ++lead;
    }
    if (p < end && *p == '.') {
        for (++p; p < end && isDigit(*p) && !found; ++p) {
            found = *p != '0';
            if (!found) --lead;
        }
        while (p < end && isDigit(*p))
            ++p;
    }
    std::int64_t exponent = 0;
    if (p < end && (*p == 'e' || *p == 'E')) {
        ++p;
        const bool negative = *p == '-';
        if (*p == '-' || *p == '+') ++p;
        for (; p < end; ++p)
            exponent = std::min<std::int64_t>(exponent * 10 + (*p - '0'), 1'000'000'000);
        if (negative) exponent = -exponent;
    }
    return lead + exponent > 0;
}

class Parser {
public:
    Parser(const char* data, std::size_t size) : begin_(data), p_(data), end_(data + size) {}

    std::optional<PropertyValue> run(JSONError* error);

private:
    struct Open {
        std::size_t firstValue;
        std::size_t firstKey;
        bool isObject;
    };

    bool fail(const char* at, std::string message);
    void skipWhiteSpace();
    bool parseDocument();
    bool openContainer();
    bool closeContainer();
    bool parseValue();
    bool afterValue();
    bool parseKey();
    bool parseString(std::string& out);
    bool skipUnescaped();
    bool parseEscape(std::string& out);
    bool parseHex4(std::uint32_t& cp);
    bool parseNumber();
    bool expectDigit();
    std::size_t readDigits(std::uint64_t& value);
    bool parseExponent(std::int64_t& exponent);
    bool pushInteger(std::string_view digits, std::uint64_t magnitude, bool negative);
    bool pushConverted(const char* start);
    bool parseLiteral(std::string_view word, PropertyValue value);

    const char* begin_;
    const char* p_;
    const char* end_;
    // Members of every open container wait here until the container closes, so each
    // container is built once at its final size.
    std::vector<PropertyValue> values_;
    std::vector<std::string> keys_;
    std::vector<Open> open_;
    bool valueDue_ = false;  // a member's value comes next, else a separator or the end
    std::string scratch_;    // text of a string with escapes, reused
    const char* errorAt_ = nullptr;
    std::string errorMessage_;
};

bool Parser::fail(const char* at, std::string message) {
    errorAt_ = at;
    errorMessage_ = std::move(message);
    return false;
}

void Parser::skipWhiteSpace() {
    while (p_ < end_ && isWhiteSpace(*p_))
        ++p_;
}

std::optional<PropertyValue> Parser::run(JSONError* error) {
    values_.reserve(64);
    if (parseDocument()) return std::move(values_.front());
    if (error) {
        error->description = std::move(errorMessage_);
        error->atIndex = static_cast<std::uint64_t>(errorAt_ - begin_);
        error->lineNumber = 1 + static_cast<std::uint64_t>(std::count(begin_, errorAt_, '\n'));
    }
    return std::nullopt;
}

bool Parser::parseDocument() {
    skipWhiteSpace();
    if (p_ == end_) return fail(p_, kEndOfBuffer);
    if (*p_ != '[' && *p_ != '{') return fail(p_, "Expected either '[' or '{'.");
    if (!openContainer()) return false;
    // A loop rather than recursion: nesting costs heap, never stack.
    while (!open_.empty()) {
        if (!(valueDue_ ? parseValue() : afterValue())) return false;
    }
    skipWhiteSpace();
    if (p_ != end_)
        return fail(p_,
                    "A valid JSON object was parsed but there were additional non-white-space "
                    "characters remaining.");
    return true;
}

// At '[' or '{'. Leaves the parser after a complete value (an empty container) or with the
// first member's value due.
bool Parser::openContainer() {
    if (open_.size() >= JSONDecoder::kMaxDepth)
        return fail(p_, "Nesting deeper than 512 arrays and objects.");
    const bool isObject = *p_ == '{';
    open_.push_back({values_.size(), keys_.size(), isObject});
    ++p_;
    skipWhiteSpace();
    if (p_ == end_) return fail(p_, kEndOfBuffer);
    if (*p_ == (isObject ? '}' : ']')) {
        ++p_;
        return closeContainer();
    }
    valueDue_ = true;
    return !isObject || parseKey();
}

bool Parser::closeContainer() {
    const Open open = open_.back();
    open_.pop_back();
    const auto first = values_.begin() + static_cast<std::ptrdiff_t>(open.firstValue);
    PropertyValue container;
    if (open.isObject) {
        PropertyDictionary dict;
        dict.reserve(static_cast<std::size_t>(values_.end() - first));
        auto key = keys_.begin() + static_cast<std::ptrdiff_t>(open.firstKey);
        // A repeated key keeps its first position and takes its last value.
        for (auto value = first; value != values_.end(); ++value, ++key)
            dict.set(std::move(*key), std::move(*value));
        keys_.resize(open.firstKey);
        container = std::move(dict);
    } else {
        container =
            PropertyArray(std::make_move_iterator(first), std::make_move_iterator(values_.end()));
    }
    values_.erase(first, values_.end());
    values_.push_back(std::move(container));
    return true;
}

// Parses one member value; a nested container is only opened here and finished by the loop.
bool Parser::parseValue() {
    valueDue_ = false;
    skipWhiteSpace();
    if (p_ == end_) return fail(p_, kEndOfBuffer);
    switch (*p_) {
        case '[':
        case '{':
            return openContainer();
        case '"': {
            std::string text;
            if (!parseString(text)) return false;
            values_.emplace_back(std::move(text));
            return true;
        }
        case 't':
            return parseLiteral("true", true);
        case 'f':
            return parseLiteral("false", false);
        case 'n':
            return parseLiteral("null", PropertyValue());
        case ',':
            return fail(p_, kUnexpectedComma);
        default:
            if (*p_ == '-' || isDigit(*p_)) return parseNumber();
            return fail(p_, kUnexpectedValue);
    }
}

// After a member value: a separator and the next member, or the container's end.
bool Parser::afterValue() {
    skipWhiteSpace();
    if (p_ == end_) return fail(p_, kEndOfBuffer);
    const bool isObject = open_.back().isObject;
    const char close = isObject ? '}' : ']';
    if (*p_ == close) {
        ++p_;
        return closeContainer();
    }
    if (*p_ != ',') return fail(p_, isObject ? "Expected ',' or '}'." : "Expected ',' or ']'.");
    const char* comma = p_++;
    skipWhiteSpace();
    if (p_ == end_) return fail(p_, kEndOfBuffer);
    if (*p_ == close) return fail(comma, kUnexpectedComma);
    valueDue_ = true;
    return !isObject || parseKey();
}

bool Parser::parseKey() {
    if (*p_ != '"') return fail(p_, *p_ == ',' ? kUnexpectedComma : kUnexpectedValue);
    std::string key;
    if (!parseString(key)) return false;
    keys_.push_back(std::move(key));
    skipWhiteSpace();
    if (p_ == end_) return fail(p_, kEndOfBuffer);
    if (*p_ != ':') return fail(p_, "Expected ':'.");
    ++p_;
    return true;
}

// At the opening quote. Text without escapes is copied once, straight from the input.
bool Parser::parseString(std::string& out) {
    const char* start = ++p_;
    if (!skipUnescaped()) return false;
    if (*p_ == '"') {
        out = std::string(start, p_++);
        return true;
    }
    scratch_.assign(start, p_);
    while (*p_ == '\\') {
        if (!parseEscape(scratch_)) return false;
        const char* run = p_;
        if (!skipUnescaped()) return false;
        scratch_.append(run, p_);
    }
    ++p_;
    out = scratch_;
    return true;
}

// Moves over string bytes that stand for themselves, up to a quote or a backslash.
bool Parser::skipUnescaped() {
    for (;;) {
        while (end_ - p_ >= kBlock) {
            if (const auto marks = specialBytes(p_)) {
                p_ += firstMarked(marks);
                break;
            }
            p_ += kBlock;
        }
        while (p_ < end_ && isPlain(*p_))
            ++p_;
        if (p_ == end_) return fail(p_, kEndOfBuffer);
        const auto c = static_cast<unsigned char>(*p_);
        if (c == '"' || c == '\\') return true;
        if (c < 0x20)
            return fail(p_, "Invalid character < 0x20 found in string: 0x" + hexByte(c) + ".");
        // Non-ASCII text tends to come in runs.
        do {
            const int len = utf8SequenceLength(reinterpret_cast<const unsigned char*>(p_),
                                               reinterpret_cast<const unsigned char*>(end_));
            if (len < 0) return fail(end_, kEndOfBuffer);
            if (len == 0) return fail(p_, "Invalid UTF-8 sequence found in string.");
            p_ += len;
        } while (p_ < end_ && static_cast<unsigned char>(*p_) >= 0x80);
    }
}

// At the backslash.
bool Parser::parseEscape(std::string& out) {
    if (++p_ == end_) return fail(p_, kEndOfBuffer);
    const char c = *p_++;
    switch (c) {
        case '"':
        case '\\':
        case '/':
            out += c;
            return true;
        case 'b':
            out += '\b';
            return true;
        case 'f':
            out += '\f';
            return true;
        case 'n':
            out += '\n';
            return true;
        case 'r':
            out += '\r';
            return true;
        case 't':
            out += '\t';
            return true;
        case 'u':
            break;
        default:
            return fail(p_ - 1, std::string("Invalid escape sequence found in string: '\\") +
                                    printable(c) + "'.");
    }
    std::uint32_t cp;
    if (!parseHex4(cp)) return false;
    if (cp >= 0xD800 && cp <= 0xDBFF) {
        if (end_ - p_ < 2) return fail(end_, kEndOfBuffer);
        if (p_[0] != '\\' || p_[1] != 'u')
            return fail(p_,
                        "Required a second \\u Unicode escape sequence following a surrogate \\u "
                        "Unicode escape sequence.");
        p_ += 2;
        std::uint32_t low;
        if (!parseHex4(low)) return false;
        if (low < 0xDC00 || low > 0xDFFF)
            return fail(p_ - 6, "Invalid surrogate pair in \\u Unicode escape sequence.");
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
    } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
        return fail(p_ - 6, "Invalid surrogate pair in \\u Unicode escape sequence.");
    }
    appendUtf8(out, cp);
    return true;
}

bool Parser::parseHex4(std::uint32_t& cp) {
    cp = 0;
    for (int i = 0; i < 4; ++i, ++p_) {
        if (p_ == end_) return fail(p_, kEndOfBuffer);
        const int digit = hexValue(*p_);
        if (digit < 0)
            return fail(p_, std::string("Unexpected character found in \\u Unicode escape "
                                        "sequence.  Found '") +
                                printable(*p_) + "', expected [0-9a-fA-F].");
        cp = (cp << 4) | static_cast<std::uint32_t>(digit);
    }
    return true;
}

bool Parser::expectDigit() {
    if (p_ == end_) return fail(p_, kEndOfBuffer);
    if (!isDigit(*p_)) return fail(p_, "Invalid number: expected a digit.");
    return true;
}

// Digits into `value`, which wraps past 19 digits (the count says when); returns the count.
std::size_t Parser::readDigits(std::uint64_t& value) {
    const char* first = p_;
    for (; p_ < end_ && isDigit(*p_); ++p_)
        value = value * 10 + static_cast<std::uint64_t>(*p_ - '0');
    return static_cast<std::size_t>(p_ - first);
}

bool Parser::parseNumber() {
    const char* start = p_;
    const bool negative = *p_ == '-';
    if (negative) ++p_;
    if (!expectDigit()) return false;
    const char* integerStart = p_;
    std::uint64_t mantissa = 0;
    const std::size_t integerDigits = readDigits(mantissa);
    if (*integerStart == '0' && integerDigits > 1)
        return fail(integerStart + 1, "Invalid number: leading zeros are not permitted.");
    std::size_t fractionDigits = 0;
    bool integral = true;
    if (p_ < end_ && *p_ == '.') {
        ++p_;
        if (!expectDigit()) return false;
        fractionDigits = readDigits(mantissa);
        integral = false;
    }
    std::int64_t exponent = 0;
    if (p_ < end_ && (*p_ == 'e' || *p_ == 'E')) {
        if (!parseExponent(exponent)) return false;
        integral = false;
    }
    if (integral && pushInteger(std::string_view(integerStart, integerDigits), mantissa, negative))
        return true;
    // One correctly rounded operation on exact operands gives the nearest double.
    static constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                              1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                              1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const std::int64_t scale = exponent - static_cast<std::int64_t>(fractionDigits);
    if (integerDigits + fractionDigits <= 19 && mantissa <= (std::uint64_t{1} << 53) &&
        scale >= -22 && scale <= 22) {
        const auto m = static_cast<double>(mantissa);
        const double d = scale < 0 ? m / kExactPowers[-scale] : m * kExactPowers[scale];
        values_.emplace_back(negative ? -d : d);
        return true;
    }
    return pushConverted(start);
}

// After the 'e'. Saturates far beyond any double's range.
bool Parser::parseExponent(std::int64_t& exponent) {
    bool negative = false;
    if (++p_ < end_ && (*p_ == '+' || *p_ == '-')) negative = *p_++ == '-';
    if (!expectDigit()) return false;
    for (; p_ < end_ && isDigit(*p_); ++p_)
        exponent = std::min<std::int64_t>(exponent * 10 + (*p_ - '0'), 1'000'000'000);
    if (negative) exponent = -exponent;
    return true;
}

// Integers within 64 bits: unsigned, or signed with a minus sign. False for the rest.
bool Parser::pushInteger(std::string_view digits, std::uint64_t magnitude, bool negative) {
    if (digits.size() > 20 || (digits.size() == 20 && digits > "18446744073709551615"))
        return false;
    if (!negative) {
        values_.emplace_back(magnitude);
        return true;
    }
    constexpr std::uint64_t kMinMagnitude = std::uint64_t{1} << 63;  // of INT64_MIN
    if (magnitude > kMinMagnitude) return false;
    values_.emplace_back(magnitude == kMinMagnitude ? std::numeric_limits<std::int64_t>::min()
                                                    : -static_cast<std::int64_t>(magnitude));
    return true;
}

// The number from `start` to here, by the library's exact conversion.
bool Parser::pushConverted(const char* start) {
    double d = 0;
    if (std::from_chars(start, p_, d).ec == std::errc::result_out_of_range) {
        if (exceedsDoubleRange(start, p_))
            return fail(start, "Number is too large to be represented as a double.");
        d = *start == '-' ? -0.0 : 0.0;
    }
    values_.emplace_back(d);
    return true;
}

bool Parser::parseLiteral(std::string_view word, PropertyValue value) {
    const auto available = std::min(word.size(), static_cast<std::size_t>(end_ - p_));
    if (std::string_view(p_, available) != word.substr(0, available))
        return fail(p_, kUnexpectedValue);
    if (available < word.size()) return fail(end_, kEndOfBuffer);
    p_ += word.size();
    values_.push_back(std::move(value));
    return true;
}

}  // namespace

PropertyValue JSONError::userInfo() const {
    return PropertyValue::dictionary({{"NSLocalizedDescription", description},
                                      {"JKAtIndexKey", atIndex},
                                      {"JKLineNumberKey", lineNumber}});
}

std::optional<PropertyValue> JSONDecoder::objectWithData(const Bytes* data,
                                                         JSONError* error) const {
    if (!data) {
        if (error) *error = {"The jsonData argument is NULL.", 0, 0};
        return std::nullopt;
    }
    return objectWithUTF8String(
        std::string_view(reinterpret_cast<const char*>(data->data()), data->size()), error);
}

std::optional<PropertyValue> JSONDecoder::objectWithUTF8String(std::string_view text,
                                                               JSONError* error) const {
    return Parser(text.data(), text.size()).run(error);
}

std::optional<PropertyValue> objectFromJSONData(const Bytes* data) {
    return JSONDecoder().objectWithData(data, nullptr);
}

std::optional<PropertyValue> objectFromJSONData(std::string_view data) {
    return JSONDecoder().objectWithUTF8String(data, nullptr);
}

}  // namespace nbx
