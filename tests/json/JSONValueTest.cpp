#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "JSONKit.h"

namespace nbx {
namespace {

using Type = PropertyValue::Type;

struct ScalarCase {
    std::string element;  // decoded as the only element of an array
    Type type;
    PropertyValue expected;
};

void PrintTo(const ScalarCase& c, std::ostream* os) {
    *os << c.element;
}

class DecodedScalars : public testing::TestWithParam<ScalarCase> {};

TEST_P(DecodedScalars, MapToTheTypeAndValue) {
    const ScalarCase& c = GetParam();
    const auto doc = objectFromJSONData("[" + c.element + "]");
    ASSERT_TRUE(doc) << c.element;
    EXPECT_EQ(doc->at(0).type(), c.type) << c.element;
    EXPECT_EQ(doc->at(0), c.expected) << c.element;
}

constexpr auto kInt64Min = std::numeric_limits<std::int64_t>::min();
constexpr auto kUint64Max = std::numeric_limits<std::uint64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Numbers, DecodedScalars,
    testing::Values(
        ScalarCase{"0", Type::Unsigned, PropertyValue(0u)},
        ScalarCase{"-0", Type::Integer, PropertyValue(0)},
        ScalarCase{"42", Type::Unsigned, PropertyValue(42u)},
        ScalarCase{"-42", Type::Integer, PropertyValue(-42)},
        ScalarCase{"9007199254740993", Type::Unsigned, PropertyValue(9007199254740993ull)},
        ScalarCase{"18446744073709551615", Type::Unsigned, PropertyValue(kUint64Max)},
        ScalarCase{"-9223372036854775808", Type::Integer, PropertyValue(kInt64Min)},
        // Past 64 bits: a double, never a wrapped integer.
        ScalarCase{"18446744073709551616", Type::Real, PropertyValue(18446744073709551616.0)},
        ScalarCase{"-9223372036854775809", Type::Real, PropertyValue(-9223372036854775809.0)},
        ScalarCase{"123456789012345678901234567890", Type::Real,
                   PropertyValue(123456789012345678901234567890.0)},
        ScalarCase{"1.5e3", Type::Real, PropertyValue(1500.0)},
        ScalarCase{"1E3", Type::Real, PropertyValue(1000.0)},
        ScalarCase{"1e+3", Type::Real, PropertyValue(1000.0)},
        ScalarCase{"25e-1", Type::Real, PropertyValue(2.5)},
        ScalarCase{"1.0", Type::Real, PropertyValue(1.0)},
        ScalarCase{"-0.0", Type::Real, PropertyValue(-0.0)},
        ScalarCase{"0.1", Type::Real, PropertyValue(0.1)},
        ScalarCase{"1.7976931348623157e308", Type::Real,
                   PropertyValue(std::numeric_limits<double>::max())},
        ScalarCase{"4.9406564584124654e-324", Type::Real,
                   PropertyValue(std::numeric_limits<double>::denorm_min())},
        // Too small for a double: zero, not an error.
        ScalarCase{"1e-400", Type::Real, PropertyValue(0.0)},
        ScalarCase{"-1e-99999999999999999999", Type::Real, PropertyValue(-0.0)},
        ScalarCase{"0.0000001e-320", Type::Real, PropertyValue(0.0)},
        ScalarCase{"123e-330", Type::Real, PropertyValue(0.0)},
        ScalarCase{"0.01e310", Type::Real, PropertyValue(1e308)},
        ScalarCase{"0.00000000000000000000000000000000000000000000000001e330", Type::Real,
                   PropertyValue(1e280)},
        ScalarCase{"1000000000000000000000000000000e-330", Type::Real, PropertyValue(1e-300)}));

INSTANTIATE_TEST_SUITE_P(Literals, DecodedScalars,
                         testing::Values(ScalarCase{"true", Type::Boolean, PropertyValue(true)},
                                         ScalarCase{"false", Type::Boolean, PropertyValue(false)},
                                         ScalarCase{"null", Type::Null, PropertyValue()}));

INSTANTIATE_TEST_SUITE_P(
    Strings, DecodedScalars,
    testing::Values(
        ScalarCase{R"("")", Type::String, PropertyValue("")},
        ScalarCase{R"("a/b")", Type::String, PropertyValue("a/b")},
        ScalarCase{R"("\"\\\/\b\f\n\r\t")", Type::String, PropertyValue("\"\\/\b\f\n\r\t")},
        ScalarCase{R"("\u0041\u00e9\u00E9")", Type::String, PropertyValue("A\xC3\xA9\xC3\xA9")},
        ScalarCase{R"("\u0000")", Type::String, PropertyValue(std::string(1, '\0'))},
        ScalarCase{R"("\u20ac")", Type::String, PropertyValue("\xE2\x82\xAC")},
        ScalarCase{R"("\ud83d\ude00")", Type::String, PropertyValue("\xF0\x9F\x98\x80")},
        ScalarCase{R"("\uDBFF\uDFFF")", Type::String, PropertyValue("\xF4\x8F\xBF\xBF")},
        ScalarCase{"\"caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80\"", Type::String,
                   PropertyValue("caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80")},
        ScalarCase{"\"\x7F\"", Type::String, PropertyValue("\x7F")},
        ScalarCase{R"("0123456789abcdef0123456789abcdef\n0123456789abcdef")", Type::String,
                   PropertyValue("0123456789abcdef0123456789abcdef\n0123456789abcdef")}));

// The C library's conversion is the reference for every decimal form.
TEST(DecodedNumbers, MatchTheCLibraryConversion) {
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
        if (number.find_first_of(".e") == std::string::npos)
            EXPECT_EQ(*value, expected) << number;
        else
            EXPECT_EQ(std::bit_cast<std::uint64_t>(*value), std::bit_cast<std::uint64_t>(expected))
                << number;
    }
}

TEST(DecodedDocuments, KeepOrderAndLetTheLastDuplicateWin) {
    const auto doc = objectFromJSONData(R"( {"b":1, "a":[true,null,{}], "b":"two", "":[]} )");
    ASSERT_TRUE(doc);
    const auto* dict = doc->dictionaryPtr();
    ASSERT_NE(dict, nullptr);
    ASSERT_EQ(dict->size(), 3u);
    std::vector<std::string> keys;
    for (const auto& [key, value] : *dict)
        keys.push_back(key);
    EXPECT_EQ(keys, (std::vector<std::string>{"b", "a", ""}));
    EXPECT_EQ((*doc)["b"], PropertyValue("two"));
    EXPECT_EQ((*doc)["a"], PropertyValue::array({true, nullptr, PropertyValue::dictionary()}));
}

TEST(DecodedDocuments, ManyKeysStayReachable) {
    std::string text = "{";
    for (int i = 0; i < 100; ++i)
        text += (i ? ",\"k" : "\"k") + std::to_string(i) + "\":" + std::to_string(i);
    text += ",\"k7\":\"again\"}";
    const auto doc = objectFromJSONData(text);
    ASSERT_TRUE(doc);
    EXPECT_EQ(doc->size(), 100u);
    EXPECT_EQ((*doc)["k99"].integer(), 99);
    EXPECT_EQ((*doc)["k7"], PropertyValue("again"));
}

TEST(DecodedDocuments, WhiteSpaceIsSpaceTabLineFeedAndReturn) {
    const auto doc = objectFromJSONData(" \t\r\n{ \"a\" \t:\r\n[ 1 ,\t2 ] }\n\r\t ");
    ASSERT_TRUE(doc);
    EXPECT_EQ(*doc, PropertyValue::dictionary({{"a", PropertyValue::array({1u, 2u})}}));
}

TEST(DecodedDocuments, TheClientsBufferEntryPointDecodes) {
    const std::string text = "{\"success\":true}\n";
    const Bytes body(text.begin(), text.end());
    const auto doc = objectFromJSONData(&body);
    ASSERT_TRUE(doc);
    EXPECT_EQ((*doc)["success"], PropertyValue(true));
    Bytes trailing(text.begin(), text.end() - 1);
    trailing.push_back('x');
    EXPECT_FALSE(objectFromJSONData(&trailing));
}

}  // namespace
}  // namespace nbx
