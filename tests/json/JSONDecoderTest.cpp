// The decoder: what it makes of good documents, and why it refuses the rest.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "JSONKit.h"

namespace nbx {
namespace {

const std::string kBadUtf8 = "Invalid UTF-8 sequence found in string.";
const std::string kNesting = "Nesting deeper than 512 arrays and objects.";
std::string controlError(const char* hex) {
    return std::string("Invalid character < 0x20 found in string: 0x") + hex + ".";
}
std::string hexDigitError(char c) {
    return std::string("Unexpected character found in \\u Unicode escape sequence.  Found '") + c +
           "', expected [0-9a-fA-F].";
}

// "|" marks where the error is reported; it is taken out before decoding.
TEST(Decoder, RefusesWithMessageAndPosition) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        // Form feed and vertical tab are not white space in strict JSON.
        {"Expected either '[' or '{'.", {"|true", " \n|\"a\"", "|\xEF\xBB\xBF[]", "|\f[]"}},
        {"Reached the end of the buffer.",
         {"|", "  \n |", "[nul|", "[|", "{\"a\":|", "[1|", "[\"ab|", "[1E|", "[\"\\u12|",
          "[\"\xE2\x82|"}},
        {"A valid JSON object was parsed but there were additional non-white-space characters "
         "remaining.",
         {"{}\n|x", std::string("[1]|\0", 5)}},
        {"Unexpected ','.", {"[1|,]", "{\"a\":1|,}", "[|,1]"}},
        {"Unexpected value.",
         {"{|a:1}", "[|/* c */1]", "[|'a']", "[|tru]", "[|NaN]", "[|.5]", "[|+1]"}},
        {"Expected ':'.", {"{\"a\" |1}"}},
        {"Expected ',' or ']'.", {"[1 |2]", "[1|}", "[1|\v]", "[0|x10]"}},
        {"Expected ',' or '}'.", {"{\"a\":1 |\"b\":2}"}},
        {"Invalid number: leading zeros are not permitted.", {"[-0|1]"}},
        {"Invalid number: expected a digit.", {"[2.|e3]", "[-|]", "[1e+|]"}},
        // The digits before and after the point count towards the exponent.
        {"Number is too large to be represented as a double.",
         {"[|1e999999999999999999999]", "[|0.001e312]", "[|100000e304]"}},
        {controlError("09"), {"[\"a|\tb\"]"}},
        {controlError("1f"), {"{\"k|\x1f\":1}"}},
        {controlError("00"), {std::string("[\"|\0\"]", 6)}},
        {"Invalid escape sequence found in string: '\\x'.", {"[\"\\|x\"]"}},
        {hexDigitError('G'), {"[\"\\u12|G4\"]"}},
        {hexDigitError('?'), {"[\"\\u00|\xC3\xA9\"]"}},
        {"Required a second \\u Unicode escape sequence following a surrogate \\u Unicode "
         "escape sequence.",
         {"[\"\\ud800|\"]"}},
        {"Invalid surrogate pair in \\u Unicode escape sequence.",
         {"[\"\\ud800|\\u0041\"]", "[\"|\\udc00\"]"}},
        // Stray continuation, overlong, surrogate, past U+10FFFF, bad continuation, cut short.
        {kBadUtf8,
         {"[\"a|\x80\"]", "[\"|\xC0\xAF\"]", "[\"|\xED\xA0\x80\"]", "[\"|\xF4\x90\x80\x80\"]",
          "[\"|\xC3\x28\"]", "[\"|\xE2\x82\"]", "{\"|\xFF\":1}"}},
        {kNesting, {std::string(JSONDecoder::kMaxDepth, '[') + "|["}},
    };
    for (const auto& [message, inputs] : cases) {
        for (std::string input : inputs) {
            const auto at = input.find('|');
            input.erase(at, 1);
            SCOPED_TRACE(testing::PrintToString(input));
            JSONError error;
            EXPECT_FALSE(JSONDecoder().objectWithUTF8String(input, &error));
            EXPECT_EQ(error.description, message);
            EXPECT_EQ(error.atIndex, at);
            EXPECT_EQ(error.lineNumber, 1 + std::count(input.begin(), input.begin() + at, '\n'));
        }
    }
    EXPECT_FALSE(objectFromJSONData(static_cast<const Bytes*>(nullptr)));
}

// Each element decoded alone in an array; the expected value's type is the one to get.
TEST(Decoder, ValuesKeepTheirTypeAndExactValue) {
    const std::pair<std::string, PropertyValue> cases[] = {
        {"0", 0u},
        {"-0", 0},
        {"9007199254740993", 9007199254740993ull},
        {"18446744073709551615", std::numeric_limits<std::uint64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        // Past 64 bits: a double, never a wrapped integer.
        {"18446744073709551616", 18446744073709551616.0},
        {"-9223372036854775809", -9223372036854775809.0},
        {"1.0", 1.0},
        {"1E+3", 1000.0},
        {"1.7976931348623157e308", std::numeric_limits<double>::max()},
        {"4.9406564584124654e-324", std::numeric_limits<double>::denorm_min()},
        // Too small for a double: zero, not an error; the digits count towards the range.
        {"-1e-99999999999999999999", -0.0},
        {"0.00000000000000000000000000000000000000000000000001e330", 1e280},
        {"1000000000000000000000000000000e-330", 1e-300},
        {"true", true},
        {"null", {}},
        {R"("\"\\\/\b\f\n\r\t")", "\"\\/\b\f\n\r\t"},
        {R"("\u0041\u00e9\u00E9")", "A\xC3\xA9\xC3\xA9"},
        {R"("\u0000")", std::string(1, '\0')},
        {R"("\ud83d\ude00\uDBFF\uDFFF")", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
        {"\"caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80\x7F\"",
         "caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80\x7F"},
    };
    for (const auto& [element, expected] : cases) {
        const auto doc = objectFromJSONData("[" + element + "]");
        ASSERT_TRUE(doc) << element;
        EXPECT_EQ(doc->at(0).type(), expected.type()) << element;
        EXPECT_EQ(doc->at(0), expected) << element;
    }
}

// The C library's conversion is the reference for every decimal form.
TEST(Decoder, NumbersMatchTheCLibraryConversion) {
    std::mt19937_64 random(5);
    const auto digits = [&](int count) {
        std::string text(static_cast<std::size_t>(count), '0');
        for (char& c : text)
            c = static_cast<char>('0' + random() % 10);
        return text;
    };
    for (int i = 0; i < 50000; ++i) {
        std::string number = random() % 2 ? "-" : "";
        // A leading zero stands alone.
        number += random() % 10 == 0
                      ? "0"
                      : std::to_string(1 + random() % 9) + digits(static_cast<int>(random() % 20));
        if (random() % 4) number += "." + digits(1 + static_cast<int>(random() % 20));
        if (random() % 2) number += "e" + std::to_string(static_cast<int>(random() % 680) - 350);
        const double expected = std::strtod(number.c_str(), nullptr);
        const auto doc = objectFromJSONData("[" + number + "]");
        if (std::isinf(expected)) {
            EXPECT_FALSE(doc) << number;
            continue;
        }
        ASSERT_TRUE(doc) << number;
        const auto value = doc->at(0).real();
        ASSERT_TRUE(value) << number;
        // "-0" is the integer 0; every other form must match to the bit, sign of zero included.
        EXPECT_EQ(std::bit_cast<std::uint64_t>(*value),
                  std::bit_cast<std::uint64_t>(number == "-0" ? 0.0 : expected))
            << number;
    }
}

// Text is scanned in blocks; a special byte must be found at every offset within them.
TEST(Decoder, FindsSpecialBytesAtEveryOffset) {
    // Bytes, what they decode to, or with nothing decoded the error at the byte.
    const std::tuple<std::string, std::string, std::string> specials[] = {
        {"\x01", "", controlError("01")}, {"\xFF", "", kBadUtf8}, {"\\n", "\n", ""},
        {"\xC3\xA9", "\xC3\xA9", ""},     {"\\\"", "\"", ""},
    };
    for (const auto& [bytes, decoded, message] : specials) {
        for (std::size_t offset = 0; offset < 40; ++offset) {
            const std::string before(offset, 'a'), after(40 - offset, 'b');
            const std::string text = "[\"" + before + bytes + after + "\"]";
            JSONError error;
            const auto doc = JSONDecoder().objectWithUTF8String(text, &error);
            if (decoded.empty())
                EXPECT_EQ(std::tuple(doc.has_value(), error.description, error.atIndex),
                          std::tuple(false, message, offset + 2));
            else
                EXPECT_EQ(doc, PropertyValue::array({before + decoded + after})) << offset;
        }
    }
}

// The encoder writes records in their order, which shows the order decoding kept.
TEST(Decoder, DocumentsKeepOrderAndTheLastDuplicateWins) {
    const auto doc =
        objectFromJSONData(" \t\r\n{\"b\":1, \"a\":[true,null,{}],\r\n \"b\":\"two\", \"\":[]} \n");
    ASSERT_TRUE(doc);
    EXPECT_EQ(JKSerializer::serializeObject(*doc, nullptr),
              R"({"b":"two","a":[true,null,{}],"":[]})");
}

TEST(Decoder, NestingIsBoundedWithoutExhaustingTheStack) {
    const std::size_t depth = JSONDecoder::kMaxDepth;
    EXPECT_TRUE(objectFromJSONData(std::string(depth, '[') + std::string(depth, ']')));
    std::string bomb;
    while (bomb.size() < 250'000)
        bomb += "[{\"\":";
    JSONError error;
    EXPECT_FALSE(JSONDecoder().objectWithUTF8String(bomb, &error));
    EXPECT_EQ(error.description, kNesting);
}

}  // namespace
}  // namespace nbx
