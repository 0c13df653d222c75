// The encoder: compact text, "%.17g" numbers, and no output for what JSON cannot hold.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "JSONKit.h"

namespace nbx {
namespace {

PropertyValue one(PropertyValue v) {
    return PropertyValue::array({std::move(v)});
}

PropertyValue nestedArrays(std::size_t depth) {
    PropertyValue v = PropertyValue::array();
    for (std::size_t i = 1; i < depth; ++i)
        v = one(std::move(v));
    return v;
}

TEST(Encoder, WritesCompactExactText) {
    const std::pair<PropertyValue, std::string> cases[] = {
        // Enumeration order, not sorted.
        {PropertyValue::dictionary(
             {{"z", 1}, {"a", PropertyValue::array({true, false})}, {"m", nullptr}}),
         R"({"z":1,"a":[true,false],"m":null})"},
        {PropertyValue::array({PropertyValue::dictionary({{"k", PropertyValue::array()}}),
                               PropertyValue::array({PropertyValue::array()})}),
         R"([{"k":[]},[[]]])"},
        {one(std::numeric_limits<std::int64_t>::min()), "[-9223372036854775808]"},
        {one(std::numeric_limits<std::uint64_t>::max()), "[18446744073709551615]"},
        {one("a/b \xF0\x9F\x98\x80"), "[\"a/b \xF0\x9F\x98\x80\"]"},
        {one("\"\\\b\f\n\r\t"), R"(["\"\\\b\f\n\r\t"])"},
        {one(std::string("\0\x01\x1f\x7f", 4)), "[\"\\u0000\\u0001\\u001f\x7f\"]"},
        {PropertyValue::dictionary({{"k\n\"", "v"}}), R"({"k\n\"":"v"})"},
        {nestedArrays(JSONDecoder::kMaxDepth),
         std::string(JSONDecoder::kMaxDepth, '[') + std::string(JSONDecoder::kMaxDepth, ']')},
    };
    for (const auto& [value, text] : cases) {
        JSONError error;
        EXPECT_EQ(JKSerializer::serializeObject(value, &error), text) << error.description;
        EXPECT_EQ(JSONData(value), Bytes(text.begin(), text.end())) << text;
    }
}

TEST(Encoder, RefusesWhatJSONCannotHold) {
    const std::string kNotFinite =
        "Floating point values must be finite.  JSON does not support NaN or Infinity.";
    const std::string kNotUtf8 = "Unable to serialize a string that is not valid UTF-8.";
    const std::pair<PropertyValue, std::string> cases[] = {
        {"text", "Unable to serialize object class string, expected a NSArray or NSDictionary."},
        {PropertyValue::dictionary({{"when", Date{}}}), "Unable to serialize object class date."},
        {one(Bytes{1, 2}), "Unable to serialize object class data."},
        {one(std::nan("")), kNotFinite},
        {PropertyValue::dictionary({{"a", -std::numeric_limits<double>::infinity()}}), kNotFinite},
        {one("\xC3"), kNotUtf8},
        {PropertyValue::dictionary({{"\xFF", 1}}), kNotUtf8},
        {nestedArrays(JSONDecoder::kMaxDepth + 1), "Nesting deeper than 512 arrays and objects."},
    };
    for (const auto& [value, message] : cases) {
        JSONError error;
        EXPECT_FALSE(JKSerializer::serializeObject(value, &error));
        EXPECT_EQ(error.description, message);
        EXPECT_FALSE(JSONData(value));
    }
}

// printf's "%.17g" in the C locale is the reference for every number, byte for byte.
TEST(Encoder, NumbersReadAsPrintfWritesThem) {
    const auto matches = [](double d) {
        char text[64];
        std::snprintf(text, sizeof text, "[%.17g]", d);
        const Bytes json = JSONData(one(d)).value_or(Bytes{});
        const std::string ours(json.begin(), json.end());
        return testing::AssertionResult(ours == text) << ours << " instead of " << text;
    };
    // Powers of two and ten hit the exact ties and the rounding carries.
    for (int k = -1074; k <= 1023; ++k)
        ASSERT_TRUE(matches(-std::ldexp(1.0, k)));
    for (int k = -323; k <= 308; ++k) {
        const double d = std::strtod(("1e" + std::to_string(k)).c_str(), nullptr);
        for (const double near : {std::nextafter(d, 0.0), d, std::nextafter(d, INFINITY)})
            ASSERT_TRUE(matches(near));
    }
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int i = 0; i < 40000; ++i) {
        const auto bits = std::bit_cast<double>(random());
        ASSERT_TRUE(matches(std::isfinite(bits) ? bits : 0.0));
        ASSERT_TRUE(matches(unit(random) * std::pow(10.0, static_cast<int>(random() % 50) - 15)));
        ASSERT_TRUE(matches(static_cast<double>(random() >> (random() % 64))));
    }
    for (const double d : {-0.0, 1500.0, std::numeric_limits<double>::max()})
        ASSERT_TRUE(matches(d));
}

}  // namespace
}  // namespace nbx
