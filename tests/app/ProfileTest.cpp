#include "AppHarness.h"
#include "FriendsProfile.h"
#include "NBXAuthenticationManger.h"

namespace nbx::test {
namespace {

const char* const kPushPath = "/nbx/v2/idmmgtsvc/user/verification/push";
using Identity = std::optional<std::array<std::string, 2>>;

// My Profile's Authenticate, then a country from the popup and a typed number.
ProfilePhoneSheet* openSheet(AppHarness& h, AppDelegate& d, const char* phone) {
    h.runWorkers();
    h.alerts->shown.clear();
    d.showSetting();
    d.window()->settingScreen->authenticateButton()->click();
    ProfilePhoneSheet* sheet = d.window()->profilePhoneSheet;
    EXPECT_TRUE(sheet->isVisible());
    QComboBox* popup = sheet->phoneEntry()->countryPopup();
    const int uk = popup->findText("United Kingdom (44)");
    popup->setCurrentIndex(uk);
    emit popup->activated(uk);
    QTest::keyClicks(sheet->phoneEntry()->phoneField(), phone);
    return sheet;
}

TEST(ProfileVerification, NewPhoneIsStoredOnlyWithTheIssuedPinInTime) {
    struct {
        const char* name;
        bool expireFirst;  // then ask again, by SMS
        const char* pin;   // null: the issued one
        bool close;
        Texts alerts;
    } const cases[] = {
        {"issued PIN", false, nullptr, false, {}},
        {"wrong PIN", false, "1", false, {"Incorrect PIN."}},
        {"expired, asked again", true, nullptr, false, {}},
        {"closed", false, nullptr, true, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Cloud cloud;
        AppHarness h;
        if (c.expireFirst) {
            h.pinValiditySeconds = 1;
            h.countdownTick = std::chrono::milliseconds(500);
        }
        AppDelegate& d = h.launch();
        ProfilePhoneSheet* sheet = openSheet(h, d, "07700900123");
        sheet->certificationButton()->click();
        h.runWorkers();
        if (c.expireFirst) {
            ASSERT_TRUE(AppHarness::waitFor([&] { return !sheet->expiredLabel()->isHidden(); }));
            EXPECT_FALSE(sheet->certificateField()->isEnabled());
            EXPECT_TRUE(sheet->countdownLabel()->isHidden());
            sheet->tryAgainButton()->click();
            h.runWorkers();
            EXPECT_TRUE(sheet->expiredLabel()->isHidden());
        }
        const auto requests = cloud.requestsTo(kPushPath);
        ASSERT_EQ(requests.size(), c.expireFirst ? 2u : 1u);
        EXPECT_EQ(requests.back()["body"].string(), c.expireFirst ? "sms" : "push");
        EXPECT_EQ(requests.back()["headers"]["identifier"].string(), "7700900123");
        ASSERT_TRUE(sheet->certificateField()->isEnabled());
        EXPECT_FALSE(sheet->countdownLabel()->isHidden());
        if (c.close) {
            sheet->closeButton()->click();
        } else {
            const auto issued = cloud.latestPin("44", "7700900123");
            ASSERT_TRUE(issued);
            QTest::keyClicks(sheet->certificateField(), c.pin ? c.pin : issued->c_str());
            sheet->okButton()->click();
            h.runWorkers();
        }
        const bool stored = c.alerts.empty() && !c.close;
        EXPECT_EQ(h.alerts->texts(), c.alerts);
        EXPECT_EQ(NBXAuthenticationManger::returnAuthInfo(),
                  stored ? Identity({"44", "7700900123"}) : std::nullopt);
        EXPECT_EQ(sheet->isVisible(), !stored && !c.close);
        // A refused PIN may be typed again while the countdown runs.
        EXPECT_EQ(d.profile().verification().countdownActive(), !stored && !c.close);
        if (stored) {
            EXPECT_EQ(d.profile().verification().userPhoneNumber(), "+447700900123");
            EXPECT_EQ(d.shared().nCrtFunctionNum, kPrinterTab);
        }
    }
}

// Typed back key by key or pasted with blanks and dashes, the registered number needs no PIN.
TEST(ProfileVerification, TheRegisteredNumberAgainStopsTheCountdownWithoutARequest) {
    for (const bool pasted : {false, true}) {
        SCOPED_TRACE(pasted ? "pasted" : "typed");
        Cloud cloud(users({user("44", "7700900123")}));
        AppHarness h;
        h.signIn("44", "7700900123");
        AppDelegate& d = h.launch();
        ProfilePhoneSheet* sheet = openSheet(h, d, "7700900124");
        sheet->certificationButton()->click();
        h.runWorkers();
        ASSERT_TRUE(d.profile().verification().countdownActive());
        QLineEdit* phone = sheet->phoneEntry()->phoneField();
        phone->clear();
        if (pasted) {
            phone->setText(" 07700-900 123");
            sheet->certificationButton()->click();
            h.runWorkers();
        } else {
            QTest::keyClicks(phone, "07700900123");
        }
        EXPECT_FALSE(d.profile().verification().countdownActive());
        EXPECT_EQ(cloud.requestsTo(kPushPath).size(), 1u);
        EXPECT_EQ(h.alerts->texts(), Texts{});
    }
}

TEST(ProfileEdit, RunsSetupForANewPhoneOnlyWhenConfirmed) {
    for (const bool yes : {false, true}) {
        SCOPED_TRACE(yes ? "Yes" : "No");
        AppHarness h;
        h.installHelper(kSetup);
        h.signIn("44", "7700900123");
        AppDelegate& d = h.launch();
        h.runWorkers();
        h.alerts->shown.clear();
        h.alerts->answers = {yes ? 0 : 1};
        d.profile().clickProfileEdit();
        h.runWorkers();
        ASSERT_EQ(h.alerts->shown.size(), 1u);
        EXPECT_EQ(h.alerts->shown[0].title, "Authentication Confirmation");
        EXPECT_EQ(h.alerts->shown[0].buttons, (Texts{"Yes", "No"}));
        EXPECT_EQ(h.helperArguments(kSetup), yes ? "-userchange|" : "");
    }
}

}  // namespace
}  // namespace nbx::test
