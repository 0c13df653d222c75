#include "NBXAuthenticationManger.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "NBXUtility.h"
#include "PropertyListFile.h"
#include "TempHome.h"

namespace nbx {
namespace {

Bytes hex(std::string_view text) {
    Bytes out;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        out.push_back(
            static_cast<std::uint8_t>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
    return out;
}

Bytes bytes(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

// Computed with: openssl enc -aes-256-cbc -K <key bytes, zero-padded to 32> -iv 0
const struct {
    std::string_view key;
    std::string_view plain;
    std::string_view cipher;
} kKnownAnswers[] = {
    {NBXAuthenticationManger::kApplicationKey, "token-123", "93208d96f5dbe774ddd20dfbe161e857"},
    {NBXAuthenticationManger::kApplicationKey, "0123456789abcdef",
     "cf48d9304e185d4c4c8e34d8bc7dd4b45ffbffb829728160965c1cf8b4088be0"},
    {"short", "abc", "3156eae7d6f95a2a115d73b22036de6b"},
    {"short", "", "2170a2e4fb4007f78c93df05174a562a"},
};

TEST(AES256, KnownAnswersInEveryForm) {
    for (const auto& c : kKnownAnswers) {
        const Bytes plain = bytes(c.plain), cipher = hex(c.cipher);
        EXPECT_EQ(NBXAuthenticationManger::AES256EncryptWithKey(c.key, plain), cipher) << c.plain;
        EXPECT_EQ(AES256EncryptWithKey(plain, c.key), cipher) << c.plain;
        EXPECT_EQ(NBXAuthenticationManger::AES256DecryptWithKey(c.key, cipher), plain) << c.plain;
        EXPECT_EQ(AES256DecryptWithKey(cipher, c.key), plain) << c.plain;
    }
    EXPECT_EQ(dataByAESEncryption("token-123"), hex(kKnownAnswers[0].cipher));
    EXPECT_EQ(stringByAESDecryption(hex(kKnownAnswers[0].cipher)), "token-123");
}

TEST(AES256, KeyIsCutAt32Bytes) {
    const std::string longKey = std::string(NBXAuthenticationManger::kApplicationKey) + "ignored";
    EXPECT_EQ(AES256EncryptWithKey(bytes("token-123"), longKey), hex(kKnownAnswers[0].cipher));
}

TEST(AES256, BadCipherTextGivesNothing) {
    Bytes wrongPadding = hex(kKnownAnswers[0].cipher);
    wrongPadding.back() ^= 0x01;
    const Bytes full = hex(kKnownAnswers[1].cipher);
    const Bytes truncated(full.begin(), full.end() - 1);
    const struct {
        const char* name;
        Bytes cipher;
    } cases[] = {
        {"wrong padding", wrongPadding},
        {"truncated", truncated},
        {"one block short of a whole", Bytes(full.begin(), full.begin() + 8)},
        {"empty", Bytes{}},
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(AES256DecryptWithKey(c.cipher, NBXAuthenticationManger::kApplicationKey))
            << c.name;
        EXPECT_FALSE(stringByAESDecryption(c.cipher)) << c.name;
    }
}

TEST(AES256, TextForms) {
    EXPECT_EQ(stringByAESDecryption(*dataByAESEncryption("héllo wörld")), "héllo wörld");
    EXPECT_FALSE(dataByAESEncryption(""));
    const auto notText =
        AES256EncryptWithKey(Bytes{0xff, 0xfe, 0x80}, NBXAuthenticationManger::kApplicationKey);
    EXPECT_FALSE(stringByAESDecryption(*notText));
    EXPECT_EQ(dataByAESEncryption("0123456789abcdef")->size(), 32u);
}

class MyInfoTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(home.appSupportFolder()); }
    std::optional<PropertyValue> myInfo() const {
        return readPropertyListFile(NBXAuthenticationManger::myInfoPath());
    }
    test::TempHome home;
    int pauses = 0;
    NBXAuthenticationManger::Pause countPause = [this] { ++pauses; };
};

TEST_F(MyInfoTest, PathIsInTheUsersFolder) {
    EXPECT_EQ(NBXAuthenticationManger::myInfoPath(), home.appSupportFolder() + "/MyInfo.plist");
}

TEST_F(MyInfoTest, MissingArgumentsStoreNothing) {
    EXPECT_FALSE(NBXAuthenticationManger::makeAuthInfoWithKey(std::nullopt, "1", countPause));
    EXPECT_FALSE(NBXAuthenticationManger::makeAuthInfoWithKey("82", std::nullopt, countPause));
    EXPECT_FALSE(myInfo());
}

TEST_F(MyInfoTest, NewFileIsCheckedOnceAndStripsZeros) {
    ASSERT_TRUE(NBXAuthenticationManger::makeAuthInfoWithKey("82", "0010123", countPause));
    EXPECT_EQ(pauses, 0);
    EXPECT_EQ(*myInfo(),
              PropertyValue::dictionary({{"CountryCode", "82"}, {"PhoneNumber", "10123"}}));
    ASSERT_TRUE(NBXAuthenticationManger::makeAuthInfoWithKey("1", "00", countPause));
    EXPECT_EQ((*myInfo())["PhoneNumber"].string(), "");
}

TEST_F(MyInfoTest, ExistingFileIsReplacedWhole) {
    writePropertyListFile(NBXAuthenticationManger::myInfoPath(),
                          PropertyValue::dictionary({{"CountryCode", "44"},
                                                     {"PhoneNumber", "7"},
                                                     {"PrinterLater", true},
                                                     {"NotiAgree", "TRUE"}}));
    ASSERT_TRUE(NBXAuthenticationManger::makeAuthInfoWithKey("82", "5", countPause));
    EXPECT_EQ(*myInfo(), PropertyValue::dictionary({{"CountryCode", "82"}, {"PhoneNumber", "5"}}));
    EXPECT_EQ(pauses, 0);
}

TEST_F(MyInfoTest, ReportsSuccessAfterFiveChecksWhenTheFileNeverAppears) {
    // A link into a missing folder: the file cannot be written and never exists.
    std::filesystem::create_symlink(home.path() + "/nowhere/MyInfo.plist",
                                    NBXAuthenticationManger::myInfoPath());
    EXPECT_TRUE(NBXAuthenticationManger::makeAuthInfoWithKey("82", "5", countPause));
    EXPECT_EQ(pauses, 5);
}

TEST_F(MyInfoTest, ReturnAuthInfo) {
    const struct {
        const char* name;
        PropertyValue file;
        std::optional<std::array<std::string, 2>> expected;
    } cases[] = {
        {"stored pair",
         PropertyValue::dictionary({{"CountryCode", "+82"}, {"PhoneNumber", "0105"}}),
         std::array<std::string, 2>{"+82", "105"}},
        {"blank code", PropertyValue::dictionary({{"CountryCode", " "}, {"PhoneNumber", "1"}}),
         std::nullopt},
        {"blank number", PropertyValue::dictionary({{"CountryCode", "1"}, {"PhoneNumber", "\n"}}),
         std::nullopt},
        {"number not text", PropertyValue::dictionary({{"CountryCode", "1"}, {"PhoneNumber", 5}}),
         std::nullopt},
        {"no code", PropertyValue::dictionary({{"PhoneNumber", "5"}}), std::nullopt},
        {"a list", PropertyValue::array({"1", "5"}), std::nullopt},
    };
    for (const auto& c : cases) {
        writePropertyListFile(NBXAuthenticationManger::myInfoPath(), c.file);
        EXPECT_EQ(NBXAuthenticationManger::returnAuthInfo(), c.expected) << c.name;
    }
    std::filesystem::remove(NBXAuthenticationManger::myInfoPath());
    EXPECT_FALSE(NBXAuthenticationManger::returnAuthInfo());
}

TEST_F(MyInfoTest, RemovesTheTemporaryCopy) {
    const std::string copy = home.temporaryFolder() + "MyInfo.plist";
    std::ofstream(copy) << "x";
    NBXAuthenticationManger::removeAuthInfoTmpFile();
    EXPECT_FALSE(std::filesystem::exists(copy));
    NBXAuthenticationManger::removeAuthInfoTmpFile();  // already gone: only logged
}

TEST_F(MyInfoTest, AccessTokenIsReadOnlyFromEncipheredData) {
    const std::string va = home.appSupportFolder() + "/va.plist";
    const struct {
        const char* name;
        PropertyValue file;
        std::optional<std::string> expected;
    } cases[] = {
        {"enciphered", PropertyValue::dictionary({{"accessToken", *dataByAESEncryption("tok")}}),
         "tok"},
        {"plain text", PropertyValue::dictionary({{"accessToken", "tok"}}), std::nullopt},
        {"other key", PropertyValue::dictionary({{"AccessToken", *dataByAESEncryption("tok")}}),
         std::nullopt},
        {"not deciphered", PropertyValue::dictionary({{"accessToken", Bytes(16, 1)}}),
         std::nullopt},
    };
    for (const auto& c : cases) {
        writePropertyListFile(va, c.file);
        EXPECT_EQ(NBXUtility::valmoraAccessToken(), c.expected) << c.name;
    }
    std::filesystem::remove(va);
    EXPECT_FALSE(NBXUtility::valmoraAccessToken());
}

}  // namespace
}  // namespace nbx
