#include "PropertyListFile.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <bit>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>

#include "TempHome.h"

namespace nbx {
namespace {

class PropertyListFileTest : public ::testing::Test {
protected:
    std::string file(const std::string& name = "test.plist") const {
        return home.path() + "/" + name;
    }
    void put(const std::string& path, const std::string& bytes) const {
        std::ofstream(path, std::ios::binary) << bytes;
    }
    std::optional<PropertyValue> readXml(const std::string& body) const {
        put(file(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body +
                        "</plist>");
        return readPropertyListFile(file());
    }
    test::TempHome home;
};

PropertyValue everyType() {
    PropertyValue v = PropertyValue::dictionary();
    v.set("yes", true);
    v.set("no", false);
    v.set("negative", -42);
    v.set("min", std::numeric_limits<std::int64_t>::min());
    v.set("max", std::numeric_limits<std::int64_t>::max());
    v.set("umax", std::numeric_limits<std::uint64_t>::max());
    v.set("real", -0.1);
    v.set("huge", 1e300);
    v.set("text", "  <a&b> \"q\" ünï\r\n\t");
    v.set("empty", "");
    v.set("date", Date(std::chrono::seconds(1700000000)));
    v.set("data", Bytes{0, 1, 2, 0xff, 0x80});
    v.set("noData", Bytes{});
    v.set("list", PropertyValue::array({1, "two", PropertyValue::dictionary({{"k", 3.5}})}));
    v.set("emptyList", PropertyValue::array());
    v.set("emptyDict", PropertyValue::dictionary());
    return v;
}

TEST_F(PropertyListFileTest, RoundTripKeepsEveryType) {
    const PropertyValue v = everyType();
    ASSERT_TRUE(writePropertyListFile(file(), v));
    const auto back = readPropertyListFile(file());
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, v) << back->description();
    EXPECT_TRUE((*back)["yes"].isBoolean());
    EXPECT_EQ((*back)["umax"].unsignedInteger(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ((*back)["min"].integer(), std::numeric_limits<std::int64_t>::min());
}

TEST_F(PropertyListFileTest, DatesKeepWholeSeconds) {
    const Date precise = Date(std::chrono::microseconds(1700000000999999));
    ASSERT_TRUE(writePropertyListFile(file(), PropertyValue::array({precise})));
    EXPECT_EQ(readPropertyListFile(file())->at(0).date(), Date(std::chrono::seconds(1700000000)));
}

TEST_F(PropertyListFileTest, WrittenFileIsReadableByLibplist) {
    ASSERT_TRUE(writePropertyListFile(file(), everyType()));
    std::ifstream in(file());
    const std::string xml((std::istreambuf_iterator<char>(in)), {});
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(plist_dict_get_size(root), everyType().size());
    std::uint8_t yes = 0;
    plist_get_bool_val(plist_dict_get_item(root, "yes"), &yes);
    EXPECT_EQ(yes, 1);
    plist_free(root);
}

TEST_F(PropertyListFileTest, WritesInPlace) {
    put(file(), std::string(10000, 'x'));
    struct stat before {};
    ASSERT_EQ(stat(file().c_str(), &before), 0);
    ASSERT_TRUE(writePropertyListFile(file(), PropertyValue::dictionary({{"a", 1}})));
    struct stat after {};
    ASSERT_EQ(stat(file().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_LT(after.st_size, 1000);
    EXPECT_EQ((*readPropertyListFile(file()))["a"].integer(), 1);
}

TEST_F(PropertyListFileTest, RefusesToWriteWhatIsNotAListOrRecord) {
    EXPECT_FALSE(writePropertyListFile(file(), PropertyValue("text")));
    EXPECT_FALSE(writePropertyListFile(file(), PropertyValue::array({PropertyValue()})));
    EXPECT_FALSE(writePropertyListFile(home.path() + "/missing/x.plist", PropertyValue::array()));
    PropertyValue deep = PropertyValue::array();
    for (int i = 0; i < 300; ++i)
        deep = PropertyValue::array({deep});
    EXPECT_FALSE(writePropertyListFile(file(), deep));
}

TEST_F(PropertyListFileTest, IntegersAreReadExactly) {
    const struct {
        const char* text;
        std::optional<PropertyValue> expected;
    } cases[] = {
        {"010", PropertyValue(10)},
        {" 42\n", PropertyValue(42)},
        {"+7", PropertyValue(7)},
        {"-7", PropertyValue(-7)},
        {"-9223372036854775808", PropertyValue(std::numeric_limits<std::int64_t>::min())},
        {"18446744073709551615", PropertyValue(std::numeric_limits<std::uint64_t>::max())},
        {"18446744073709551616", std::nullopt},
        {"-9223372036854775809", std::nullopt},
        {"abc", std::nullopt},
        {"12abc", std::nullopt},
        {"", std::nullopt},
        {"1.5", std::nullopt},
    };
    for (const auto& c : cases) {
        const auto v = readXml(std::string("<array><integer>") + c.text + "</integer></array>");
        ASSERT_EQ(v.has_value(), c.expected.has_value()) << c.text;
        if (v) {
            EXPECT_EQ(v->at(0), *c.expected) << c.text;
        }
    }
}

TEST_F(PropertyListFileTest, RealsAreReadExactly) {
    const struct {
        const char* text;
        std::optional<double> expected;
    } cases[] = {
        {"1.5", 1.5},          {"-2.5e3", -2500.0}, {"7", 7.0},         {"+0.25", 0.25},
        {"1,5", std::nullopt}, {"x", std::nullopt}, {"", std::nullopt},
    };
    for (const auto& c : cases) {
        const auto v = readXml(std::string("<array><real>") + c.text + "</real></array>");
        ASSERT_EQ(v.has_value(), c.expected.has_value()) << c.text;
        if (v) {
            EXPECT_EQ(v->at(0).real(), c.expected) << c.text;
        }
    }
}

// A locale whose decimal mark is a comma, made privately when the machine lacks one.
bool useCommaLocale(const std::string& folder) {
    if (std::setlocale(LC_ALL, "de_DE.UTF-8")) return true;
    const std::string command =
        "localedef -i de_DE -f UTF-8 '" + folder + "/de_DE.UTF-8' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return false;
    setenv("LOCPATH", folder.c_str(), 1);
    return std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
}

TEST_F(PropertyListFileTest, RealsIgnoreTheLocale) {
    if (!useCommaLocale(home.path())) GTEST_SKIP() << "no comma-decimal locale available";
    ASSERT_TRUE(writePropertyListFile(file(), PropertyValue::array({2.75})));
    std::ifstream in(file());
    const std::string xml((std::istreambuf_iterator<char>(in)), {});
    EXPECT_NE(xml.find("<real>2.75</real>"), std::string::npos) << xml;
    EXPECT_EQ(readPropertyListFile(file())->at(0).real(), 2.75);
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}

TEST_F(PropertyListFileTest, BadFilesReadAsNothing) {
    auto nested = [](int depth) {
        std::string s;
        for (int i = 0; i < depth; ++i)
            s += "<array>";
        for (int i = 0; i < depth; ++i)
            s += "</array>";
        return "<plist>" + s + "</plist>";
    };
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"empty", ""},
        {"garbage", "\x01\x02 not a plist"},
        {"truncated", "<plist><dict><key>a</key><string>b</string>"},
        {"wrong root", "<html><dict/></html>"},
        {"key without value", "<plist><dict><key>a</key></dict></plist>"},
        {"value without key", "<plist><dict><string>a</string></dict></plist>"},
        {"unknown element", "<plist><dict><key>a</key><thing/></dict></plist>"},
        {"two roots", "<plist><dict/><dict/></plist>"},
        {"bad date", "<plist><date>2020-13-01T00:00:00Z</date></plist>"},
        {"bad data", "<plist><data>abc</data></plist>"},
        {"too deep", nested(300)},
        {"binary header only", "bplist00"},
    };
    for (const auto& c : cases) {
        put(file(), c.bytes);
        EXPECT_FALSE(readPropertyListFile(file())) << c.name;
    }
    EXPECT_FALSE(readPropertyListFile(file("missing.plist")));
    put(file(), nested(200));
    EXPECT_TRUE(readPropertyListFile(file()));
}

TEST_F(PropertyListFileTest, RefusesAbsurdlyLargeFiles) {
    put(file(), "<plist><array/></plist>");
    std::filesystem::resize_file(file(), (64u << 20) + 1);
    EXPECT_FALSE(readPropertyListFile(file()));
}

// Builds binary property lists object by object (references and offsets of two and eight bytes).
class BinaryPlist {
public:
    std::uint16_t add(std::string object) {
        objects_.push_back(std::move(object));
        return static_cast<std::uint16_t>(objects_.size() - 1);
    }
    static std::string big(std::uint64_t v, unsigned width) {
        std::string s;
        for (unsigned i = 0; i < width; ++i)
            s += static_cast<char>(v >> (8 * (width - 1 - i)));
        return s;
    }
    static std::string integer(std::int64_t v) {
        return "\x13" + big(static_cast<std::uint64_t>(v), 8);
    }
    static std::string wideUnsigned(std::uint64_t v) { return "\x14" + big(0, 8) + big(v, 8); }
    static std::string real(double d) { return "\x23" + big(std::bit_cast<std::uint64_t>(d), 8); }
    static std::string ascii(const std::string& s) {
        return static_cast<char>(0x50 | s.size()) + s;
    }
    static std::string refs(std::initializer_list<std::uint16_t> r) {
        std::string s;
        for (auto x : r)
            s += big(x, 2);
        return s;
    }
    static std::string array(std::initializer_list<std::uint16_t> r) {
        return static_cast<char>(0xA0 | r.size()) + refs(r);
    }
    std::string build(std::uint64_t top) const {
        std::string out = "bplist00";
        std::string table;
        for (const auto& o : objects_) {
            table += big(out.size(), 8);
            out += o;
        }
        const std::uint64_t tableOffset = out.size();
        out += table;
        out += std::string(6, '\0') + '\x08' + '\x02' + big(objects_.size(), 8) + big(top, 8) +
               big(tableOffset, 8);
        return out;
    }

private:
    std::vector<std::string> objects_;
};

TEST_F(PropertyListFileTest, BinaryIntegersKeepSignAndRange) {
    BinaryPlist b;
    const auto kNeg = b.add(BinaryPlist::ascii("neg"));
    const auto kBig = b.add(BinaryPlist::ascii("big"));
    const auto kYes = b.add(BinaryPlist::ascii("yes"));
    const auto kReal = b.add(BinaryPlist::ascii("real"));
    const auto neg = b.add(BinaryPlist::integer(-5));
    const auto big = b.add(BinaryPlist::wideUnsigned(0x8000000000000001u));
    const auto yes = b.add("\x09");
    const auto real = b.add(BinaryPlist::real(2.5));
    const auto dict =
        b.add("\xD4" + BinaryPlist::refs({kNeg, kBig, kYes, kReal, neg, big, yes, real}));
    put(file(), b.build(dict));
    const auto v = readPropertyListFile(file());
    ASSERT_TRUE(v);
    EXPECT_EQ((*v)["neg"].integer(), -5);
    EXPECT_EQ((*v)["big"].unsignedInteger(), 0x8000000000000001u);
    EXPECT_EQ((*v)["yes"].boolean(), true);
    EXPECT_EQ((*v)["real"].real(), 2.5);
}

TEST_F(PropertyListFileTest, HostileBinaryFilesReadAsNothing) {
    BinaryPlist deep;
    std::uint16_t inner = deep.add(BinaryPlist::array({}));
    for (int i = 0; i < 300; ++i)
        inner = deep.add(BinaryPlist::array({inner}));

    BinaryPlist cycle;
    cycle.add(BinaryPlist::array({0}));

    // Each level references the one below twice: 2^40 paths from a tiny file.
    BinaryPlist lattice;
    std::uint16_t level = lattice.add(BinaryPlist::array({}));
    for (int i = 0; i < 40; ++i)
        level = lattice.add(BinaryPlist::array({level, level}));

    BinaryPlist dangling;
    dangling.add(BinaryPlist::array({7}));

    std::string badOffset = dangling.build(0);
    badOffset[badOffset.size() - 32 - 1] = '\x7f';  // the only offset points into the table

    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"too deep", deep.build(inner)},
        {"cycle", cycle.build(0)},
        {"lattice", lattice.build(level)},
        {"dangling reference", dangling.build(0)},
        {"top out of range", dangling.build(5)},
        {"offset out of range", badOffset},
        {"truncated", deep.build(inner).substr(0, 100)},
    };
    for (const auto& c : cases) {
        put(file(), c.bytes);
        EXPECT_FALSE(readPropertyListFile(file())) << c.name;
    }
    BinaryPlist fine;
    std::uint16_t top = fine.add(BinaryPlist::array({}));
    for (int i = 0; i < 200; ++i)
        top = fine.add(BinaryPlist::array({top}));
    put(file(), fine.build(top));
    EXPECT_TRUE(readPropertyListFile(file()));
}

}  // namespace
}  // namespace nbx
