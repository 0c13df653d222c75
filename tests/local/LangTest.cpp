#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "LangController.h"
#include "LangXMLParser.h"
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
    for (int i = 0; i < depth; ++i) {
        open += "<d>";
        close += "</d>";
    }
    return "<root>" + open + inner + close + "</root>";
}

TEST_F(LangFiles, ParserRules) {
    const std::string inTranslation =
        "<Translation><Messages>" + message("k", "v") + "</Messages></Translation>";
    const struct {
        const char* name;
        std::string xml;
        std::optional<LangTable> expected;
    } cases[] = {
        {"two messages", translation(message("Yes", "Ja") + message("No", "Nein")),
         LangTable{{"Yes", "Ja"}, {"No", "Nein"}}},
        {"escaped ampersand becomes a marker",
         translation(message("Print &amp; Share", "Drucken &amp; Teilen")),
         LangTable{{"Print [] Share", "Drucken [] Teilen"}}},
        {"value before id", translation("<Message><Value>v</Value><Id>k</Id></Message>"),
         LangTable{{"", "v"}}},
        {"empty id", translation(message("", "v")), LangTable{{"", "v"}}},
        {"id holding an element", translation(message("<b>k</b>", "v")), LangTable{{"", "v"}}},
        {"id takes its first text", translation(message("a<b/>c", "v")), LangTable{{"a", "v"}}},
        {"value without text", translation(message("k", "")), LangTable{}},
        {"key resets per message",
         translation(message("k", "1") + "<Message><Value>2</Value></Message>"),
         LangTable{{"k", "1"}, {"", "2"}}},
        {"later duplicate wins", translation(message("k", "1") + message("k", "2")),
         LangTable{{"k", "2"}}},
        {"whitespace between elements",
         "<L>\n <Translation>\n  <Messages>\n   <Message>\n    <Id>k</Id>\n    "
         "<Value>v</Value>\n   </Message>\n  </Messages>\n </Translation>\n</L>\n",
         LangTable{{"k", "v"}}},
        {"several Messages groups",
         "<L><Translation><Messages>" + message("a", "1") + "</Messages><Messages>" +
             message("b", "2") + "</Messages></Translation></L>",
         LangTable{{"a", "1"}, {"b", "2"}}},
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
        {"empty Translation", "<L><Translation/></L>", std::nullopt},
        {"text is not an element", "<L><a>Translation</a></L>", std::nullopt},
        {"Message without children", translation("<Message/>"), std::nullopt},
        {"unclosed", "<L><Translation><Messages>", std::nullopt},
        {"not XML", "Yes = Ja", std::nullopt},
        {"empty", "", std::nullopt},
        {"invalid UTF-8", translation(message("k", "\xff\xfe")), std::nullopt},
        {"deep without Translation", nested(200000, ""), std::nullopt},
        {"deep Translation", nested(200000, inTranslation), LangTable{{"k", "v"}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LangXMLParser::parsingNBXD2LangWithPath(write("lang.xml", c.xml)), c.expected)
            << c.name;
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
        {"Missing key", "Missing key"},
        {"", ""},
        {"Print &amp; Share", "Drucken & Teilen"},
        {"A &amp; B", "&x&"},
        {"Missing &amp; key", "Missing & key"},
        {"Print & Share", "Print & Share"},
        {"[] raw", "kept []"},
    };
    for (const auto& [key, expected] : cases)
        EXPECT_EQ(lang.getLocalizedStringWithKey(key), expected) << key;
    for (const auto& empty :
         {LangController(), LangController(write("bad.xml", "<L><Translation>")),
          LangController(home.path() + "/missing.xml")}) {
        EXPECT_TRUE(empty.dicLang().empty());
        EXPECT_EQ(empty.getLocalizedStringWithKey("Print &amp; Share"), "Print & Share");
    }
}

TEST(LangControllerLocale, ReadsTheFirstSetVariable) {
    const struct {
        const char *all, *messages, *lang, *expected;
    } cases[] = {
        {"de_DE.UTF-8", "fr_FR", "ko_KR", "de_DE"},
        {"", "fr_FR.UTF-8", "ko_KR", "fr_FR"},
        {nullptr, nullptr, "ko_KR.UTF-8", "ko_KR"},
        {nullptr, nullptr, "de_DE@euro", "de_DE"},
        {nullptr, nullptr, "de", "de"},
        {"C", "fr_FR", nullptr, "en_US"},
        {nullptr, "POSIX", nullptr, "en_US"},
        {"C.UTF-8", nullptr, nullptr, "en_US"},
        {nullptr, nullptr, nullptr, "en_US"},
    };
    const auto value = [](const char* v) {
        return v ? std::optional<std::string>(v) : std::nullopt;
    };
    for (const auto& c : cases) {
        ScopedEnv all("LC_ALL", value(c.all)), messages("LC_MESSAGES", value(c.messages)),
            lang("LANG", value(c.lang));
        EXPECT_EQ(LangController::processLocale(), c.expected) << c.expected;
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

TEST(LangControllerProcess, ShippedFilesFollowTheLocale) {
    ScopedEnv resources("NBX_RESOURCES", NBX_RESOURCES_SOURCE);
    ScopedEnv all("LC_ALL", std::nullopt), messages("LC_MESSAGES", std::nullopt);
    const struct {
        const char *lang, *language, *yes;
    } cases[] = {
        {"de_CH.UTF-8", "Deutsch", "Ja"},
        {"en_GB.UTF-8", "English", "Yes"},
        {"ja_JP.UTF-8", "English", "Yes"},
    };
    for (const auto& c : cases) {
        ScopedEnv lang("LANG", c.lang);
        const auto controller = LangController::forProcessLocale();
        EXPECT_EQ(controller.getLocalizedStringWithKey("Localization_MAC"), c.language) << c.lang;
        EXPECT_EQ(controller.getLocalizedStringWithKey("Yes"), c.yes) << c.lang;
    }
}

}  // namespace
}  // namespace nbx
