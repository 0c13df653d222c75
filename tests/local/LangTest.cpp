#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "LangController.h"
#include "LangXMLParser.h"

namespace nbx {
namespace {

namespace fs = std::filesystem;

class LangFiles : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "nbx-lang-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(folder_, ec);
    }
    std::string write(const std::string& name, const std::string& bytes) const {
        const auto path = (folder_ / name).string();
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    fs::path folder_;
};

std::string translation(const std::string& messages) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Lang><Translation><Messages>" + messages +
           "</Messages></Translation></Lang>";
}

std::string message(const std::string& id, const std::string& value) {
    return "<Message><Id>" + id + "</Id><Value>" + value + "</Value></Message>";
}

struct ParseCase {
    const char* name;
    std::string xml;
    std::optional<LangTable> expected;
};

class ParseRules : public LangFiles, public ::testing::WithParamInterface<ParseCase> {};

TEST_P(ParseRules, ReadsTheTable) {
    const auto path = write("lang.xml", GetParam().xml);
    EXPECT_EQ(LangXMLParser::parsingNBXD2LangWithPath(path), GetParam().expected);
}

std::string nested(int depth, const std::string& inner) {
    std::string open, close;
    for (int i = 0; i < depth; ++i) {
        open += "<d>";
        close += "</d>";
    }
    return "<root>" + open + inner + close + "</root>";
}

INSTANTIATE_TEST_SUITE_P(
    LangXMLParser, ParseRules,
    ::testing::Values(
        ParseCase{"TwoMessages", translation(message("Yes", "Ja") + message("No", "Nein")),
                  LangTable{{"Yes", "Ja"}, {"No", "Nein"}}},
        ParseCase{"EscapedAmpersandBecomesMarker",
                  translation(message("Print &amp; Share", "Drucken &amp; Teilen")),
                  LangTable{{"Print [] Share", "Drucken [] Teilen"}}},
        ParseCase{"OtherEntitiesDecoded", translation(message("a &lt;b&gt;", "&quot;c&quot;")),
                  LangTable{{"a <b>", "\"c\""}}},
        ParseCase{"ValueBeforeIdUsesEmptyKey",
                  translation("<Message><Value>v</Value><Id>k</Id></Message>"),
                  LangTable{{"", "v"}}},
        ParseCase{"MessageWithoutId", translation("<Message><Value>v</Value></Message>"),
                  LangTable{{"", "v"}}},
        ParseCase{"EmptyIdUsesEmptyKey", translation(message("", "v")), LangTable{{"", "v"}}},
        ParseCase{"IdHoldingAnElementUsesEmptyKey", translation(message("<b>k</b>", "v")),
                  LangTable{{"", "v"}}},
        ParseCase{"IdTakesOnlyItsFirstText", translation(message("a<b/>c", "v")),
                  LangTable{{"a", "v"}}},
        ParseCase{"ValueWithoutTextStoresNothing", translation(message("k", "")), LangTable{}},
        ParseCase{"KeyResetsForEachMessage",
                  translation(message("k", "1") + "<Message><Value>2</Value></Message>"),
                  LangTable{{"k", "1"}, {"", "2"}}},
        ParseCase{"LaterDuplicateWins", translation(message("k", "1") + message("k", "2")),
                  LangTable{{"k", "2"}}},
        ParseCase{"CdataValue", translation(message("k", "<![CDATA[<x>]]>")),
                  LangTable{{"k", "<x>"}}},
        ParseCase{"WhitespaceBetweenElementsIgnored",
                  "<L>\n <Translation>\n  <Messages>\n   <Message>\n    <Id>k</Id>\n    "
                  "<Value>v</Value>\n   </Message>\n  </Messages>\n </Translation>\n</L>\n",
                  LangTable{{"k", "v"}}},
        ParseCase{"SeveralMessagesGroups",
                  "<L><Translation><Messages>" + message("a", "1") + "</Messages><Messages>" +
                      message("b", "2") + "</Messages></Translation></L>",
                  LangTable{{"a", "1"}, {"b", "2"}}},
        ParseCase{"FirstTranslationDepthFirst",
                  "<L><x><Translation><Messages>" + message("k", "inner") +
                      "</Messages></Translation></x><Translation><Messages>" +
                      message("k", "outer") + "</Messages></Translation></L>",
                  LangTable{{"k", "inner"}}},
        ParseCase{"MessagesDeeperThanChildrenIgnored",
                  "<L><Translation><x><Messages>" + message("k", "v") +
                      "</Messages></x><Messages/></Translation></L>",
                  std::nullopt},
        ParseCase{"NoTranslation", "<L><Messages>" + message("k", "v") + "</Messages></L>",
                  std::nullopt},
        ParseCase{"EmptyTranslation", "<L><Translation/></L>", std::nullopt},
        ParseCase{"MessageWithoutChildren", translation("<Message/>"), std::nullopt},
        ParseCase{"Unclosed", "<L><Translation><Messages>", std::nullopt},
        ParseCase{"NotXml", "Yes = Ja", std::nullopt}, ParseCase{"Empty", "", std::nullopt},
        ParseCase{"InvalidUtf8", translation(message("k", "\xff\xfe")), std::nullopt},
        ParseCase{"DeepWithoutTranslation", nested(200000, ""), std::nullopt},
        ParseCase{"DeepTranslation",
                  nested(200000, "<Translation><Messages>" + message("k", "v") +
                                     "</Messages></Translation>"),
                  LangTable{{"k", "v"}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(LangFiles, UnreadablePathsGiveNothing) {
    const auto oversized =
        write("big.xml", translation(message("k", std::string(LangXMLParser::kMaxFileSize, 'x'))));
    const auto pipe = (folder_ / "pipe.xml").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {std::string(), (folder_ / "missing.xml").string(),
                                    folder_.string(), oversized, pipe, std::string("/dev/zero")})
        EXPECT_EQ(LangXMLParser::parsingNBXD2LangWithPath(path), std::nullopt) << path;
}

TEST(LangXMLParserTree, SearchesTheNodeThenChildrenInOrderWithinItsSubtree) {
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(
        "<r><a>Translation<b><T id='1'/></b></a><T id='2'/><c><T id='3'/></c></r>"));
    const auto root = doc.child("r");
    EXPECT_EQ(LangXMLParser::getTreeRefForNodeName("T", doc).attribute("id").as_int(), 1);
    EXPECT_EQ(LangXMLParser::getTreeRefForNodeName("r", root), root);
    EXPECT_EQ(LangXMLParser::getTreeRefForNodeName("T", root.child("c")).attribute("id").as_int(),
              3);
    // Text equal to the name is not an element, and a search never leaves its subtree.
    EXPECT_FALSE(LangXMLParser::getTreeRefForNodeName("Translation", doc));
    EXPECT_FALSE(LangXMLParser::getTreeRefForNodeName("c", root.child("a")));
    EXPECT_FALSE(LangXMLParser::getTreeRefForNodeName("T", pugi::xml_node()));
    EXPECT_FALSE(LangXMLParser::parseLocalXML(pugi::xml_document()));
}

TEST_F(LangFiles, LookUpsFallBackToTheKey) {
    const LangController lang(write(
        "de.xml",
        translation(message("Yes", "Ja") + message("Print &amp; Share", "Drucken &amp; Teilen") +
                    message("A &amp; B", "[]x[]") + message("[] raw", "kept []"))));
    const struct {
        const char* key;
        const char* expected;
    } cases[] = {
        {"Yes", "Ja"},
        {"Missing key", "Missing key"},
        {"", ""},
        {"Print &amp; Share", "Drucken & Teilen"},
        {"A &amp; B", "&x&"},
        {"Missing &amp; key", "Missing & key"},
        {"Print & Share", "Print & Share"},
        {"[] raw", "kept []"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(lang.getLocalizedStringWithKey(c.key), c.expected) << c.key;
}

TEST_F(LangFiles, MalformedOrMissingFileShowsEveryKey) {
    for (const auto& lang : {LangController(), LangController(write("bad.xml", "<L><Translation>")),
                             LangController((folder_ / "missing.xml").string())}) {
        EXPECT_TRUE(lang.dicLang().empty());
        EXPECT_EQ(lang.getLocalizedStringWithKey("Yes"), "Yes");
        EXPECT_EQ(lang.getLocalizedStringWithKey("Print &amp; Share"), "Print & Share");
    }
}

class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value) : name_(name) {
        if (const char* old = getenv(name)) old_ = old;
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~ScopedEnvironment() {
        if (old_)
            setenv(name_, old_->c_str(), 1);
        else
            unsetenv(name_);
    }

private:
    const char* name_;
    std::optional<std::string> old_;
};

TEST(LangControllerLocale, ReadsTheFirstSetVariable) {
    const struct {
        const char* all;
        const char* messages;
        const char* lang;
        const char* expected;
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
    for (const auto& c : cases) {
        ScopedEnvironment all("LC_ALL", c.all), messages("LC_MESSAGES", c.messages),
            lang("LANG", c.lang);
        EXPECT_EQ(LangController::processLocale(), c.expected) << c.expected;
    }
}

TEST_F(LangFiles, LocaleChoosesTheFile) {
    for (const char* name : {"en.xml", "de.xml", "pt_BR.xml"})
        write(std::string("languageXML/") + name, "");
    const auto folder = folder_.string();
    const auto in = [&](const char* name) { return (folder_ / "languageXML" / name).string(); };
    const struct {
        const char* locale;
        std::string expected;
    } cases[] = {
        {"de_DE", in("de.xml")},    {"de_AT", in("de.xml")}, {"de", in("de.xml")},
        {"pt_BR", in("pt_BR.xml")}, {"pt_PT", in("en.xml")}, {"fr_FR", in("en.xml")},
        {"", in("en.xml")},         {"../x", in("en.xml")},  {"_", in("en.xml")},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LangController::languageFilePath(folder, c.locale), c.expected) << c.locale;
}

TEST(LangControllerProcess, ShippedFilesFollowTheLocale) {
    ScopedEnvironment resources("NBX_RESOURCES", NBX_RESOURCES_SOURCE);
    ScopedEnvironment all("LC_ALL", nullptr), messages("LC_MESSAGES", nullptr);
    const struct {
        const char* lang;
        const char* language;
        const char* yes;
    } cases[] = {
        {"de_CH.UTF-8", "Deutsch", "Ja"},
        {"en_GB.UTF-8", "English", "Yes"},
        {"ja_JP.UTF-8", "English", "Yes"},
    };
    for (const auto& c : cases) {
        ScopedEnvironment lang("LANG", c.lang);
        const auto controller = LangController::forProcessLocale();
        EXPECT_EQ(controller.getLocalizedStringWithKey("Localization_MAC"), c.language) << c.lang;
        EXPECT_EQ(controller.getLocalizedStringWithKey("Yes"), c.yes) << c.lang;
    }
}

}  // namespace
}  // namespace nbx
