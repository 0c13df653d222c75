#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "Configuration.h"
#include "LangController.h"
#include "PropertyListFile.h"

namespace nbx {
namespace {

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

bool blank(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isspace(c); });
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
    ASSERT_GT(countries().size(), 200u);
    for (const auto& country : countries())
        known.insert(country["Name"].string().value_or(""));
    for (const char* file : {"en.xml", "de.xml"}) {
        SCOPED_TRACE(file);
        const LangController lang(kShare + "/languageXML/" + file);
        std::set<std::string> keys;
        for (const auto& [key, value] : lang.dicLang()) {
            keys.insert(key);
            EXPECT_FALSE(blank(key));
            EXPECT_FALSE(blank(value)) << key;
            for (const char* placeholder : {"%1%", "%2%", "%2%%%", "[]"})
                EXPECT_EQ(count(value, placeholder), count(key, placeholder))
                    << key << " → " << value;
        }
        EXPECT_EQ(keys, known);
    }
}

TEST(InfoPlist, HoldsTheApplicationSettings) {
    const auto& info = infoPlist();
    ASSERT_TRUE(info.isDictionary());
    EXPECT_TRUE(info["Debug"].isInteger());
    EXPECT_EQ(info["DEBUG"].boolean(), false);
    EXPECT_EQ(info["AboutSite"].string().value_or("").rfind("https://", 0), 0u);
}

TEST(InfoPlist, CountryTableIsWellFormed) {
    ASSERT_GT(countries().size(), 230u);
    std::set<std::string> flags, names;
    for (const auto& country : countries()) {
        const auto name = country["Name"].string().value_or("");
        const auto code = country["Code"].string().value_or("");
        const auto flag = country["Flag"].string().value_or("");
        SCOPED_TRACE(country.description());
        EXPECT_FALSE(blank(name));
        EXPECT_TRUE(names.insert(name).second);
        EXPECT_EQ(name.find(','), std::string::npos);  // the sort joins name and code with ","
        EXPECT_TRUE(!code.empty() && code.size() <= 4 && code[0] != '0' &&
                    std::all_of(code.begin(), code.end(), ::isdigit));
        EXPECT_TRUE(flag.size() == 2 && std::all_of(flag.begin(), flag.end(), ::islower));
        EXPECT_TRUE(flags.insert(flag).second);
        std::string upper = flag;
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        EXPECT_EQ(country["Locale_alpha2"].string(), upper);
    }
    const std::pair<const char*, const char*> known[] = {
        {"US", "1"},  {"CA", "1"},  {"GB", "44"}, {"KR", "82"}, {"DE", "49"}, {"FR", "33"},
        {"JP", "81"}, {"CN", "86"}, {"IN", "91"}, {"RU", "7"},  {"BR", "55"}, {"AU", "61"},
        {"IT", "39"}, {"ES", "34"}, {"MX", "52"}, {"EG", "20"}, {"ZA", "27"}, {"JM", "1876"},
    };
    for (const auto& [alpha2, code] : known) {
        const auto entry = std::find_if(countries().begin(), countries().end(), [&](const auto& c) {
            return c["Locale_alpha2"].string() == alpha2;
        });
        ASSERT_NE(entry, countries().end()) << alpha2;
        EXPECT_EQ((*entry)["Code"].string(), code) << alpha2;
    }
}

TEST(InfoPlist, MostCountriesHaveAFlagPicture) {
    const auto folder = Configuration::flagsFolder();
    if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no flag pictures in " << folder;
    const auto pictures = std::count_if(countries().begin(), countries().end(), [&](const auto& c) {
        return std::filesystem::exists(folder + "/" + c["Flag"].string().value_or("") + ".png");
    });
    EXPECT_GE(pictures * 10, static_cast<std::ptrdiff_t>(countries().size()) * 9);
}

}  // namespace
}  // namespace nbx
