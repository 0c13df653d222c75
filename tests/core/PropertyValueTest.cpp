#include <gtest/gtest.h>

#include <limits>
#include <string>

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

// Sizes on both sides of the point where the hash index takes over.
class DictionarySizes : public ::testing::TestWithParam<int> {};

TEST_P(DictionarySizes, KeepsInsertionOrderAndFindsEveryKey) {
    const int n = GetParam();
    PropertyDictionary d;
    for (int i = n - 1; i >= 0; --i)
        d.set(keyOf(i), i);
    ASSERT_EQ(d.size(), static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        EXPECT_EQ(d[keyOf(i)].integer(), i) << i;
    EXPECT_EQ(d.find("absent"), nullptr);
    EXPECT_TRUE(d["absent"].isNull());
    if (n > 0) {
        EXPECT_EQ(d.begin()->first, keyOf(n - 1));
    }
}

TEST_P(DictionarySizes, ReplaceKeepsPositionAndEraseKeepsOthersReachable) {
    const int n = GetParam();
    PropertyDictionary d;
    for (int i = 0; i < n; ++i)
        d.set(keyOf(i), i);
    if (n == 0) return;
    d.set(keyOf(0), "replaced");
    EXPECT_EQ(keysOf(d).front(), keyOf(0));
    EXPECT_EQ(d[keyOf(0)].string(), "replaced");
    EXPECT_EQ(d.size(), static_cast<std::size_t>(n));

    EXPECT_TRUE(d.erase(keyOf(n / 2)));
    EXPECT_FALSE(d.erase(keyOf(n / 2)));
    EXPECT_FALSE(d.contains(keyOf(n / 2)));
    for (int i = 1; i < n; ++i)
        if (i != n / 2) {
            EXPECT_EQ(d[keyOf(i)].integer(), i) << i;
        }
    d.set(keyOf(n / 2), -1);
    EXPECT_EQ(keysOf(d).back(), keyOf(n / 2));
}

TEST_P(DictionarySizes, CopiesAreIndependent) {
    const int n = GetParam();
    PropertyDictionary a;
    for (int i = 0; i < n; ++i)
        a.set(keyOf(i), i);
    PropertyDictionary b = a;
    b.set("extra", true);
    for (int i = 0; i < n; ++i)
        EXPECT_EQ(b[keyOf(i)].integer(), i);
    EXPECT_FALSE(a.contains("extra"));
    EXPECT_TRUE(b.contains("extra"));
}

INSTANTIATE_TEST_SUITE_P(Sizes, DictionarySizes, ::testing::Values(0, 1, 10, 24, 25, 40, 1000));

TEST(PropertyDictionary, EqualityIgnoresOrderButNotValues) {
    const PropertyDictionary a{{"x", 1}, {"y", "two"}};
    const PropertyDictionary b{{"y", "two"}, {"x", 1}};
    const PropertyDictionary c{{"x", 1}, {"y", "three"}};
    EXPECT_EQ(a, b);
    EXPECT_FALSE(a == c);
    const PropertyDictionary onlyX{{"x", 1}};
    EXPECT_FALSE(a == onlyX);
}

TEST(PropertyValue, TypedAccessorsReportAbsenceOnWrongType) {
    const PropertyValue record = PropertyValue::dictionary(
        {{"agentAlias", "Office"}, {"count", 3}, {"flag", true}, {"ratio", 0.5}});
    EXPECT_EQ(record["agentAlias"].string(), "Office");
    EXPECT_EQ(record["count"].string(), std::nullopt);
    EXPECT_EQ(record["agentAlias"].integer(), std::nullopt);
    EXPECT_EQ(record["missing"]["deeper"].string(), std::nullopt);
    EXPECT_EQ(record["flag"].boolean(), true);
    EXPECT_EQ(record["count"].boolean(), std::nullopt);
    EXPECT_TRUE(record["flag"].isTrue());
    EXPECT_FALSE(record["agentAlias"].isTrue());
    EXPECT_EQ(record.at(0).isNull(), true);
    EXPECT_EQ(PropertyValue::array({1, 2}).at(5).isNull(), true);
    EXPECT_EQ(PropertyValue("text")["key"].isNull(), true);
}

TEST(PropertyValue, NumberConversionsRespectRange) {
    const auto max64 = std::numeric_limits<std::int64_t>::max();
    const auto maxU64 = std::numeric_limits<std::uint64_t>::max();
    struct Case {
        PropertyValue value;
        std::optional<std::int64_t> integer;
        std::optional<std::uint64_t> unsignedInteger;
    };
    const Case cases[] = {
        {-5, -5, std::nullopt},
        {std::uint64_t{42}, 42, 42},
        {maxU64, std::nullopt, maxU64},
        {std::uint64_t(max64), max64, std::uint64_t(max64)},
        {2.9, 2, 2},
        {-2.9, -2, std::nullopt},
        {9.3e18, std::nullopt, 9300000000000000000ULL},
        {1e300, std::nullopt, std::nullopt},
        {std::numeric_limits<double>::quiet_NaN(), std::nullopt, std::nullopt},
        {true, 1, 1},
        {"12", std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.value.integer(), c.integer) << c.value.description();
        EXPECT_EQ(c.value.unsignedInteger(), c.unsignedInteger) << c.value.description();
    }
}

TEST(PropertyValue, EqualityAcrossIntegerSignednessButNotTypes) {
    EXPECT_EQ(PropertyValue(5), PropertyValue(std::uint64_t{5}));
    EXPECT_FALSE(PropertyValue(-1) == PropertyValue(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_FALSE(PropertyValue(1) == PropertyValue(true));
    EXPECT_FALSE(PropertyValue(1) == PropertyValue(1.0));
    EXPECT_FALSE(PropertyValue("1") == PropertyValue(1));
    EXPECT_EQ(PropertyValue::array({1, "a"}), PropertyValue::array({1, "a"}));
}

TEST(PropertyValue, SetAndAppendOnlyOnMatchingContainers) {
    PropertyValue v;
    v.set("a", 1);
    EXPECT_TRUE(v.isDictionary());
    v.append(2);  // a dictionary is not turned into an array
    EXPECT_EQ(v.size(), 1u);
    PropertyValue list;
    list.append("x");
    list.set("k", 1);
    EXPECT_TRUE(list.isArray());
    EXPECT_EQ(list.size(), 1u);
}

TEST(PropertyValue, MovedFromDictionaryLeavesTargetIntact) {
    PropertyDictionary d;
    for (int i = 0; i < 100; ++i)
        d.set(keyOf(i), i);
    PropertyValue v(std::move(d));
    EXPECT_EQ(v["key99"].integer(), 99);
    EXPECT_EQ(v.size(), 100u);
}

TEST(PropertyValue, DescriptionIsReadableAndNested) {
    const PropertyValue v = PropertyValue::dictionary({
        {"agentAlias", "My printer"},
        {"agentId", 12},
        {"list", PropertyValue::array({1, "a\"b"})},
        {"empty", PropertyValue::dictionary()},
        {"data", Bytes{0xde, 0xad, 0xbe, 0xef, 0x01}},
        {"ratio", 1.5},
        {"none", nullptr},
    });
    EXPECT_EQ(v.description(),
              "{\n"
              "    agentAlias = \"My printer\";\n"
              "    agentId = 12;\n"
              "    list = (\n"
              "        1,\n"
              "        \"a\\\"b\"\n"
              "    );\n"
              "    empty = {\n"
              "    };\n"
              "    data = <deadbeef 01>;\n"
              "    ratio = 1.5;\n"
              "    none = <null>;\n"
              "}");
}

TEST(DictionaryHelpers, SafeSetObjectIgnoresMissingParts) {
    PropertyDictionary d;
    safeSetObject(d, "v", std::nullopt);
    safeSetObject(d, PropertyValue(), "k");
    EXPECT_TRUE(d.empty());
    safeSetObject(d, "v", "k");
    EXPECT_EQ(d["k"].string(), "v");
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
    struct Case {
        PropertyValue value;
        Type type;
        bool expected;
    };
    const Case cases[] = {
        {"x", Type::String, true},
        {"", Type::String, false},
        {1, Type::String, false},
        {PropertyValue(), Type::String, false},
        {0, Type::Integer, true},
        {false, Type::Real, true},
        {2.5, Type::Boolean, true},
        {"1", Type::Integer, false},
        {PropertyValue::array({1}), Type::Array, true},
        {PropertyValue::array(), Type::Array, false},
        {PropertyValue::dictionary({{"k", 1}}), Type::Dictionary, true},
        {PropertyValue::dictionary(), Type::Dictionary, false},
        {Bytes{1}, Type::Data, true},
        {Bytes{}, Type::Data, false},
        {Date{}, Type::Date, false},
        {PropertyValue(), Type::Null, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(VerifyIfObjectIsOfType(c.value, c.type), c.expected)
            << c.value.description() << " as " << typeName(c.type);
}

TEST(Utf8, ValidationAndSafeString) {
    struct Case {
        std::string bytes;
        bool valid;
    };
    const Case cases[] = {
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
    for (const auto& c : cases) {
        EXPECT_EQ(isValidUtf8(c.bytes), c.valid) << testing::PrintToString(c.bytes);
        EXPECT_EQ(SafeStringFromNSData(c.bytes), c.valid ? c.bytes : "");
    }
    EXPECT_EQ(SafeStringFromNSData(static_cast<const Bytes*>(nullptr)), "");
    const Bytes bytes{'o', 'k'};
    EXPECT_EQ(SafeStringFromNSData(&bytes), "ok");
}

}  // namespace
}  // namespace nbx
