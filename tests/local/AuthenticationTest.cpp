#include "NBXAuthenticationManger.h"

#include <gtest/gtest.h>

#include <filesystem>

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

using Dict = PropertyValue;
using Auth = NBXAuthenticationManger;
constexpr std::string_view kKey = Auth::kApplicationKey;

// Computed with: openssl enc -aes-256-cbc -K <key bytes, zero-padded to 32> -iv 0
const struct {
    std::string key;
    std::string_view plain;
    std::string_view cipher;
} kKnownAnswers[] = {
    {std::string(kKey), "token-123", "93208d96f5dbe774ddd20dfbe161e857"},
    {std::string(kKey) + "cut", "token-123", "93208d96f5dbe774ddd20dfbe161e857"},
    {std::string(kKey), "0123456789abcdef",
     "cf48d9304e185d4c4c8e34d8bc7dd4b45ffbffb829728160965c1cf8b4088be0"},
    {"short", "abc", "3156eae7d6f95a2a115d73b22036de6b"},
    {"short", "", "2170a2e4fb4007f78c93df05174a562a"},
};

TEST(AES256, KnownAnswersInEveryForm) {
    for (const auto& c : kKnownAnswers) {
        SCOPED_TRACE(c.key + " " + std::string(c.plain));
        const Bytes plain = bytes(c.plain), cipher = hex(c.cipher);
        EXPECT_EQ(Auth::AES256EncryptWithKey(c.key, plain), cipher);
        EXPECT_EQ(AES256EncryptWithKey(plain, c.key), cipher);
        EXPECT_EQ(Auth::AES256DecryptWithKey(c.key, cipher), plain);
        EXPECT_EQ(AES256DecryptWithKey(cipher, c.key), plain);
    }
    EXPECT_EQ(dataByAESEncryption("token-123"), hex(kKnownAnswers[0].cipher));
    EXPECT_EQ(stringByAESDecryption(hex(kKnownAnswers[0].cipher)), "token-123");
    EXPECT_EQ(stringByAESDecryption(*dataByAESEncryption("héllo wörld")), "héllo wörld");
    EXPECT_FALSE(dataByAESEncryption(""));
}

TEST(AES256, BadCipherTextGivesNothing) {
    Bytes wrongPadding = hex(kKnownAnswers[0].cipher);
    wrongPadding.back() ^= 0x01;
    const Bytes full = hex(kKnownAnswers[2].cipher);
    const Bytes cases[] = {wrongPadding, Bytes(full.begin(), full.end() - 1),
                           Bytes(full.begin(), full.begin() + 8), Bytes{}};
    for (const auto& cipher : cases) {
        EXPECT_FALSE(AES256DecryptWithKey(cipher, kKey)) << cipher.size();
        EXPECT_FALSE(stringByAESDecryption(cipher)) << cipher.size();
    }
    // Deciphers, but is not text.
    EXPECT_FALSE(stringByAESDecryption(*AES256EncryptWithKey(Bytes{0xff, 0xfe}, kKey)));
}

class MyInfoTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(home.appSupportFolder()); }
    test::TempHome home;
    int pauses = 0;
    Auth::Pause countPause = [this] { ++pauses; };
};

TEST_F(MyInfoTest, FileIsReplacedWholeAfterOneCheck) {
    const auto myInfo = [] { return readPropertyListFile(Auth::myInfoPath()); };
    EXPECT_FALSE(Auth::makeAuthInfoWithKey(std::nullopt, "1", countPause));
    EXPECT_FALSE(Auth::makeAuthInfoWithKey("82", std::nullopt, countPause));
    EXPECT_FALSE(myInfo());
    ASSERT_TRUE(Auth::makeAuthInfoWithKey("1", "00", countPause));
    EXPECT_EQ(*myInfo(), Dict::dictionary({{"CountryCode", "1"}, {"PhoneNumber", ""}}));
    writePropertyListFile(Auth::myInfoPath(),
                          Dict::dictionary({{"CountryCode", "44"}, {"PrinterLater", true}}));
    ASSERT_TRUE(Auth::makeAuthInfoWithKey("82", "0010123", countPause));
    EXPECT_EQ(*myInfo(), Dict::dictionary({{"CountryCode", "82"}, {"PhoneNumber", "10123"}}));
    EXPECT_EQ(pauses, 0);
}

TEST_F(MyInfoTest, ReportsSuccessAfterFiveChecksWhenTheFileNeverAppears) {
    // A link into a missing folder: the file cannot be written and never exists.
    std::filesystem::create_symlink(home.path() + "/nowhere/MyInfo.plist", Auth::myInfoPath());
    EXPECT_TRUE(Auth::makeAuthInfoWithKey("82", "5", countPause));
    EXPECT_EQ(pauses, 5);
}

TEST_F(MyInfoTest, ReturnAuthInfo) {
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

TEST_F(MyInfoTest, AccessTokenIsReadOnlyFromEncipheredData) {
    const std::pair<PropertyValue, std::optional<std::string>> cases[] = {
        {Dict::dictionary({{"accessToken", *dataByAESEncryption("tok")}}), "tok"},
        {Dict::dictionary({{"accessToken", "tok"}}), std::nullopt},
        {Dict::dictionary({{"AccessToken", *dataByAESEncryption("tok")}}), std::nullopt},
        {Dict::dictionary({{"accessToken", Bytes(16, 1)}}), std::nullopt},
    };
    for (const auto& [file, expected] : cases) {
        writePropertyListFile(home.appSupportFolder() + "/va.plist", file);
        EXPECT_EQ(NBXUtility::valmoraAccessToken(), expected) << file.description();
    }
}

}  // namespace
}  // namespace nbx
