#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "JSONKit.h"

namespace nbx {
namespace {

struct OutputCase {
    PropertyValue value;
    std::string text;
};

void PrintTo(const OutputCase& c, std::ostream* os) {
    *os << c.text;
}

class EncodedOutput : public testing::TestWithParam<OutputCase> {};

TEST_P(EncodedOutput, IsCompactAndExact) {
    const OutputCase& c = GetParam();
    JSONError error;
    const auto text = JKSerializer::serializeObject(c.value, &error);
    ASSERT_TRUE(text) << error.description;
    EXPECT_EQ(*text, c.text);
    const auto bytes = JSONData(c.value);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(std::string(bytes->begin(), bytes->end()), c.text);
}

PropertyValue one(PropertyValue v) {
    return PropertyValue::array({std::move(v)});
}

INSTANTIATE_TEST_SUITE_P(
    Structure, EncodedOutput,
    testing::Values(
        OutputCase{PropertyValue::array(), "[]"}, OutputCase{PropertyValue::dictionary(), "{}"},
        // Enumeration order, not sorted.
        OutputCase{PropertyValue::dictionary(
                       {{"z", 1}, {"a", PropertyValue::array({true, false})}, {"m", nullptr}}),
                   R"({"z":1,"a":[true,false],"m":null})"},
        OutputCase{PropertyValue::array({PropertyValue::dictionary({{"k", PropertyValue::array()}}),
                                         PropertyValue::array({PropertyValue::array()})}),
                   R"([{"k":[]},[[]]])"}));

INSTANTIATE_TEST_SUITE_P(
    Numbers, EncodedOutput,
    testing::Values(
        OutputCase{one(0), "[0]"}, OutputCase{one(-42), "[-42]"},
        OutputCase{one(std::numeric_limits<std::int64_t>::min()), "[-9223372036854775808]"},
        OutputCase{one(std::numeric_limits<std::uint64_t>::max()), "[18446744073709551615]"},
        // Same text as "%.17g".
        OutputCase{one(0.1), "[0.10000000000000001]"}, OutputCase{one(1500.0), "[1500]"},
        OutputCase{one(-0.0), "[-0]"}, OutputCase{one(0.5), "[0.5]"},
        OutputCase{one(1e17), "[1e+17]"}, OutputCase{one(1e16), "[10000000000000000]"},
        OutputCase{one(123456789.125), "[123456789.125]"},
        OutputCase{one(1e-5), "[1.0000000000000001e-05]"}, OutputCase{one(0.0001), "[0.0001]"},
        OutputCase{one(1e300), "[1.0000000000000001e+300]"},
        OutputCase{one(std::numeric_limits<double>::max()), "[1.7976931348623157e+308]"},
        OutputCase{one(std::numeric_limits<double>::denorm_min()), "[4.9406564584124654e-324]"}));

INSTANTIATE_TEST_SUITE_P(
    Strings, EncodedOutput,
    testing::Values(
        OutputCase{one("a/b"), R"(["a/b"])"}, OutputCase{one("\xC3\xA9"), "[\"\xC3\xA9\"]"},
        OutputCase{one("\xF0\x9F\x98\x80 \xE6\x97\xA5"), "[\"\xF0\x9F\x98\x80 \xE6\x97\xA5\"]"},
        OutputCase{one("\"\\"), R"(["\"\\"])"}, OutputCase{one("\b\f\n\r\t"), R"(["\b\f\n\r\t"])"},
        OutputCase{one(std::string("\0\x01\x1f\x7f", 4)), "[\"\\u0000\\u0001\\u001f\x7f\"]"},
        OutputCase{PropertyValue::dictionary({{"k\n\"", "v"}}), R"({"k\n\"":"v"})"}));

struct FailureCase {
    PropertyValue value;
    std::string message;
};

void PrintTo(const FailureCase& c, std::ostream* os) {
    *os << c.message;
}

class EncodingFailures : public testing::TestWithParam<FailureCase> {};

TEST_P(EncodingFailures, GiveNoOutput) {
    const FailureCase& c = GetParam();
    JSONError error;
    EXPECT_FALSE(JKSerializer::serializeObject(c.value, &error));
    EXPECT_EQ(error.description, c.message);
    EXPECT_FALSE(JSONData(c.value));
}

const std::string kNotFinite =
    "Floating point values must be finite.  JSON does not support NaN or Infinity.";

PropertyValue nestedArrays(std::size_t depth) {
    PropertyValue v = PropertyValue::array();
    for (std::size_t i = 1; i < depth; ++i)
        v = one(std::move(v));
    return v;
}

INSTANTIATE_TEST_SUITE_P(
    All, EncodingFailures,
    testing::Values(
        FailureCase{"text",
                    "Unable to serialize object class string, expected a NSArray or "
                    "NSDictionary."},
        FailureCase{42,
                    "Unable to serialize object class integer, expected a NSArray or "
                    "NSDictionary."},
        FailureCase{PropertyValue(),
                    "Unable to serialize object class null, expected a NSArray "
                    "or NSDictionary."},
        FailureCase{PropertyValue::dictionary({{"when", Date{}}}),
                    "Unable to serialize object class date."},
        FailureCase{one(Bytes{1, 2}), "Unable to serialize object class data."},
        FailureCase{one(std::nan("")), kNotFinite},
        FailureCase{PropertyValue::dictionary({{"a", -std::numeric_limits<double>::infinity()}}),
                    kNotFinite},
        FailureCase{one("\xC3"), "Unable to serialize a string that is not valid UTF-8."},
        FailureCase{PropertyValue::dictionary({{"\xFF", 1}}),
                    "Unable to serialize a string that is not valid UTF-8."},
        FailureCase{nestedArrays(JSONDecoder::kMaxDepth + 1),
                    "Nesting deeper than 512 arrays and objects."}));

TEST(Encoding, NestingUpToTheDecodersLimitIsWritten) {
    const auto text = JKSerializer::serializeObject(nestedArrays(JSONDecoder::kMaxDepth), nullptr);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->size(), 2 * JSONDecoder::kMaxDepth);
}

// Every decodable document survives encode and decode unchanged.
class RoundTrip : public testing::TestWithParam<std::string> {};

TEST_P(RoundTrip, KeepsEveryValue) {
    const auto first = objectFromJSONData(GetParam());
    ASSERT_TRUE(first);
    const auto bytes = JSONData(*first);
    ASSERT_TRUE(bytes);
    const auto second = objectFromJSONData(&*bytes);
    ASSERT_TRUE(second);
    EXPECT_EQ(*first, *second);
    EXPECT_EQ(JSONData(*second), bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, RoundTrip,
    testing::Values(R"({"agentId":"A1","toner":[10,20.5,-3],"ok":true,"x":null})",
                    R"([0.1,1e-7,2.5e300,-1.25,18446744073709551615,-9223372036854775808])",
                    R"(["\u0000\u001F\"\\/\b\f\n\r\t","\ud83d\ude00 caf\u00e9"])",
                    R"({"":{"":[[],{}]},"nested":[[[["deep"]]]]})"));

}  // namespace
}  // namespace nbx
