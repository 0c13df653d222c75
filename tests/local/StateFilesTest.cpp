#include "StateFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "NBXUtility.h"
#include "PropertyListFile.h"
#include "TempHome.h"

namespace nbx {
namespace {

class StateFilesTest : public ::testing::Test {
protected:
    void SetUp() override { setenv("NBX_RESOURCES", home.path().c_str(), 1); }
    void TearDown() override { unsetenv("NBX_RESOURCES"); }
    static void write(std::string_view name, const PropertyValue& value) {
        ASSERT_TRUE(writePropertyListFile(StateFiles::pathTo(name), value));
    }
    static PropertyValue read(std::string_view name) {
        return readPropertyListFile(StateFiles::pathTo(name)).value_or(PropertyValue());
    }
    test::TempHome home;
};

TEST_F(StateFilesTest, FoldersAreMadeInTheHomeFolder) {
    EXPECT_EQ(NBXUtility::appSupportPathForNBX(), home.appSupportFolder());
    EXPECT_EQ(NBXUtility::appSupportPathForNBXPollingInfomation(),
              home.appSupportFolder() + "/PollingData");
    EXPECT_EQ(NBXUtility::appSupportPathForNBXPollingJobDownloadedFolder(),
              home.appSupportFolder() + "/DownloadedJobs");
    EXPECT_TRUE(std::filesystem::is_directory(home.appSupportFolder() + "/DownloadedJobs"));
    EXPECT_EQ(NBXUtility::pathToJobPlistFileFromNBXSetting(),
              home.temporaryFolder() + "NBX_JobDetails.plist");
}

TEST_F(StateFilesTest, FolderCreationFallsBackToTmp) {
    std::ofstream(home.path() + "/file") << "x";
    const struct {
        std::string path;
        std::string expected;
    } cases[] = {
        {home.path() + "/a/b/c", home.path() + "/a/b/c"},
        {home.path(), home.path()},
        {home.path() + "/file/below", "/tmp"},
        {home.path() + "/file", "/tmp"},
        {"", "/tmp"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NBXUtility::createFolderPath(c.path), c.expected) << c.path;
}

TEST_F(StateFilesTest, DebugFolderIsMadeOncePerProcess) {
    const std::string first = NBXUtility::pathToDebugFolder();
    EXPECT_EQ(NBXUtility::pathToDebugFolder(), first);
    EXPECT_EQ(first.rfind("/tmp/NBX_BE/", 0), 0u) << first;
    EXPECT_TRUE(std::filesystem::is_directory(first));
}

TEST_F(StateFilesTest, DebugFlagMustBeATrueNumber) {
    const struct {
        const char* name;
        PropertyValue info;
        bool expected;
    } cases[] = {
        {"boolean", PropertyValue::dictionary({{"DEBUG", true}}), true},
        {"number", PropertyValue::dictionary({{"DEBUG", 1}}), true},
        {"zero", PropertyValue::dictionary({{"DEBUG", 0}}), false},
        {"text YES", PropertyValue::dictionary({{"DEBUG", "YES"}}), false},
        {"absent", PropertyValue::dictionary({{"Debug", 2}}), false},
        {"not a record", PropertyValue::array({true}), false},
    };
    for (const auto& c : cases) {
        writePropertyListFile(home.path() + "/Info.plist", c.info);
        EXPECT_EQ(NBXUtility::checkIfDebugIsEnabledInBundle(), c.expected) << c.name;
    }
    std::filesystem::remove(home.path() + "/Info.plist");
    EXPECT_FALSE(NBXUtility::checkIfDebugIsEnabledInBundle());
}

TEST_F(StateFilesTest, RecognisesXmlContent) {
    const struct {
        std::string text;
        bool expected;
    } cases[] = {
        {"<?xml version=\"1.0\"?><a/>", true},
        {"<?xm", false},
        {" <?xml", false},
        {"", false},
        {"\xff<?xml", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NBXUtility::isThisXMLContent(Bytes(c.text.begin(), c.text.end())), c.expected)
            << c.text;
}

TEST_F(StateFilesTest, BadFilesReadAsDefaults) {
    const auto garbage = [](std::string_view name) {
        std::ofstream(StateFiles::pathTo(name)) << "not a property list";
    };
    const struct {
        const char* name;
        std::function<void()> make;
    } cases[] = {
        {"missing", [] {}},
        {"empty",
         [] {
             std::ofstream(StateFiles::pathTo(StateFiles::kJobPreferenceFile));
             std::ofstream(StateFiles::pathTo(StateFiles::kMyInfoFile));
         }},
        {"malformed",
         [&] {
             garbage(StateFiles::kJobPreferenceFile);
             garbage(StateFiles::kMyInfoFile);
         }},
        {"lists",
         [] {
             write(StateFiles::kJobPreferenceFile, PropertyValue::array({"SendInfo"}));
             write(StateFiles::kMyInfoFile, PropertyValue::array({"PrinterLater"}));
             write(StateFiles::kAgentListFile, PropertyValue::dictionary({{"a", 1}}));
         }},
        {"wrong types",
         [] {
             write(StateFiles::kJobPreferenceFile,
                   PropertyValue::dictionary({{"SendInfo", "Printer"},
                                              {"DirectPrint", true},
                                              {"AgAgain", "YES"},
                                              {"Agtime", 5}}));
             write(StateFiles::kMyInfoFile,
                   PropertyValue::dictionary({{"PrinterLater", "TRUE"}, {"NotiAgree", false}}));
         }},
    };
    for (const auto& c : cases) {
        std::filesystem::remove_all(home.appSupportFolder());
        c.make();
        EXPECT_FALSE(StateFiles::sendInfo()) << c.name;
        EXPECT_FALSE(StateFiles::directPrint()) << c.name;
        EXPECT_FALSE(StateFiles::isDirectPrint()) << c.name;
        EXPECT_FALSE(StateFiles::agAgain()) << c.name;
        EXPECT_FALSE(StateFiles::agTime()) << c.name;
        EXPECT_FALSE(StateFiles::printerLater()) << c.name;
        EXPECT_FALSE(StateFiles::notiAgree()) << c.name;
        EXPECT_FALSE(StateFiles::agentList()) << c.name;
        EXPECT_FALSE(StateFiles::printerInfoList()) << c.name;
    }
}

TEST_F(StateFilesTest, WritersKeepTheOtherKeysInTheirForms) {
    const PropertyDictionary target{{"Type", "Printer"}, {"isPaidDevice", true}};
    ASSERT_TRUE(StateFiles::setSendInfo(target));
    ASSERT_TRUE(StateFiles::setDirectPrint(true));
    ASSERT_TRUE(StateFiles::setTonerReminder(true, "2026-01-02 03:04:05"));
    EXPECT_EQ(read(StateFiles::kJobPreferenceFile),
              PropertyValue::dictionary({{"SendInfo", target},
                                         {"DirectPrint", "TRUE"},
                                         {"AgAgain", true},
                                         {"Agtime", "2026-01-02 03:04:05"}}));
    EXPECT_TRUE(StateFiles::isDirectPrint());
    ASSERT_TRUE(StateFiles::setTonerReminder(false, std::nullopt));
    ASSERT_TRUE(StateFiles::setDirectPrint(false));
    EXPECT_EQ(StateFiles::directPrint(), "FALSE");
    EXPECT_EQ(StateFiles::agAgain(), false);
    EXPECT_FALSE(StateFiles::agTime());
    EXPECT_EQ(StateFiles::sendInfo(), target);

    write(StateFiles::kMyInfoFile,
          PropertyValue::dictionary({{"CountryCode", "82"}, {"PhoneNumber", "5"}}));
    ASSERT_TRUE(StateFiles::setPrinterLater(true));
    ASSERT_TRUE(StateFiles::setNotiAgree(false));
    EXPECT_EQ(read(StateFiles::kMyInfoFile), PropertyValue::dictionary({{"CountryCode", "82"},
                                                                        {"PhoneNumber", "5"},
                                                                        {"PrinterLater", true},
                                                                        {"NotiAgree", "FALSE"}}));
    EXPECT_TRUE(StateFiles::printerLater());
    EXPECT_EQ(StateFiles::notiAgree(), false);
}

TEST_F(StateFilesTest, MalformedFileIsReplacedByTheChange) {
    std::ofstream(StateFiles::pathTo(StateFiles::kMyInfoFile)) << "<plist><dict>";
    ASSERT_TRUE(StateFiles::setNotiAgree(true));
    EXPECT_EQ(read(StateFiles::kMyInfoFile), PropertyValue::dictionary({{"NotiAgree", "TRUE"}}));
}

TEST_F(StateFilesTest, AccountValuesAreEnciphered) {
    ASSERT_TRUE(StateFiles::setEncryptedAccountValue("accessToken", "secret"));
    ASSERT_TRUE(StateFiles::setEncryptedAccountValue("AccessToken", "other"));
    EXPECT_FALSE(StateFiles::setEncryptedAccountValue("ValmoraAccountID", ""));
    const PropertyValue va = read(StateFiles::kAccountFile);
    EXPECT_TRUE(va["accessToken"].isData());
    EXPECT_FALSE(va.dictionaryPtr()->contains("ValmoraAccountID"));
    EXPECT_EQ(NBXUtility::valmoraAccessToken(), "secret");
}

TEST_F(StateFilesTest, Lists) {
    const PropertyArray agents{PropertyValue::dictionary({{"agentType", "TitleMyPrinter"}}),
                               PropertyValue::dictionary({{"agentId", "7"}})};
    ASSERT_TRUE(StateFiles::setAgentList(agents));
    EXPECT_EQ(StateFiles::agentList(), agents);
    StateFiles::removeAgentList();
    EXPECT_FALSE(StateFiles::agentList());

    write(StateFiles::kPrinterInfoFile,
          PropertyValue::array({PropertyValue::dictionary({{"ModelName", "M"}}), "stray", 3}));
    ASSERT_TRUE(StateFiles::printerInfoList());
    EXPECT_EQ(StateFiles::printerInfoList()->size(), 1u);
}

}  // namespace
}  // namespace nbx
