#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "JSONKit.h"

namespace nbx {
namespace {

struct ErrorCase {
    std::string input;
    std::string message;
    std::uint64_t index;
    std::uint64_t line;
};

void PrintTo(const ErrorCase& c, std::ostream* os) {
    *os << testing::PrintToString(c.input);
}

class DecoderErrors : public testing::TestWithParam<ErrorCase> {};

TEST_P(DecoderErrors, FailsWithMessagePositionAndNoResult) {
    const ErrorCase& c = GetParam();
    JSONError error;
    EXPECT_FALSE(JSONDecoder().objectWithUTF8String(c.input, &error).has_value());
    EXPECT_EQ(error.description, c.message);
    EXPECT_EQ(error.atIndex, c.index);
    EXPECT_EQ(error.lineNumber, c.line);
    EXPECT_FALSE(objectFromJSONData(c.input).has_value());
}

const std::string kEnd = "Reached the end of the buffer.";
const std::string kTopLevel = "Expected either '[' or '{'.";
const std::string kTrailing =
    "A valid JSON object was parsed but there were additional non-white-space characters "
    "remaining.";
const std::string kComma = "Unexpected ','.";
const std::string kValue = "Unexpected value.";
const std::string kTooLarge = "Number is too large to be represented as a double.";
const std::string kDigit = "Invalid number: expected a digit.";
const std::string kSecondEscape =
    "Required a second \\u Unicode escape sequence following a surrogate \\u Unicode escape "
    "sequence.";
const std::string kSurrogate = "Invalid surrogate pair in \\u Unicode escape sequence.";
const std::string kBadUtf8 = "Invalid UTF-8 sequence found in string.";
std::string hexDigitError(char c) {
    return std::string("Unexpected character found in \\u Unicode escape sequence.  Found '") + c +
           "', expected [0-9a-fA-F].";
}

INSTANTIATE_TEST_SUITE_P(
    TopLevelAndStructure, DecoderErrors,
    testing::Values(ErrorCase{"true", kTopLevel, 0, 1}, ErrorCase{" \n\"a\"", kTopLevel, 2, 2},
                    ErrorCase{"12", kTopLevel, 0, 1}, ErrorCase{"null", kTopLevel, 0, 1},
                    ErrorCase{"", kEnd, 0, 1}, ErrorCase{"  \n ", kEnd, 4, 2},
                    ErrorCase{"\xEF\xBB\xBF[]", kTopLevel, 0, 1},
                    ErrorCase{"{}\nx", kTrailing, 3, 2}, ErrorCase{"[] []", kTrailing, 3, 1},
                    ErrorCase{"[1,]", kComma, 2, 1}, ErrorCase{"{\"a\":1,}", kComma, 6, 1},
                    ErrorCase{"[,1]", kComma, 1, 1}, ErrorCase{"[1,,2]", kComma, 3, 1},
                    ErrorCase{"{,}", kComma, 1, 1}, ErrorCase{"{a:1}", kValue, 1, 1},
                    ErrorCase{"{1:1}", kValue, 1, 1}, ErrorCase{"{\"a\" 1}", "Expected ':'.", 5, 1},
                    ErrorCase{"{\"a\"=1}", "Expected ':'.", 4, 1},
                    ErrorCase{"[1 2]", "Expected ',' or ']'.", 3, 1},
                    ErrorCase{"{\"a\":1 \"b\":2}", "Expected ',' or '}'.", 7, 1},
                    ErrorCase{"[1}", "Expected ',' or ']'.", 2, 1},
                    ErrorCase{"[/* c */1]", kValue, 1, 1}, ErrorCase{"['a']", kValue, 1, 1},
                    ErrorCase{"[tru]", kValue, 1, 1}, ErrorCase{"[nul", kEnd, 4, 1},
                    ErrorCase{"[True]", kValue, 1, 1}, ErrorCase{"[NaN]", kValue, 1, 1},
                    ErrorCase{"[", kEnd, 1, 1}, ErrorCase{"{\"a\":", kEnd, 5, 1},
                    ErrorCase{"{\"a\"", kEnd, 4, 1}, ErrorCase{"[1,", kEnd, 3, 1},
                    ErrorCase{"[1", kEnd, 2, 1}, ErrorCase{"[\"ab", kEnd, 4, 1},
                    // Form feed and vertical tab are not white space in strict JSON.
                    ErrorCase{"\f[]", kTopLevel, 0, 1}, ErrorCase{"[\f1]", kValue, 1, 1},
                    ErrorCase{"[]\f", kTrailing, 2, 1},
                    ErrorCase{"[1\v]", "Expected ',' or ']'.", 2, 1},
                    ErrorCase{std::string("[1]\0", 4), kTrailing, 3, 1}));

INSTANTIATE_TEST_SUITE_P(
    Numbers, DecoderErrors,
    testing::Values(ErrorCase{"[-01]", "Invalid number: leading zeros are not permitted.", 3, 1},
                    ErrorCase{"[00]", "Invalid number: leading zeros are not permitted.", 2, 1},
                    ErrorCase{"[2.e3]", kDigit, 3, 1}, ErrorCase{"[.5]", kValue, 1, 1},
                    ErrorCase{"[1.]", kDigit, 3, 1}, ErrorCase{"[-]", kDigit, 2, 1},
                    ErrorCase{"[-a]", kDigit, 2, 1}, ErrorCase{"[1e]", kDigit, 3, 1},
                    ErrorCase{"[1e+]", kDigit, 4, 1}, ErrorCase{"[+1]", kValue, 1, 1},
                    ErrorCase{"[1E", kEnd, 3, 1}, ErrorCase{"[0x10]", "Expected ',' or ']'.", 2, 1},
                    ErrorCase{"[1e999999999999999999999]", kTooLarge, 1, 1},
                    ErrorCase{"[-1.5e309]", kTooLarge, 1, 1},
                    ErrorCase{"[0.001e312]", kTooLarge, 1, 1},
                    ErrorCase{"[100000e304]", kTooLarge, 1, 1}));

INSTANTIATE_TEST_SUITE_P(
    Strings, DecoderErrors,
    testing::Values(
        ErrorCase{"[\"a\tb\"]", "Invalid character < 0x20 found in string: 0x09.", 3, 1},
        ErrorCase{"[\"a\nb\"]", "Invalid character < 0x20 found in string: 0x0a.", 3, 1},
        ErrorCase{std::string("[\"\0\"]", 5), "Invalid character < 0x20 found in string: 0x00.", 2,
                  1},
        ErrorCase{"{\"k\x1f\":1}", "Invalid character < 0x20 found in string: 0x1f.", 3, 1},
        ErrorCase{"[\"\\x\"]", "Invalid escape sequence found in string: '\\x'.", 3, 1},
        ErrorCase{"[\"\\'\"]", "Invalid escape sequence found in string: '\\''.", 3, 1},
        ErrorCase{"[\"\\", kEnd, 3, 1}, ErrorCase{"[\"\\u12", kEnd, 6, 1},
        ErrorCase{"[\"\\u12G4\"]", hexDigitError('G'), 6, 1},
        ErrorCase{"[\"\\u\"]", hexDigitError('"'), 4, 1},
        ErrorCase{"[\"\\u00\xC3\xA9\"]", hexDigitError('?'), 6, 1},
        ErrorCase{"[\"\\ud800\"]", kSecondEscape, 8, 1},
        ErrorCase{"[\"\\ud800x\\udc00\"]", kSecondEscape, 8, 1},
        ErrorCase{"[\"\\ud800", kEnd, 8, 1}, ErrorCase{"[\"\\ud800\\u0041\"]", kSurrogate, 8, 1},
        ErrorCase{"[\"\\ud800\\ud800\"]", kSurrogate, 8, 1},
        ErrorCase{"[\"\\udc00\"]", kSurrogate, 2, 1},
        ErrorCase{"[\"\\uDFFF\\uDC00\"]", kSurrogate, 2, 1},
        // Ill-formed UTF-8: stray continuation, overlong, surrogate, past U+10FFFF, bad lead.
        ErrorCase{"[\"a\x80\"]", kBadUtf8, 3, 1}, ErrorCase{"[\"\xC0\xAF\"]", kBadUtf8, 2, 1},
        ErrorCase{"[\"\xE0\x80\xAF\"]", kBadUtf8, 2, 1},
        ErrorCase{"[\"\xED\xA0\x80\"]", kBadUtf8, 2, 1},
        ErrorCase{"[\"\xF4\x90\x80\x80\"]", kBadUtf8, 2, 1},
        ErrorCase{"[\"\xF5\x80\x80\x80\"]", kBadUtf8, 2, 1},
        ErrorCase{"[\"\xC3\x28\"]", kBadUtf8, 2, 1}, ErrorCase{"[\"\xE2\x82\"]", kBadUtf8, 2, 1},
        ErrorCase{"[\"\xE2\x82", kEnd, 4, 1}, ErrorCase{"{\"\xFF\":1}", kBadUtf8, 2, 1},
        // A bad byte after a long clean run is still found.
        ErrorCase{"[\"0123456789abcdef0123\x01\"]",
                  "Invalid character < 0x20 found in string: 0x01.", 22, 1},
        ErrorCase{"[\"0123456789abcdef0123\xFF\"]", kBadUtf8, 22, 1}));

// Text is scanned in blocks; a special byte must be found at every offset within them.
TEST(Decoder, FindsSpecialBytesAtEveryOffset) {
    struct Special {
        std::string bytes;
        std::string decoded;  // empty: an error at the byte is expected
        std::string message;
    };
    const Special specials[] = {
        {"\x01", "", "Invalid character < 0x20 found in string: 0x01."},
        {"\xFF", "", kBadUtf8},
        {"\\n", "\n", ""},
        {"\xC3\xA9", "\xC3\xA9", ""},
        {"\\\"", "\"", ""},
    };
    for (const Special& special : specials) {
        for (std::size_t offset = 0; offset < 40; ++offset) {
            const std::string before(offset, 'a'), after(40 - offset, 'b');
            const std::string text = "[\"" + before + special.bytes + after + "\"]";
            JSONError error;
            const auto doc = JSONDecoder().objectWithUTF8String(text, &error);
            if (special.decoded.empty()) {
                EXPECT_FALSE(doc) << offset;
                EXPECT_EQ(error.description, special.message);
                EXPECT_EQ(error.atIndex, offset + 2);
            } else {
                ASSERT_TRUE(doc) << offset << " " << error.description;
                EXPECT_EQ(doc->at(0), PropertyValue(before + special.decoded + after)) << offset;
            }
        }
    }
}

TEST(Decoder, AbsentBufferIsAnError) {
    JSONError error;
    EXPECT_FALSE(JSONDecoder().objectWithData(nullptr, &error).has_value());
    EXPECT_EQ(error.description, "The jsonData argument is NULL.");
    EXPECT_FALSE(objectFromJSONData(static_cast<const Bytes*>(nullptr)).has_value());
}

TEST(Decoder, ErrorInformationCarriesIndexAndLine) {
    JSONError error;
    ASSERT_FALSE(JSONDecoder().objectWithUTF8String("[1,\n2,\n x]", &error));
    EXPECT_EQ(JSONError::kDomain, std::string("JKErrorDomain"));
    const PropertyValue info = error.userInfo();
    EXPECT_EQ(info["NSLocalizedDescription"].string(), "Unexpected value.");
    EXPECT_EQ(info["JKAtIndexKey"].integer(), 8);
    EXPECT_EQ(info["JKLineNumberKey"].integer(), 3);
}

std::string nested(std::size_t depth, std::string_view inner = "") {
    return std::string(depth, '[') + std::string(inner) + std::string(depth, ']');
}

TEST(Decoder, NestingIsBoundedWithoutExhaustingTheStack) {
    EXPECT_TRUE(objectFromJSONData(nested(JSONDecoder::kMaxDepth)).has_value());
    JSONError error;
    EXPECT_FALSE(JSONDecoder().objectWithUTF8String(nested(JSONDecoder::kMaxDepth + 1), &error));
    EXPECT_EQ(error.description, "Nesting deeper than 512 arrays and objects.");
    EXPECT_EQ(error.atIndex, JSONDecoder::kMaxDepth);

    std::string bomb;
    while (bomb.size() < 250'000)
        bomb += "[{\"\":";
    EXPECT_FALSE(JSONDecoder().objectWithUTF8String(bomb, &error));
    EXPECT_EQ(error.description, "Nesting deeper than 512 arrays and objects.");
}

}  // namespace
}  // namespace nbx
