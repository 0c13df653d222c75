// The value tree and the settings every other part reads.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <tuple>

#include "Configuration.h"
#include "PropertyValue.h"

namespace nbx {
namespace {

using Type = PropertyValue::Type;

std::string keyOf(int i) {
    return "key" + std::to_string(i);
}

std::vector<std::string> keysOf(const PropertyDictionary& d) {
    std::vector<std::string> keys;
    for (const auto& [k, v] : d)
        keys.push_back(k);
    return keys;
}

// Sizes on both sides of the point where the hash index takes over; every change must keep
// the index in step with the entries, in copies and moves too.
TEST(PropertyDictionary, OrderAndLookUpsSurviveChangesCopiesAndMoves) {
    for (const int n : {1, 10, 24, 25, 40, 1000}) {
        SCOPED_TRACE(n);
        PropertyDictionary d;
        for (int i = n - 1; i >= 0; --i)
            d.set(keyOf(i), i);
        ASSERT_EQ(d.size(), static_cast<std::size_t>(n));
        EXPECT_EQ(d.find("absent"), nullptr);

        d.set(keyOf(n - 1), "replaced");
        EXPECT_EQ(keysOf(d).front(), keyOf(n - 1));
        EXPECT_EQ(d[keyOf(n - 1)].string(), "replaced");
        EXPECT_TRUE(d.erase(keyOf(n / 2)));
        EXPECT_FALSE(d.erase(keyOf(n / 2)));
        PropertyDictionary copy = d;
        copy.set(keyOf(n / 2), -1);
        EXPECT_EQ(keysOf(copy).back(), keyOf(n / 2));
        EXPECT_FALSE(d.contains(keyOf(n / 2)));
        const PropertyValue moved(std::move(copy));
        EXPECT_EQ(moved.size(), static_cast<std::size_t>(n));
        for (int i = 0; i < n - 1; ++i) {
            EXPECT_EQ(moved[keyOf(i)].integer(), i == n / 2 ? -1 : i) << i;
            EXPECT_EQ(d[keyOf(i)].integer(), i == n / 2 ? std::nullopt : std::optional(i)) << i;
        }
    }
}

TEST(PropertyValue, TypedAccessorsReportAbsenceOnWrongType) {
    const PropertyValue record = PropertyValue::dictionary(
        {{"agentAlias", "Office"}, {"count", 3}, {"flag", true}, {"ratio", 0.5}});
    EXPECT_EQ(record["agentAlias"].string(), "Office");
    EXPECT_EQ(record["count"].string(), std::nullopt);
    EXPECT_EQ(record["agentAlias"].integer(), std::nullopt);
    EXPECT_EQ(record["missing"]["deeper"].string(), std::nullopt);
    EXPECT_EQ(record["count"].boolean(), std::nullopt);
    EXPECT_TRUE(record["flag"].isTrue() && !record["agentAlias"].isTrue());
    EXPECT_TRUE(record.at(0).isNull() && PropertyValue::array({1, 2}).at(5).isNull());
    EXPECT_TRUE(PropertyValue("text")["key"].isNull());
}

TEST(PropertyValue, NumberConversionsRespectRange) {
    const auto max64 = std::numeric_limits<std::int64_t>::max();
    const auto maxU64 = std::numeric_limits<std::uint64_t>::max();
    const std::tuple<PropertyValue, std::optional<std::int64_t>, std::optional<std::uint64_t>>
        cases[] = {
            {-5, -5, std::nullopt},
            {maxU64, std::nullopt, maxU64},
            {std::uint64_t(max64), max64, std::uint64_t(max64)},
            {2.9, 2, 2},
            {-2.9, -2, std::nullopt},
            {9.3e18, std::nullopt, 9300000000000000000ULL},
            {1e300, std::nullopt, std::nullopt},
            {std::numeric_limits<double>::quiet_NaN(), std::nullopt, std::nullopt},
            {true, 1, 1},
        };
    for (const auto& [value, integer, unsignedInteger] : cases) {
        EXPECT_EQ(value.integer(), integer) << value.description();
        EXPECT_EQ(value.unsignedInteger(), unsignedInteger) << value.description();
    }
}

TEST(PropertyValue, EqualityIgnoresRecordOrderAndIntegerSignednessOnly) {
    const PropertyDictionary xy{{"x", 1}, {"y", "two"}};
    EXPECT_EQ(xy, (PropertyDictionary{{"y", "two"}, {"x", 1}}));
    EXPECT_FALSE(xy == (PropertyDictionary{{"x", 1}, {"y", "three"}}));
    EXPECT_FALSE(xy == (PropertyDictionary{{"x", 1}}));
    EXPECT_EQ(PropertyValue(5), PropertyValue(std::uint64_t{5}));
    EXPECT_FALSE(PropertyValue(-1) == PropertyValue(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_FALSE(PropertyValue(1) == PropertyValue(true));
    EXPECT_FALSE(PropertyValue(1) == PropertyValue(1.0));
}

TEST(PropertyValue, SetAndAppendOnlyOnMatchingContainers) {
    PropertyValue record, list;
    record.set("a", 1);
    record.append(2);  // a dictionary is not turned into an array
    list.append("x");
    list.set("k", 1);
    EXPECT_EQ(record, PropertyValue::dictionary({{"a", 1}}));
    EXPECT_EQ(list, PropertyValue::array({"x"}));
}

// Numbers and error codes reach queries and alerts through the description.
TEST(PropertyValue, DescriptionIsReadableAndNested) {
    const PropertyValue v =
        PropertyValue::dictionary({{"id", 12},
                                   {"list", PropertyValue::array({1.5, "a\"b"})},
                                   {"empty", PropertyValue::dictionary()},
                                   {"data", Bytes{0xde, 0xad, 0xbe, 0xef, 0x01}},
                                   {"none", nullptr}});
    EXPECT_EQ(v.description(),
              "{\n    id = 12;\n    list = (\n        1.5,\n        \"a\\\"b\"\n    );\n"
              "    empty = {\n    };\n    data = <deadbeef 01>;\n    none = <null>;\n}");
}

TEST(DictionaryHelpers, SetObjectFromDictionaryCopiesOnlyPresentValues) {
    const PropertyValue from = PropertyValue::dictionary({{"a", 1}, {"n", nullptr}});
    PropertyDictionary d;
    EXPECT_TRUE(setObjectFromDictionary(d, from, "a"));
    EXPECT_FALSE(setObjectFromDictionary(d, from, "n"));
    EXPECT_FALSE(setObjectFromDictionary(d, from, "missing"));
    EXPECT_FALSE(setObjectFromDictionary(d, from, ""));
    EXPECT_FALSE(setObjectFromDictionary(d, PropertyValue("not a dict"), "a"));
    EXPECT_TRUE(setObjectFromDictionary(d, from, "a", "b"));
    EXPECT_EQ(keysOf(d), (std::vector<std::string>{"a", "b"}));
    EXPECT_FALSE(setObjectFromDictionary(d, from, "a", ""));
}

TEST(DictionaryHelpers, VerifyIfObjectIsOfType) {
    // Numbers and booleans pass as each other; empty values never pass.
    const std::tuple<PropertyValue, Type, bool> cases[] = {
        {"x", Type::String, true},
        {"", Type::String, false},
        {1, Type::String, false},
        {0, Type::Integer, true},
        {false, Type::Real, true},
        {2.5, Type::Boolean, true},
        {PropertyValue::array({1}), Type::Array, true},
        {PropertyValue::array(), Type::Array, false},
        {PropertyValue::dictionary(), Type::Dictionary, false},
        {Bytes{}, Type::Data, false},
        {Date{}, Type::Date, false},
    };
    for (const auto& [value, type, expected] : cases)
        EXPECT_EQ(VerifyIfObjectIsOfType(value, type), expected)
            << value.description() << " as " << typeName(type);
}

TEST(Utf8, ValidationAndSafeString) {
    const std::pair<std::string, bool> cases[] = {
        {"plain", true},
        {"\xc3\xa9", true},           // é
        {"\xf0\x9f\x96\xa8", true},   // printer emoji
        {"\xc3", false},              // truncated
        {"\xc0\xaf", false},          // overlong slash
        {"\xe0\x80\xaf", false},      // overlong, three bytes
        {"\xed\xa0\x80", false},      // surrogate half
        {"\xf4\x90\x80\x80", false},  // past U+10FFFF
        {"\xff", false},
        {"a\x80", false},
        {std::string("nul\0inside", 10), true},
    };
    for (const auto& [bytes, valid] : cases) {
        EXPECT_EQ(isValidUtf8(bytes), valid) << testing::PrintToString(bytes);
        EXPECT_EQ(SafeStringFromNSData(bytes), valid ? bytes : "");
    }
    EXPECT_EQ(SafeStringFromNSData(static_cast<const Bytes*>(nullptr)), "");
    const Bytes bytes{'o', 'k'};
    EXPECT_EQ(SafeStringFromNSData(&bytes), "ok");
}

TEST(Configuration, EnvironmentOverridesDefaultsAndEmptyMeansDefault) {
    const std::pair<const char*, std::string (*)()> cases[] = {
        {"NBX_HELPER_FOLDER", Configuration::helperApplicationFolder},
        {"NBX_PPD_FILE", Configuration::printerDescriptionFile},
    };
    for (const auto& [variable, read] : cases) {
        ::unsetenv(variable);
        const std::string fallback = read();
        EXPECT_TRUE(fallback.starts_with("/Library/Printers/")) << fallback;
        ::setenv(variable, "", 1);
        EXPECT_EQ(read(), fallback) << variable;
        ::setenv(variable, "/elsewhere", 1);
        EXPECT_EQ(read(), "/elsewhere") << variable;
        ::unsetenv(variable);
    }
    ::unsetenv("NBX_RESOURCES");  // beside the programs' folder
    EXPECT_TRUE(Configuration::resourcesFolder().ends_with("/share/nimbrix"));
}

}  // namespace
}  // namespace nbx
