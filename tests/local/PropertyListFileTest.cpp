#include "PropertyListFile.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <bit>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <limits>

#include "TempHome.h"

namespace nbx {
namespace {

using Limits = std::numeric_limits<std::int64_t>;

class PropertyListFileTest : public ::testing::Test {
protected:
    std::optional<PropertyValue> readBytes(const std::string& bytes) const {
        std::ofstream(file, std::ios::binary) << bytes;
        return readPropertyListFile(file);
    }
    std::string text() const {
        std::ifstream in(file);
        return std::string((std::istreambuf_iterator<char>(in)), {});
    }
    test::TempHome home;
    const std::string file = home.path() + "/test.plist";
};

const PropertyValue kEveryType = PropertyValue::dictionary({
    {"yes", true},
    {"no", false},
    {"min", Limits::min()},
    {"max", Limits::max()},
    {"umax", std::numeric_limits<std::uint64_t>::max()},
    {"real", -0.1},
    {"huge", 1e300},
    {"text", "  <a&b> \"q\" ünï\r\n\t"},
    {"empty", ""},
    {"date", Date(std::chrono::seconds(1700000000))},
    {"data", Bytes{0, 1, 0xff, 0x80}},
    {"list", PropertyValue::array({1, PropertyValue::dictionary(), PropertyValue::array()})},
});

// Written over a longer file, which must be rewritten in place and readable by libplist itself.
TEST_F(PropertyListFileTest, RoundTripKeepsEveryTypeAndRefusesTheUnwritable) {
    readBytes(std::string(10000, 'x'));
    struct stat before {
    }, after{};
    stat(file.c_str(), &before);
    ASSERT_TRUE(writePropertyListFile(file, kEveryType));
    stat(file.c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
    const auto back = readPropertyListFile(file);
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, kEveryType) << back->description();

    const std::string xml = text();
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(plist_dict_get_size(root), kEveryType.size());
    plist_free(root);

    // Dates keep whole seconds only.
    writePropertyListFile(file, PropertyValue::array({Date(std::chrono::microseconds(999999))}));
    EXPECT_EQ(readPropertyListFile(file)->at(0).date(), Date());

    // Only lists and records without null values or NUL characters, into an existing folder,
    // no deeper than the reader accepts.
    PropertyValue deep = PropertyValue::array();
    for (int i = 0; i < 300; ++i)
        deep = PropertyValue::array({deep});
    EXPECT_FALSE(writePropertyListFile(file, PropertyValue("text")));
    EXPECT_FALSE(writePropertyListFile(file, PropertyValue::array({PropertyValue()})));
    EXPECT_FALSE(writePropertyListFile(home.path() + "/missing/x.plist", PropertyValue::array()));
    EXPECT_FALSE(writePropertyListFile(file, deep));
    using namespace std::string_literals;
    EXPECT_FALSE(writePropertyListFile(file, PropertyValue::array({"a\0b"s})));
    EXPECT_FALSE(writePropertyListFile(file, PropertyValue::dictionary({{"a\0b"s, 1}})));
}

TEST_F(PropertyListFileTest, NumbersAreReadExactly) {
    const std::pair<const char*, std::optional<PropertyValue>> cases[] = {
        {"<integer>010</integer>", PropertyValue(10)},
        {"<integer> +42\n</integer>", PropertyValue(42)},
        {"<integer>-9223372036854775808</integer>", PropertyValue(Limits::min())},
        {"<integer>18446744073709551615</integer>",
         PropertyValue(std::numeric_limits<std::uint64_t>::max())},
        {"<integer>18446744073709551616</integer>", std::nullopt},
        {"<integer>-9223372036854775809</integer>", std::nullopt},
        {"<integer>12abc</integer>", std::nullopt},
        {"<real>-2.5e3</real>", PropertyValue(-2500.0)},
        {"<real>+0.25</real>", PropertyValue(0.25)},
        {"<real>1,5</real>", std::nullopt},
    };
    for (const auto& [element, expected] : cases) {
        const auto v = readBytes(std::string("<plist><array>") + element + "</array></plist>");
        EXPECT_EQ(v ? std::optional(v->at(0)) : std::nullopt, expected) << element;
    }
}

// A locale with a decimal comma, made privately when the machine lacks one.
bool useCommaLocale(const std::string& folder) {
    if (std::setlocale(LC_ALL, "de_DE.UTF-8")) return true;
    const std::string make = "localedef -i de_DE -f UTF-8 '" + folder + "/de_DE.UTF-8' 2>/dev/null";
    if (std::system(make.c_str()) != 0) return false;
    setenv("LOCPATH", folder.c_str(), 1);
    return std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
}

TEST_F(PropertyListFileTest, RealsIgnoreTheLocale) {
    if (!useCommaLocale(home.path())) GTEST_SKIP() << "no decimal-comma locale";
    ASSERT_TRUE(writePropertyListFile(file, PropertyValue::array({2.75})));
    EXPECT_NE(text().find("<real>2.75</real>"), std::string::npos) << text();
    EXPECT_EQ(readPropertyListFile(file)->at(0).real(), 2.75);
    std::setlocale(LC_ALL, "C");
}

TEST_F(PropertyListFileTest, BadFilesReadAsNothing) {
    const auto nested = [](int depth) {
        std::string xml = "<plist>";
        for (int i = 0; i < 2 * depth; ++i)
            xml += i < depth ? "<array>" : "</array>";
        return xml + "</plist>";
    };
    const std::string cases[] = {
        "",
        "bplist00",
        "<html><dict/></html>",
        "<plist><dict/><dict/></plist>",
        "<plist><dict><key>a</key><string>b</string>",
        "<plist><dict><key>a</key></dict></plist>",
        "<plist><dict><string>a</string></dict></plist>",
        "<plist><dict><key>a</key><thing/></dict></plist>",
        "<plist><date>2020-13-01T00:00:00Z</date></plist>",
        "<plist><data>abc</data></plist>",
        nested(300),
    };
    for (const auto& bytes : cases)
        EXPECT_FALSE(readBytes(bytes)) << bytes.substr(0, 60);
    EXPECT_TRUE(readBytes(nested(200)));
    EXPECT_FALSE(readPropertyListFile(home.path() + "/missing.plist"));
    EXPECT_FALSE(readPropertyListFile(home.path()));
    std::filesystem::resize_file(file, (64u << 20) + 1);
    EXPECT_FALSE(readPropertyListFile(file));
}

// Binary property lists with two-byte references and eight-byte offsets.
struct BinaryPlist {
    static std::string big(std::uint64_t v, unsigned width) {
        std::string s;
        for (unsigned i = width; i-- > 0;)
            s += static_cast<char>(v >> (8 * i));
        return s;
    }
    static std::string container(char marker, const std::vector<std::uint16_t>& refs) {
        std::string s(
            1, static_cast<char>(marker | (marker == '\xD0' ? refs.size() / 2 : refs.size())));
        for (auto r : refs)
            s += big(r, 2);
        return s;
    }
    std::uint16_t add(std::string object) {
        objects.push_back(std::move(object));
        return static_cast<std::uint16_t>(objects.size() - 1);
    }
    // Each level holds the level below `width` times.
    std::uint16_t nest(int depth, int width) {
        std::uint16_t level = add(container('\xA0', {}));
        for (int i = 0; i < depth; ++i)
            level = add(container('\xA0', std::vector<std::uint16_t>(width, level)));
        return level;
    }
    std::string build(std::uint64_t top) const {
        std::string out = "bplist00", table;
        for (const auto& o : objects) {
            table += big(out.size(), 8);
            out += o;
        }
        return out + table + std::string(6, '\0') + "\x08\x02" + big(objects.size(), 8) +
               big(top, 8) + big(out.size(), 8);
    }
    std::vector<std::string> objects;
};

TEST_F(PropertyListFileTest, BinaryNumbersKeepSignAndRange) {
    BinaryPlist b;
    b.add("\x13" + BinaryPlist::big(static_cast<std::uint64_t>(-5), 8));
    b.add("\x14" + BinaryPlist::big(0, 8) + BinaryPlist::big(1ull << 63, 8));
    b.add("\x23" + BinaryPlist::big(std::bit_cast<std::uint64_t>(2.5), 8));
    const auto v = readBytes(b.build(b.add(BinaryPlist::container('\xA0', {0, 1, 2}))));
    ASSERT_TRUE(v);
    EXPECT_EQ(v->at(0).integer(), -5);
    EXPECT_EQ(v->at(1).unsignedInteger(), 1ull << 63);
    EXPECT_EQ(v->at(2).real(), 2.5);
}

TEST_F(PropertyListFileTest, HostileBinaryFilesReadAsNothing) {
    BinaryPlist deep, lattice, cycle, nulKey, fine;
    nulKey.add(BinaryPlist::container('\xD0', {1, 2}));
    nulKey.add("\x53" + std::string("a\0b", 3));
    nulKey.add("\x09");
    const std::string deepFile = deep.build(deep.nest(300, 1));
    cycle.add(BinaryPlist::container('\xA0', {0}));
    std::string badOffset = cycle.build(0);
    badOffset[badOffset.size() - 33] = '\x7f';  // points into the offset table
    const std::pair<const char*, std::string> cases[] = {
        {"too deep", deepFile},
        {"2^40 paths", lattice.build(lattice.nest(40, 2))},
        {"cycle", cycle.build(0)},
        {"top out of range", cycle.build(5)},
        {"offset out of range", badOffset},
        {"truncated", deepFile.substr(0, 100)},
        {"key with a NUL", nulKey.build(0)},
    };
    for (const auto& [name, bytes] : cases)
        EXPECT_FALSE(readBytes(bytes)) << name;
    EXPECT_TRUE(readBytes(fine.build(fine.nest(200, 1))));
}

}  // namespace
}  // namespace nbx
