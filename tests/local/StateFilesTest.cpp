#include "StateFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "NBXUtility.h"
#include "PropertyListFile.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx {
namespace {

using Dict = PropertyValue;

class StateFilesTest : public ::testing::Test {
protected:
    static void write(std::string_view name, const PropertyValue& value) {
        writePropertyListFile(StateFiles::pathTo(name), value);
    }
    static PropertyValue read(std::string_view name) {
        return readPropertyListFile(StateFiles::pathTo(name)).value_or(PropertyValue());
    }
    test::TempHome home;
    test::ScopedEnv resources{"NBX_RESOURCES", home.path()};
};

TEST_F(StateFilesTest, Folders) {
    std::ofstream(home.path() + "/file") << "x";
    const std::pair<std::string, std::string> cases[] = {
        {home.path() + "/a/b", home.path() + "/a/b"},
        {home.path() + "/file/below", "/tmp"},
        {"", "/tmp"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(NBXUtility::createFolderPath(path), expected) << path;
    EXPECT_EQ(NBXUtility::appSupportPathForNBXPollingJobDownloadedFolder(),
              home.appSupportFolder() + "/DownloadedJobs");
    EXPECT_TRUE(std::filesystem::is_directory(home.appSupportFolder() + "/DownloadedJobs"));
    EXPECT_EQ(NBXUtility::pathToJobPlistFileFromNBXSetting(),
              home.temporaryFolder() + "NBX_JobDetails.plist");

    const std::string debug = NBXUtility::pathToDebugFolder();
    EXPECT_EQ(NBXUtility::pathToDebugFolder(), debug);
    EXPECT_EQ(debug.rfind("/tmp/NBX_BE/", 0), 0u) << debug;
    EXPECT_TRUE(std::filesystem::is_directory(debug));
}

TEST_F(StateFilesTest, DebugFlagMustBeATrueNumber) {
    const std::pair<PropertyValue, bool> cases[] = {
        {Dict::dictionary({{"DEBUG", true}}), true}, {Dict::dictionary({{"DEBUG", 1}}), true},
        {Dict::dictionary({{"DEBUG", 0}}), false},   {Dict::dictionary({{"DEBUG", "YES"}}), false},
        {Dict::dictionary({{"Debug", 2}}), false},   {Dict::array({true}), false},
    };
    for (const auto& [info, expected] : cases) {
        writePropertyListFile(home.path() + "/Info.plist", info);
        EXPECT_EQ(NBXUtility::checkIfDebugIsEnabledInBundle(), expected) << info.description();
    }
}

TEST_F(StateFilesTest, BadFilesReadAsDefaults) {
    const std::pair<PropertyValue, PropertyValue> cases[] = {
        {nullptr, nullptr},  // missing, empty or malformed
        {Dict::array({"SendInfo"}), Dict::array({"PrinterLater"})},
        {Dict::dictionary(
             {{"SendInfo", "Printer"}, {"DirectPrint", true}, {"AgAgain", "YES"}, {"Agtime", 5}}),
         Dict::dictionary({{"PrinterLater", "TRUE"}, {"NotiAgree", false}})},
    };
    for (const std::string raw : {"missing", "", "<plist><dict>", "garbage"}) {
        std::filesystem::remove_all(home.appSupportFolder());
        for (auto name :
             {StateFiles::kJobPreferenceFile, StateFiles::kMyInfoFile, StateFiles::kAgentListFile})
            if (raw != "missing") std::ofstream(StateFiles::pathTo(name)) << raw;
        for (const auto& [jobPreference, myInfo] : cases) {
            if (!jobPreference.isNull()) write(StateFiles::kJobPreferenceFile, jobPreference);
            if (!myInfo.isNull()) write(StateFiles::kMyInfoFile, myInfo);
            const std::string name = raw + jobPreference.description();
            EXPECT_FALSE(StateFiles::sendInfo()) << name;
            EXPECT_FALSE(StateFiles::directPrint() || StateFiles::isDirectPrint()) << name;
            EXPECT_FALSE(StateFiles::agAgain() || StateFiles::agTime()) << name;
            EXPECT_FALSE(StateFiles::printerLater() || StateFiles::notiAgree()) << name;
            EXPECT_FALSE(StateFiles::agentList() || StateFiles::printerInfoList()) << name;
        }
    }
}

TEST_F(StateFilesTest, WritersKeepTheOtherKeysInTheirForms) {
    const PropertyDictionary target{{"Type", "Printer"}, {"isPaidDevice", true}};
    StateFiles::setSendInfo(target);
    StateFiles::setDirectPrint(true);
    ASSERT_TRUE(StateFiles::setTonerReminder(true, "2026-01-02 03:04:05"));
    EXPECT_EQ(read(StateFiles::kJobPreferenceFile),
              Dict::dictionary({{"SendInfo", target},
                                {"DirectPrint", "TRUE"},
                                {"AgAgain", true},
                                {"Agtime", "2026-01-02 03:04:05"}}));
    StateFiles::setTonerReminder(false, std::nullopt);
    StateFiles::setDirectPrint(false);
    EXPECT_EQ(
        read(StateFiles::kJobPreferenceFile),
        Dict::dictionary({{"SendInfo", target}, {"DirectPrint", "FALSE"}, {"AgAgain", false}}));
    EXPECT_EQ(StateFiles::sendInfo(), target);

    std::ofstream(StateFiles::pathTo(StateFiles::kMyInfoFile)) << "<plist><dict>";
    StateFiles::setPrinterLater(true);
    ASSERT_TRUE(StateFiles::setNotiAgree(false));
    EXPECT_EQ(read(StateFiles::kMyInfoFile),
              Dict::dictionary({{"PrinterLater", true}, {"NotiAgree", "FALSE"}}));
    EXPECT_TRUE(StateFiles::printerLater());
    EXPECT_EQ(StateFiles::notiAgree(), false);
}

TEST_F(StateFilesTest, AccountValuesAreEncipheredAndListsKeepRecords) {
    ASSERT_TRUE(StateFiles::setEncryptedAccountValue("accessToken", "secret"));
    EXPECT_FALSE(StateFiles::setEncryptedAccountValue("ValmoraAccountID", ""));
    EXPECT_TRUE(read(StateFiles::kAccountFile)["accessToken"].isData());
    EXPECT_EQ(read(StateFiles::kAccountFile).size(), 1u);
    EXPECT_EQ(NBXUtility::valmoraAccessToken(), "secret");

    const PropertyArray agents{Dict::dictionary({{"agentType", "TitleMyPrinter"}})};
    StateFiles::setAgentList(agents);
    EXPECT_EQ(StateFiles::agentList(), agents);
    StateFiles::removeAgentList();
    EXPECT_FALSE(StateFiles::agentList());
    write(StateFiles::kPrinterInfoFile, Dict::array({Dict::dictionary({{"VID", "1"}}), "stray"}));
    EXPECT_EQ(StateFiles::printerInfoList()->size(), 1u);
}

}  // namespace
}  // namespace nbx
