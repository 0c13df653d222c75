#include <gtest/gtest.h>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <cstdlib>
#include <sstream>

#include "AccountDialog.h"
#include "AccountHelper.h"
#include "CloudEmulator.h"
#include "JSONKit.h"
#include "NBXAuthenticationManger.h"
#include "PropertyListFile.h"
#include "QtTestApp.h"
#include "ScopedEnv.h"
#include "StateFiles.h"
#include "TempHome.h"

namespace nbx::account {
namespace {

const std::string kProgram = NBX_HELPER_DIR "/Valmora Account.app/Contents/MacOS/Valmora Account";

class AccountHelperTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(emulator_.ok());
        emulator_.seed(
            *objectFromJSONData(R"({"accounts":[{"accountId":"ann@va","password":"pw"}]})"));
        // The agent's own token, which the helper must leave alone.
        ASSERT_TRUE(StateFiles::setEncryptedAccountValue("accessToken", "T1"));
    }

    static PropertyValue file() {
        return readPropertyListFile(StateFiles::pathTo(StateFiles::kAccountFile))
            .value_or(PropertyValue());
    }
    static std::string deciphered(const char* key) {
        const PropertyValue stored = file();
        const Bytes* data = stored[key].data();
        return data ? stringByAESDecryption(*data).value_or("?") : "";
    }
    std::string lastIssuedToken() {
        const PropertyValue tokens = emulator_.state()["accounts"].at(0)["tokens"];
        return tokens.size() ? tokens.at(tokens.size() - 1).string().value_or("") : "";
    }

    test::TempHome home_;
    test::CloudEmulator emulator_{{"--quiet"}};
    test::ScopedEnv lookup_{"NBX_LOOKUP_SERVER", emulator_.hostPort()};
};

TEST_F(AccountHelperTest, SignInStoresTheIssuedTokenEncipheredAndFailuresNothing) {
    const struct {
        const char *accountId, *password, *lookup, *error;  // error: null for success
    } rows[] = {
        {"ann@va", "PW", nullptr, "[Error Code: 15000]"},
        {"nobody", "pw", nullptr, "[Error Code: 15000]"},
        {"ann@va", "pw", "127.0.0.1:1", "could not be reached"},
        {"ann@va", "pw", nullptr, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.accountId) + " " + row.password);
        test::ScopedEnv lookup("NBX_LOOKUP_SERVER",
                               row.lookup ? row.lookup : emulator_.hostPort().c_str());
        std::string error;
        EXPECT_EQ(signIn(row.accountId, row.password, &error), !row.error);
        EXPECT_NE(error.find(row.error ? row.error : ""), std::string::npos) << error;
        EXPECT_EQ(deciphered(kAccountIDKey), row.error ? "" : row.accountId);
        EXPECT_EQ(deciphered(kAccountTokenKey), row.error ? "" : lastIssuedToken());
        EXPECT_EQ(deciphered("accessToken"), "T1");
    }
    EXPECT_TRUE(lastIssuedToken().starts_with("va-"));
}

TEST_F(AccountHelperTest, SignOutRemovesOnlyItsKeys) {
    ASSERT_TRUE(storeAccount("ann@va", "va-1", nullptr));
    ASSERT_TRUE(StateFiles::setEncryptedAccountValue("AccessToken", "bound"));
    for (int pass = 0; pass < 2; ++pass)
        EXPECT_EQ(std::system(("'" + kProgram + "' -signout").c_str()), 0);
    PropertyValue expected = file();
    ASSERT_TRUE(expected.isDictionary());
    EXPECT_EQ(expected.size(), 2u) << expected.description();
    EXPECT_EQ(deciphered("accessToken"), "T1");
    EXPECT_EQ(deciphered("AccessToken"), "bound");

    std::ostringstream errors;
    EXPECT_EQ(run({"-signup"}, errors, [] { return true; }), 2);
    EXPECT_EQ(errors.str(), kUsage);
    EXPECT_EQ(std::system(("'" + kProgram + "' 2>/dev/null").c_str()), 2 << 8);
}

// The dialog under the offscreen platform with the real sign-in.
TEST_F(AccountHelperTest, DialogShowsAFailureForAnotherTryAndCancelStoresNothing) {
    test::qtApp();
    for (const bool cancel : {true, false}) {
        AccountDialog dialog(signIn);
        dialog.open();
        auto* buttons = dialog.findChild<QDialogButtonBox*>();
        auto* password = dialog.findChild<QLineEdit*>("password");
        auto* message = dialog.findChild<QLabel*>("error");
        ASSERT_TRUE(buttons && password && message);
        QPushButton* ok = buttons->button(QDialogButtonBox::Ok);
        dialog.findChild<QLineEdit*>("accountId")->setText("ann@va");
        EXPECT_FALSE(ok->isEnabled()) << "both fields are needed";
        password->setText("wrong");
        ok->click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return message->isVisible(); }, 20000));
        EXPECT_TRUE(message->text().contains("15000")) << message->text().toStdString();
        EXPECT_TRUE(dialog.isVisible());
        password->setText("pw");
        buttons->button(cancel ? QDialogButtonBox::Cancel : QDialogButtonBox::Ok)->click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }, 20000));
        EXPECT_EQ(dialog.result(), cancel ? QDialog::Rejected : QDialog::Accepted);
        EXPECT_EQ(deciphered(kAccountIDKey), cancel ? "" : "ann@va");
    }
}

}  // namespace
}  // namespace nbx::account
