#include "AccountLink.h"
#include "AppHarness.h"
#include "JSONKit.h"
#include "NBXAuthenticationManger.h"
#include "NBXNotificationCenter.h"
#include "NBXPrinterCell.h"
#include "PrinterSharing.h"
#include "SendToFriend.h"

namespace nbx::test {
namespace {

const char* const kBindPath = "/nbx/v2/idmmgtsvc/user/account/bind";

// Runs the first held worker only: the refresh that a shown settings screen starts stays held.
void runFirstWorker(AppHarness& h) {
    ASSERT_FALSE(h.workers.empty());
    auto work = h.workers.front();
    h.workers.erase(h.workers.begin());
    std::thread(work).join();
    AppHarness::drainEvents();
}

const std::string kAccount = "Valmora Account";

// The account program puts `vaFile` (when given) in place of the user's va.plist, as the real one
// stores the account, and exits with `status`.
void installAccountApplication(const AppHarness& h, int status, const std::string& vaFile = {}) {
    const std::string copy = "cp \"" + vaFile + "\" \"" + h.userFile("va.plist") + "\"\n";
    h.installHelper(kAccount,
                    (vaFile.empty() ? "" : copy) + "exit " + std::to_string(status) + "\n");
}

// The next button of the Printer tab follows the friend's fields, the notifications the code
// formatters post and the country popup; it needs a signed-in user.
TEST(SendToFriend, SendJobNeedsTheUserAndBothNumbers) {
    struct {
        const char* action;  // "click", "post" (userInfo) or "flag" (code chosen in the popup)
        QString code, phone;
        QVariantMap userInfo;
        bool signedIn, enabled;
    } const steps[] = {
        {"click", "44", "07700900123", {}, true, true},
        {"click", "00", "7700900123", {}, true, false},
        {"click", "", "7700900123", {}, true, false},
        {"click", "44", "", {}, true, false},
        {"click", "44", "000", {}, true, false},
        // The posted value counts, the other one is the field's.
        {"post", "44", "", {{"Phone", "0555"}}, true, true},
        {"post", "44", "555", {{"Code", "0"}}, true, false},
        {"post", "", "555", {{"Code", "1"}}, true, true},
        {"flag", "44", "555", {}, true, true},
        {"click", "44", "7700900123", {}, false, false},
    };
    AppHarness h;
    h.signIn("82", "101234");
    AppDelegate& d = h.launch();
    PrinterScreen* screen = d.window()->printerScreen;
    PhoneEntry* entry = screen->friendEntry();
    for (const auto& s : steps) {
        SCOPED_TRACE(std::string(s.action) + " " + s.code.toStdString() + " " +
                     s.phone.toStdString());
        if (!s.signedIn) std::filesystem::remove(h.userFile("MyInfo.plist"));
        entry->codeField()->setText(s.code);
        entry->phoneField()->setText(s.phone);
        screen->printerTable()->setCurrentRow(0);
        screen->nextButton()->setEnabled(!s.enabled);
        if (std::string(s.action) == "click") {
            d.friends().clickFriendTableView();
            EXPECT_EQ(screen->selectedPrinterRow(), -1);
            EXPECT_EQ(screen->nextButton()->text(), "Send Job");
        } else if (std::string(s.action) == "post") {
            NBXNotificationCenter::defaultCenter().postNotificationName("insertUserInfo",
                                                                        s.userInfo);
        } else {
            d.friends().clickContryFlag_Friend(countryIndex(d, "1"));
            EXPECT_EQ(entry->codeField()->text(), "1");
        }
        EXPECT_EQ(screen->nextButton()->isEnabled(), s.enabled);
    }
}

// A print launch sent to a friend's phone: the choice is kept as the recent target and the back
// end's target file names the phone, which the service knows.
TEST(SendToFriend, SendJobWritesThePhoneTarget) {
    Cloud cloud(users({user("82", "101234"), user("1", "5550100")}));
    AppHarness h;
    h.signIn("82", "0101234");
    h.writeUserFile("com.Valmora.nbx.plist", dict({{"DirectPrint", "FALSE"}}));
    AppDelegate& d = h.launch({"-TotalPages:2", h.targetArgument()});
    d.actionClickToolbar("Printer");
    PrinterScreen* screen = d.window()->printerScreen;
    screen->friendTable()->setCurrentRow(0);  // selecting the row is enough
    screen->friendEntry()->codeField()->setText("1");
    QTest::keyClicks(screen->friendEntry()->phoneField(), "05550100");
    ASSERT_TRUE(screen->nextButton()->isEnabled());
    screen->nextButton()->click();
    EXPECT_EQ(h.readUserFile("com.Valmora.nbx.plist")["SendInfo"],
              dict({{"Type", "Friend"}, {"Code", "1"}, {"PhoneNumber", "5550100"}}));
    const PropertyValue target = readPropertyListFile(h.target()).value_or(nullptr);
    EXPECT_EQ(target["TargetType"].string(), "Phone") << target.description();
    EXPECT_EQ(target["TargetCountryCode"].string(), "1");
    EXPECT_EQ(target["TargetPhoneNumber"].string(), "5550100");
    EXPECT_EQ(h.alerts->texts(), Texts{});
}

// Ticking the registration box shows the picked printer's model in black, ready to change;
// unticking grays it and locks it.
TEST(SharingBox, ModelAndSearchFollowTheBox) {
    AppHarness h;
    h.signIn("82", "101234");
    AppDelegate& d = h.launch();
    d.checkMyInfoPlist();
    d.sharing().dicRegistSelectPrint.set(dict({{"ModelName", "X9"}}));
    SettingScreen* screen = d.window()->settingScreen;
    for (const bool ticked : {true, false}) {
        screen->registrationCheckBox()->setChecked(ticked);
        EXPECT_EQ(screen->modelField()->text(), "X9");
        EXPECT_EQ(screen->modelField()->isEnabled(), ticked);
        EXPECT_EQ(screen->searchButton()->isEnabled(), ticked);
        EXPECT_EQ(screen->modelField()->palette().color(QPalette::Text),
                  ticked ? QColor(Qt::black) : QColor(Qt::gray));
    }
}

// Signing out from the button asks first; a "No" leaves everything as it was. Otherwise the
// account program signs out, the printer list file goes and a printer may be added again.
TEST(Account, SignOut) {
    const std::string question = "Are you sure you want to sign out?";
    struct {
        const char* name;
        bool fromButton, installed;
        int answer;
        Texts alerts;
        bool signedOut;
    } const cases[] = {
        {"Declined", true, true, 1, {question}, false},
        {"Accepted", true, true, 0, {question}, true},
        {"WithoutTheProgram", false, false, 0, {kQueueFailed}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        if (c.installed) installAccountApplication(h, 0);
        AppDelegate& d = h.launch();
        d.actionClickToolbar("Setting");
        h.writeUserFile("AgentPL.plist", PropertyValue::array());
        PrinterScreen* screen = d.window()->printerScreen;
        screen->setPlusButton(false, "full");
        h.alerts->answers = {c.answer};
        d.account().clickAccountSignOut(c.fromButton);
        if (c.installed && c.signedOut) runFirstWorker(h);
        AppHarness::drainEvents();
        EXPECT_EQ(h.alerts->texts(), c.alerts);
        if (c.fromButton) {
            EXPECT_EQ(h.alerts->shown[0].title, "Sign Out");
            EXPECT_EQ(h.alerts->shown[0].buttons, (Texts{"Yes", "No"}));
        }
        EXPECT_EQ(h.helperArguments(kAccount), c.installed && c.signedOut ? "-signout|" : "");
        EXPECT_EQ(std::filesystem::exists(h.userFile("AgentPL.plist")), !c.signedOut);
        EXPECT_EQ(d.shared().nCrtFunctionNum, c.signedOut ? kPrinterTab : kSettingTab);
        QToolButton* add = nullptr;
        for (int row = 0; !add && row < screen->printerTable()->count(); ++row)
            if (screen->printerCell(row)->cellType() == "TitleMyPrinter")
                add = screen->printerCell(row)->addButton();
        ASSERT_TRUE(add);
        EXPECT_EQ(add->isEnabled(), c.signedOut);
        EXPECT_EQ(add->toolTip(), c.signedOut ? d.localized("Select Add Printer Tooltip") : "full");
        EXPECT_TRUE(d.window()->refreshView->isHidden());
    }
}

// The account program stores the account in va.plist; binding sends it with the session's token
// and stores the token the service answers under its own key. A cancelled or missing program
// binds nothing, and a service that is unavailable is told.
TEST(Account, SignInBindsTheStoredAccount) {
    struct {
        const char* name;
        bool installed;
        int status;
        bool unavailable;
        Texts alerts;
    } const cases[] = {
        {"Stored", true, 0, false, {}},
        {"Cancelled", true, 1, false, {}},
        {"WithoutTheProgram", false, 0, false, {kQueueFailed}},
        {"Unavailable", true, 0, true, {"Unknown cloud server error. [Error Code: 2]"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // The token as the service's account sign-in issued it.
        Cloud cloud(dict(
            {{"users", PropertyValue::array({user("44", "7700900123", {{"accessToken", "T1"}})})},
             {"accounts",
              PropertyValue::array({dict({{"accountId", "ann@va"},
                                          {"password", "pw"},
                                          {"tokens", PropertyValue::array({"vt-1"})}})})}}));
        if (c.unavailable)
            cloud.injectFault(dict(
                {{"path", "/idmmgtsvc/user/account/bind"}, {"status", 503}, {"emptyBody", true}}));
        AppHarness h;
        h.signIn("44", "07700900123");
        const PropertyValue signedIn = dict({{"accessToken", *dataByAESEncryption("T1")}});
        h.writeUserFile("va.plist", signedIn);
        PropertyValue stored = signedIn;
        stored.set("ValmoraAccountID", *dataByAESEncryption("ann@va"));
        stored.set("ValmoraAccountToken", *dataByAESEncryption("vt-1"));
        const std::string storedFile = h.home.path() + "/stored-va.plist";
        writePropertyListFile(storedFile, stored);
        if (c.installed) installAccountApplication(h, c.status, storedFile);
        AppDelegate& d = h.launch();
        d.actionClickToolbar("Setting");
        d.account().clickAccountSignIn();
        if (c.installed) runFirstWorker(h);
        AppHarness::drainEvents();
        EXPECT_EQ(h.alerts->texts(), c.alerts);
        EXPECT_EQ(h.helperArguments(kAccount), c.installed ? "-signin|" : "");
        const bool asked = c.installed && c.status == 0, bound = asked && !c.unavailable;
        const auto binds = cloud.requestsTo(kBindPath);
        ASSERT_EQ(binds.size(), asked ? 1u : 0u);
        EXPECT_EQ(d.shared().nCrtFunctionNum, bound ? kPrinterTab : kSettingTab);
        const PropertyValue file = h.readUserFile("va.plist");
        EXPECT_EQ(stringByAESDecryption(*file["accessToken"].data()), "T1");
        if (!bound) {
            EXPECT_TRUE(file["AccessToken"].isNull());
            EXPECT_TRUE(d.window()->refreshView->isHidden());
            continue;
        }
        EXPECT_EQ(objectFromJSONData(binds[0]["body"].string().value_or("")).value_or(nullptr),
                  dict({{"valmoraAccount", "ann@va"}, {"valmoraAccessToken", "vt-1"}}));
        EXPECT_EQ(binds[0]["headers"]["accessToken"].string(), "T1");
        // The service answers the session's token, which stays valid after binding.
        ASSERT_TRUE(file["AccessToken"].isData()) << file.description();
        EXPECT_EQ(stringByAESDecryption(*file["AccessToken"].data()), "T1");
    }
}

}  // namespace
}  // namespace nbx::test
