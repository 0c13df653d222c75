// Language files, their reader and the shipped resources.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <tuple>

#include "LangController.h"
#include "LangXMLParser.h"
#include "PropertyListFile.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx {
namespace {

namespace fs = std::filesystem;
using test::ScopedEnv;

class LangFiles : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& bytes) const {
        const auto path = home.path() + "/" + name;
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    test::TempHome home;
};

std::string translation(const std::string& messages) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Lang><Translation><Messages>" + messages +
           "</Messages></Translation></Lang>";
}

std::string message(const std::string& id, const std::string& value) {
    return "<Message><Id>" + id + "</Id><Value>" + value + "</Value></Message>";
}

std::string nested(int depth, const std::string& inner) {
    std::string open, close;
    for (int i = 0; i < depth; ++i)
        open += "<d>", close += "</d>";
    return "<root>" + open + inner + close + "</root>";
}

TEST_F(LangFiles, ParserRules) {
    const std::tuple<const char*, std::string, std::optional<LangTable>> cases[] = {
        {"value before id", translation("<Message><Value>v</Value><Id>k</Id></Message>"),
         LangTable{{"", "v"}}},
        {"id holding an element", translation(message("<b>k</b>", "v")), LangTable{{"", "v"}}},
        {"id takes its first text", translation(message("a<b/>c", "v")), LangTable{{"a", "v"}}},
        {"value without text", translation(message("k", "")), LangTable{}},
        {"key resets per message",
         translation(message("k", "1") + "<Message><Value>2</Value></Message>"),
         LangTable{{"k", "1"}, {"", "2"}}},
        {"later duplicate wins", translation(message("k", "1") + message("k", "2")),
         LangTable{{"k", "2"}}},
        {"first Translation depth first",
         "<L><x><Translation><Messages>" + message("k", "inner") +
             "</Messages></Translation></x><Translation><Messages>" + message("k", "outer") +
             "</Messages></Translation></L>",
         LangTable{{"k", "inner"}}},
        {"Messages deeper than children",
         "<L><Translation><x><Messages>" + message("k", "v") +
             "</Messages></x><Messages/></Translation></L>",
         std::nullopt},
        {"no Translation", "<L><Messages>" + message("k", "v") + "</Messages></L>", std::nullopt},
        {"Message without children", translation("<Message/>"), std::nullopt},
        {"not XML", "Yes = Ja", std::nullopt},
        {"invalid UTF-8", translation(message("k", "\xff\xfe")), std::nullopt},
        {"deep without Translation", nested(200000, ""), std::nullopt},
        {"deep Translation",
         nested(200000,
                "<Translation><Messages>" + message("k", "v") + "</Messages></Translation>"),
         LangTable{{"k", "v"}}},
    };
    for (const auto& [name, xml, expected] : cases)
        EXPECT_EQ(LangXMLParser::parsingNBXD2LangWithPath(write("lang.xml", xml)), expected)
            << name;
}

TEST_F(LangFiles, UnreadablePathsGiveNothing) {
    const auto oversized =
        write("big.xml", translation(message("k", std::string(LangXMLParser::kMaxFileSize, 'x'))));
    const auto pipe = home.path() + "/pipe.xml";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {std::string(), home.path() + "/missing.xml", home.path(),
                                    oversized, pipe, std::string("/dev/zero")})
        EXPECT_EQ(LangXMLParser::parsingNBXD2LangWithPath(path), std::nullopt) << path;
}

TEST_F(LangFiles, LookUpsFallBackToTheKey) {
    const LangController lang(write(
        "de.xml",
        translation(message("Yes", "Ja") + message("Print &amp; Share", "Drucken &amp; Teilen") +
                    message("A &amp; B", "[]x[]") + message("[] raw", "kept []"))));
    const std::pair<const char*, const char*> cases[] = {
        {"Yes", "Ja"},
        {"Print &amp; Share", "Drucken & Teilen"},
        {"A &amp; B", "&x&"},
        {"Missing &amp; key", "Missing & key"},
        {"Print & Share", "Print & Share"},
        {"[] raw", "kept []"},
    };
    for (const auto& [key, expected] : cases)
        EXPECT_EQ(lang.getLocalizedStringWithKey(key), expected) << key;
    for (const auto& empty : {LangController(), LangController(home.path() + "/missing.xml")}) {
        EXPECT_TRUE(empty.dicLang().empty());
        EXPECT_EQ(empty.getLocalizedStringWithKey("Print &amp; Share"), "Print & Share");
    }
}

TEST(LangControllerLocale, ReadsTheFirstSetVariable) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"de_DE.UTF-8", "fr_FR", "ko_KR", "de_DE"}, {"", "fr_FR.UTF-8", "ko_KR", "fr_FR"},
        {nullptr, nullptr, "ko_KR.UTF-8", "ko_KR"}, {nullptr, nullptr, "de_DE@euro", "de_DE"},
        {"C", "fr_FR", nullptr, "en_US"},           {nullptr, "POSIX", "de_DE", "en_US"},
        {"C.UTF-8", nullptr, nullptr, "en_US"},     {nullptr, nullptr, nullptr, "en_US"},
    };
    const auto value = [](const char* v) {
        return v ? std::optional<std::string>(v) : std::nullopt;
    };
    for (const auto& [all, messages, lang, expected] : cases) {
        ScopedEnv allSet("LC_ALL", value(all)), messagesSet("LC_MESSAGES", value(messages)),
            langSet("LANG", value(lang));
        EXPECT_EQ(LangController::processLocale(), expected) << expected;
    }
}

TEST_F(LangFiles, LocaleChoosesTheFile) {
    for (const char* name : {"en.xml", "de.xml", "pt_BR.xml"})
        write(std::string("languageXML/") + name, "");
    const std::pair<const char*, const char*> cases[] = {
        {"de_DE", "de.xml"},    {"de_AT", "de.xml"}, {"de", "de.xml"},
        {"pt_BR", "pt_BR.xml"}, {"pt_PT", "en.xml"}, {"fr_FR", "en.xml"},
        {"", "en.xml"},         {"../x", "en.xml"},  {"_", "en.xml"},
    };
    for (const auto& [locale, file] : cases)
        EXPECT_EQ(LangController::languageFilePath(home.path(), locale),
                  home.path() + "/languageXML/" + file)
            << locale;
}

const std::string kShare = NBX_RESOURCES_SOURCE;

const PropertyValue& infoPlist() {
    static const PropertyValue info =
        readPropertyListFile(kShare + "/Info.plist").value_or(PropertyValue());
    return info;
}

const PropertyArray& countries() {
    static const PropertyArray none;
    const auto* list = infoPlist()["CountyCode"].arrayPtr();
    return list ? *list : none;
}

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++n;
    return n;
}

// Every shipped language holds exactly the application's keys and the country names.
TEST(LanguageFiles, HoldEveryKeyWithItsPlaceholders) {
    std::set<std::string> known;
    std::ifstream in(kShare + "/languageXML/keys.txt");
    for (std::string key; std::getline(in, key);) {
        // The reader turns an escaped ampersand into "[]".
        if (const auto at = key.find("&amp;"); at != std::string::npos) key.replace(at, 5, "[]");
        if (!key.empty()) known.insert(key);
    }
    ASSERT_GT(known.size(), 100u);
    for (const auto& country : countries())
        known.insert(country["Name"].string().value_or(""));
    for (const char* file : {"en.xml", "de.xml"}) {
        SCOPED_TRACE(file);
        const LangController lang(kShare + "/languageXML/" + file);
        std::set<std::string> keys;
        for (const auto& [key, value] : lang.dicLang()) {
            keys.insert(key);
            EXPECT_NE(value.find_first_not_of(" \t\r\n"), std::string::npos) << key;
            for (const char* placeholder : {"%1%", "%2%", "%2%%%", "[]"})
                EXPECT_EQ(count(value, placeholder), count(key, placeholder))
                    << key << " → " << value;
        }
        EXPECT_EQ(keys, known);
    }
}

TEST(InfoPlist, SettingsAndCountryTableAreWellFormed) {
    EXPECT_EQ(infoPlist()["DEBUG"].boolean(), false);
    EXPECT_TRUE(infoPlist()["AboutSite"].string().value_or("").starts_with("https://"));
    ASSERT_GT(countries().size(), 230u);
    std::set<std::string> flags, names;
    for (const auto& country : countries()) {
        const auto name = country["Name"].string().value_or("");
        const auto code = country["Code"].string().value_or("");
        const auto flag = country["Flag"].string().value_or("");
        SCOPED_TRACE(country.description());
        EXPECT_TRUE(names.insert(name).second);        // not blank: every name is a language key
        EXPECT_EQ(name.find(','), std::string::npos);  // the sort joins name and code with ","
        EXPECT_TRUE(!code.empty() && code.size() <= 4 && code[0] != '0' &&
                    std::all_of(code.begin(), code.end(), ::isdigit));
        EXPECT_TRUE(flag.size() == 2 && std::all_of(flag.begin(), flag.end(), ::islower));
        EXPECT_TRUE(flags.insert(flag).second);
        std::string upper = flag;
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        EXPECT_EQ(country["Locale_alpha2"].string(), upper);
    }
}

}  // namespace
}  // namespace nbx
