// State files, the folders they live in and the authentication-info store.
#include "StateFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "NBXAuthenticationManger.h"
#include "NBXUtility.h"
#include "PropertyListFile.h"
#include "TempHome.h"

namespace nbx {
namespace {

using Dict = PropertyValue;
using Auth = NBXAuthenticationManger;
using S = StateFiles;

class StateFilesTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(home.appSupportFolder()); }
    static void write(std::string_view name, const PropertyValue& value) {
        writePropertyListFile(S::pathTo(name), value);
    }
    static PropertyValue read(std::string_view name) {
        return readPropertyListFile(S::pathTo(name)).value_or(PropertyValue());
    }
    test::TempHome home;
    int pauses = 0;
    Auth::Pause countPause = [this] { ++pauses; };
};

// A folder that cannot be made (here: below a plain file, which stops root too) falls back
// to /tmp instead of throwing.
TEST_F(StateFilesTest, Folders) {
    std::ofstream(home.path() + "/file") << "x";
    const std::pair<std::string, std::string> cases[] = {
        {home.path() + "/a/b", home.path() + "/a/b"},
        {home.path() + "/file/below", "/tmp"},
        {"", "/tmp"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(NBXUtility::createFolderPath(path), expected) << path;
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
        for (auto name : {S::kJobPreferenceFile, S::kMyInfoFile, S::kAgentListFile})
            if (raw != "missing") std::ofstream(S::pathTo(name)) << raw;
        for (const auto& [jobPreference, myInfo] : cases) {
            if (!jobPreference.isNull()) write(S::kJobPreferenceFile, jobPreference);
            if (!myInfo.isNull()) write(S::kMyInfoFile, myInfo);
            SCOPED_TRACE(raw + jobPreference.description());
            EXPECT_FALSE(S::sendInfo() || S::directPrint() || S::agAgain() || S::agTime());
            EXPECT_FALSE(S::printerLater() || S::notiAgree() || S::agentList());
            EXPECT_FALSE(S::printerInfoList());
        }
    }
}

TEST_F(StateFilesTest, WritersKeepTheOtherKeysInTheirForms) {
    const PropertyDictionary target{{"Type", "Printer"}, {"isPaidDevice", true}};
    S::setSendInfo(target);
    S::setDirectPrint(true);
    ASSERT_TRUE(S::setTonerReminder(true, "2026-01-02 03:04:05"));
    EXPECT_EQ(read(S::kJobPreferenceFile), Dict::dictionary({{"SendInfo", target},
                                                             {"DirectPrint", "TRUE"},
                                                             {"AgAgain", true},
                                                             {"Agtime", "2026-01-02 03:04:05"}}));
    S::setTonerReminder(false, std::nullopt);
    S::setDirectPrint(false);
    EXPECT_EQ(
        read(S::kJobPreferenceFile),
        Dict::dictionary({{"SendInfo", target}, {"DirectPrint", "FALSE"}, {"AgAgain", false}}));
    EXPECT_EQ(S::sendInfo(), target);

    std::ofstream(S::pathTo(S::kMyInfoFile)) << "<plist><dict>";
    S::setPrinterLater(true);
    ASSERT_TRUE(S::setNotiAgree(false));
    EXPECT_EQ(read(S::kMyInfoFile),
              Dict::dictionary({{"PrinterLater", true}, {"NotiAgree", "FALSE"}}));
    EXPECT_TRUE(S::printerLater());
    EXPECT_EQ(S::notiAgree(), false);
}

TEST_F(StateFilesTest, AccountValuesAreEncipheredAndListsKeepRecords) {
    ASSERT_TRUE(S::setEncryptedAccountValue("accessToken", "secret"));
    EXPECT_FALSE(S::setEncryptedAccountValue("ValmoraAccountID", ""));
    EXPECT_EQ(read(S::kAccountFile).size(), 1u);
    EXPECT_EQ(NBXUtility::valmoraAccessToken(), "secret");
    // The token is read only from enciphered data.
    for (const PropertyValue& token : {PropertyValue("secret"), PropertyValue(Bytes(16, 1))}) {
        write(S::kAccountFile, Dict::dictionary({{"accessToken", token}}));
        EXPECT_FALSE(NBXUtility::valmoraAccessToken()) << token.description();
    }

    const PropertyArray agents{Dict::dictionary({{"agentType", "TitleMyPrinter"}})};
    S::setAgentList(agents);
    EXPECT_EQ(S::agentList(), agents);
    S::removeAgentList();
    EXPECT_FALSE(S::agentList());
    // What cannot be removed stays, without an exception.
    std::filesystem::create_directories(S::pathTo(S::kAgentListFile) + "/x");
    S::removeAgentList();
    write(S::kPrinterInfoFile, Dict::array({Dict::dictionary({{"VID", "1"}}), "stray"}));
    EXPECT_EQ(S::printerInfoList()->size(), 1u);
}

Bytes hex(std::string_view text) {
    Bytes out;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        out.push_back(std::stoul(std::string(text.substr(i, 2)), nullptr, 16));
    return out;
}

constexpr std::string_view kKey = Auth::kApplicationKey;

// Computed with: openssl enc -aes-256-cbc -K <key bytes, zero-padded to 32> -iv 0
const struct {
    std::string key;
    std::string_view plain;
    std::string_view cipher;
} kKnownAnswers[] = {
    {std::string(kKey), "token-123", "93208d96f5dbe774ddd20dfbe161e857"},
    {std::string(kKey), "0123456789abcdef",
     "cf48d9304e185d4c4c8e34d8bc7dd4b45ffbffb829728160965c1cf8b4088be0"},
    {"short", "", "2170a2e4fb4007f78c93df05174a562a"},
};

TEST(AES256, KnownAnswersAndBadCipherTexts) {
    for (const auto& c : kKnownAnswers) {
        SCOPED_TRACE(c.key + " " + std::string(c.plain));
        const Bytes plain(c.plain.begin(), c.plain.end()), cipher = hex(c.cipher);
        EXPECT_EQ(Auth::AES256EncryptWithKey(c.key, plain), cipher);
        EXPECT_EQ(AES256DecryptWithKey(cipher, c.key), plain);
    }
    EXPECT_EQ(dataByAESEncryption("token-123"), hex(kKnownAnswers[0].cipher));
    EXPECT_EQ(stringByAESDecryption(*dataByAESEncryption("héllo wörld")), "héllo wörld");
    EXPECT_FALSE(dataByAESEncryption(""));

    Bytes wrongPadding = hex(kKnownAnswers[0].cipher);
    wrongPadding.back() ^= 0x01;
    const Bytes full = hex(kKnownAnswers[1].cipher);
    const Bytes cases[] = {wrongPadding, Bytes(full.begin(), full.end() - 1),
                           Bytes(full.begin(), full.begin() + 8), Bytes{}};
    for (const auto& cipher : cases) {
        EXPECT_FALSE(AES256DecryptWithKey(cipher, kKey)) << cipher.size();
        EXPECT_FALSE(stringByAESDecryption(cipher)) << cipher.size();
    }
    // Deciphers, but is not text.
    EXPECT_FALSE(stringByAESDecryption(*AES256EncryptWithKey(Bytes{0xff, 0xfe}, kKey)));
}

TEST_F(StateFilesTest, MyInfoIsReplacedWholeAndAnUnwritableOneEndsAfterFiveChecks) {
    const auto myInfo = [] { return readPropertyListFile(Auth::myInfoPath()); };
    EXPECT_FALSE(Auth::makeAuthInfoWithKey(std::nullopt, "1", countPause) ||
                 Auth::makeAuthInfoWithKey("82", std::nullopt, countPause) || myInfo());
    ASSERT_TRUE(Auth::makeAuthInfoWithKey("1", "00", countPause));
    EXPECT_EQ(*myInfo(), Dict::dictionary({{"CountryCode", "1"}, {"PhoneNumber", ""}}));
    writePropertyListFile(Auth::myInfoPath(),
                          Dict::dictionary({{"CountryCode", "44"}, {"PrinterLater", true}}));
    ASSERT_TRUE(Auth::makeAuthInfoWithKey("82", "0010123", countPause));
    EXPECT_EQ(*myInfo(), Dict::dictionary({{"CountryCode", "82"}, {"PhoneNumber", "10123"}}));
    EXPECT_EQ(pauses, 0);
    // A link into a missing folder: the file cannot be written and never exists, which is
    // reported as success after five checks.
    std::filesystem::remove(Auth::myInfoPath());
    std::filesystem::create_symlink(home.path() + "/nowhere/MyInfo.plist", Auth::myInfoPath());
    EXPECT_TRUE(Auth::makeAuthInfoWithKey("82", "5", countPause));
    EXPECT_EQ(pauses, 5);
}

TEST_F(StateFilesTest, ReturnAuthInfo) {
    const std::pair<PropertyValue, std::optional<std::array<std::string, 2>>> cases[] = {
        {Dict::dictionary({{"CountryCode", "+82"}, {"PhoneNumber", "0105"}}),
         std::array<std::string, 2>{"+82", "105"}},
        {Dict::dictionary({{"CountryCode", " "}, {"PhoneNumber", "1"}}), std::nullopt},
        {Dict::dictionary({{"CountryCode", "1"}, {"PhoneNumber", "\n"}}), std::nullopt},
        {Dict::dictionary({{"CountryCode", "1"}, {"PhoneNumber", 5}}), std::nullopt},
        {Dict::dictionary({{"PhoneNumber", "5"}}), std::nullopt},
        {Dict::array({"1", "5"}), std::nullopt},
    };
    for (const auto& [file, expected] : cases) {
        writePropertyListFile(Auth::myInfoPath(), file);
        EXPECT_EQ(Auth::returnAuthInfo(), expected) << file.description();
    }
}

}  // namespace
}  // namespace nbx
