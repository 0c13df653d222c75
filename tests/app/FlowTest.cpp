#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QToolBar>
#include <QToolButton>

#include <ostream>
#include <thread>

#include "AboutSheet.h"
#include "AlertSheet.h"
#include "AppHarness.h"
#include "MainWindow.h"
#include "NBXPrinterCell.h"
#include "NBXRefreshView.h"
#include "PhoneEntry.h"
#include "PrintLaterSheet.h"
#include "PrinterScreen.h"
#include "ProfilePhoneSheet.h"
#include "PropertyListFile.h"
#include "SettingScreen.h"
#include "UnlinkSheet.h"

namespace nbx {
namespace {

using test::AppHarness;

PropertyValue agents() {
    return PropertyValue::array({PropertyValue::dictionary({{"agentType", "My Drive"}}),
                                 PropertyValue::dictionary({{"agentType", "TitleMyPrinter"}}),
                                 PropertyValue::dictionary({{"agentType", "PC_AGENT"},
                                                            {"agentAlias", "Office"},
                                                            {"agentMacAddress", "AA:BB"},
                                                            {"isPaidDevice", true}}),
                                 PropertyValue::dictionary({{"agentType", "TitleFriendPrinter"}}),
                                 PropertyValue::dictionary({{"agentType", "PRT_AGENT"},
                                                            {"agentModelName", "M2020"},
                                                            {"friendUserId", "u7"},
                                                            {"firstName", "Ana"},
                                                            {"lastName", "Lee"}})});
}

struct TargetCase {
    const char* name;
    int printerRow;  // -1: none
    bool friendRow;
    const char* code;
    const char* phone;
    PropertyValue sendInfo;
};

void PrintTo(const TargetCase& c, std::ostream* os) {
    *os << c.name;
}

class RecordTarget : public ::testing::TestWithParam<TargetCase> {};

TEST_P(RecordTarget, StoresTheChoiceAndKeepsTheRestOfTheFile) {
    const auto& c = GetParam();
    AppHarness h;
    h.writeUserFile("com.Valmora.nbx.plist", PropertyValue::dictionary({{"DirectPrint", "TRUE"}}));
    AppDelegate& d = h.launch();
    d.arrSaveAgentList = agents();
    PrinterScreen* screen = d.window()->printerScreen;
    screen->reloadPrinters(d.arrSaveAgentList);
    if (c.printerRow >= 0) screen->printerTable()->item(c.printerRow)->setSelected(true);
    if (c.friendRow) screen->friendTable()->item(0)->setSelected(true);
    screen->friendEntry()->codeField()->setText(c.code);
    screen->friendEntry()->phoneField()->setText(c.phone);
    d.nCrtFunctionNum = 7;
    d.nextAction();
    const PropertyValue file =
        readPropertyListFile(h.userFile("com.Valmora.nbx.plist")).value_or(nullptr);
    EXPECT_EQ(file["SendInfo"], c.sendInfo) << file.description();
    EXPECT_EQ(file["DirectPrint"].string(), "TRUE");
    EXPECT_EQ(h.quits, 1);
}

PropertyValue dict(std::initializer_list<PropertyDictionary::Entry> entries) {
    return PropertyValue::dictionary(entries);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RecordTarget,
    ::testing::Values(
        TargetCase{"Nothing", -1, false, "", "", dict({{"Type", "Default"}})},
        TargetCase{"RowZeroIsNoTarget", 0, false, "", "", dict({{"Type", "Default"}})},
        TargetCase{"OwnPrinter", 2, false, "", "",
                   dict({{"Type", "Printer"},
                         {"isPaidDevice", true},
                         {"ModelName", "Office"},
                         {"MACAddress", "AA:BB"}})},
        TargetCase{"FriendsPrinter", 4, false, "", "",
                   dict({{"Type", "Printer"},
                         {"isPaidDevice", false},
                         {"FirstName", "Ana"},
                         {"LastName", "Lee"},
                         {"ModelName", "M2020"},
                         {"FriendUserId", "u7"}})},
        TargetCase{"FriendPhone", -1, true, "82", "00101234",
                   dict({{"Type", "Friend"}, {"Code", "82"}, {"PhoneNumber", "101234"}})},
        TargetCase{"FriendPhoneOfZeros", -1, true, "82", "000",
                   dict({{"Type", "Friend"}, {"Code", "82"}, {"PhoneNumber", ""}})},
        TargetCase{"FriendWithoutPhone", -1, true, "82", "",
                   dict({{"Type", "Friend"}, {"PhoneNumber", "-1"}})},
        // No code typed: the region of the locale (C reads as en_US) gives 1.
        TargetCase{"FriendCodeFromRegion", -1, true, "", "555",
                   dict({{"Type", "Friend"}, {"Code", "1"}, {"PhoneNumber", "555"}})}),
    [](const auto& i) { return std::string(i.param.name); });

TEST(RecordTargetOnPrintLaunch, UnwrittenTargetRestoresThePreferences) {
    AppHarness h;
    h.signIn("82", "101234");
    const PropertyValue before = PropertyValue::dictionary(
        {{"DirectPrint", "FALSE"}, {"SendInfo", dict({{"Type", "Default"}})}});
    h.writeUserFile("com.Valmora.nbx.plist", before);
    AppDelegate& d = h.launch({"-nbxtarget:" + QString::fromStdString(h.home.path()) + "/t"});
    d.window()->printerScreen->friendTable()->item(0)->setSelected(true);
    d.nCrtFunctionNum = 7;
    d.nextAction();
    EXPECT_EQ(readPropertyListFile(h.userFile("com.Valmora.nbx.plist")).value_or(nullptr), before);
    EXPECT_TRUE(d.window()->refreshView->isHidden());
    EXPECT_EQ(h.quits, 0);
}

TEST(MainThreadHandOff, OverlayChangesFromAWorkerWaitForTheMainThread) {
    AppHarness h;
    AppDelegate& d = h.launch();
    NBXRefreshView* overlay = d.window()->refreshView;
    std::thread([&d] { d.showRefreshWindow("START", true); }).join();
    EXPECT_TRUE(overlay->isHidden());
    AppHarness::drainEvents();
    EXPECT_FALSE(overlay->isHidden());
    EXPECT_TRUE(overlay->isProgressShown());
    EXPECT_FALSE(d.window()->aboutButton->isEnabled());
    EXPECT_FALSE(d.window()->refreshAction->isEnabled());

    std::thread([&d] { d.showRefreshWindow("PAUSE", true); }).join();
    AppHarness::drainEvents();
    EXPECT_FALSE(overlay->isHidden());

    std::thread([&d] { d.showRefreshWindow("STOP", false); }).join();
    AppHarness::drainEvents();
    EXPECT_TRUE(overlay->isHidden());
    EXPECT_TRUE(d.window()->aboutButton->isEnabled());
}

TEST(MainThreadHandOff, SecondStartKeepsTheFirstProgressChoice) {
    AppHarness h;
    AppDelegate& d = h.launch();
    d.showRefreshWindow("START", false);
    d.showRefreshWindow("START", true);
    EXPECT_FALSE(d.window()->refreshView->isProgressShown());
}

TEST(Refresh, WithoutAPhoneTheListEmptiesAndTheUserIsTold) {
    AppHarness h;
    AppDelegate& d = h.launch();
    d.arrSaveAgentList = agents();
    d.clickRefreshbtnOnMain();
    ASSERT_EQ(h.workers.size(), 1u);
    h.runWorkers();
    EXPECT_EQ(d.arrSaveAgentList.size(), 0u);
    EXPECT_EQ(d.window()->printerScreen->printerTable()->count(), 0);
    EXPECT_TRUE(d.window()->alertSheet->isVisible());
    EXPECT_EQ(d.window()->alertSheet->message().toStdString(),
              "Please authenticate your phone number in My Profile first.");
    d.window()->alertSheet->okButton()->click();
    EXPECT_FALSE(d.window()->alertSheet->isVisible());
}

TEST(Refresh, SignedInRunsBothRefreshesAndEndsWithTheOverlayDown) {
    AppHarness h;
    h.signIn("82", "101234");
    AppDelegate& d = h.launch();
    d.clickRefreshbtnOnMain();
    h.runWorkers();
    EXPECT_FALSE(d.window()->alertSheet->isVisible());
    EXPECT_TRUE(d.window()->refreshView->isHidden());
    EXPECT_EQ(d.dicUpdateInfo["Command"].string(), "GetPolling");
}

TEST(Links, OpenTheSiteAndTheManagementPage) {
    AppHarness h;
    AppDelegate& d = h.launch();
    d.clickWebLink();
    d.clickMoreInfo();
    EXPECT_EQ(h.urls->opened, (std::vector<std::string>{
                                  "https://www.nimbrix.example",
                                  "https://www.nimbrix.example/agree_device_management.html"}));
}

TEST(SetupApplication, MissingOneIsReportedAndAPresentOneGetsItsMode) {
    struct {
        std::string mode;
        std::string arguments;
    } const cases[] = {{"", "-userchange"}, {"signout", "-signout"}};
    {
        AppHarness h;
        AppDelegate& d = h.launch();
        d.runNBXSetup("");
        AppHarness::drainEvents();
        ASSERT_EQ(h.alerts->shown.size(), 1u);
        EXPECT_EQ(h.alerts->shown[0].text, "Adding Printer in System Preferences is failed.");
    }
    for (const auto& c : cases) {
        AppHarness h;
        h.installSetupApplication();
        AppDelegate& d = h.launch();
        d.runNBXSetup(c.mode);
        EXPECT_EQ(h.setupArguments(), c.arguments);
        EXPECT_TRUE(h.alerts->shown.empty());
    }
}

TEST(Sheets, PrintLaterStoresItsBoxAsABoolean) {
    for (const bool ticked : {true, false}) {
        AppHarness h;
        h.signIn("82", "101234");
        AppDelegate& d = h.launch();
        d.showPrintLaterSheet();
        d.window()->printLaterSheet->dontShowAgain()->setChecked(ticked);
        d.window()->printLaterSheet->okButton()->click();
        const PropertyValue file =
            readPropertyListFile(h.userFile("MyInfo.plist")).value_or(nullptr);
        EXPECT_EQ(file["PrinterLater"].boolean(), ticked);
        EXPECT_EQ(file["PhoneNumber"].string(), "101234");
        EXPECT_EQ(d.checkPrintLaterAgain(), ticked);
        EXPECT_FALSE(d.window()->printLaterSheet->isVisible());
    }
}

TEST(Sheets, AboutShowsTheVersionAndClosingStopsTheOverlay) {
    AppHarness h;
    AppDelegate& d = h.launch();
    d.window()->aboutAction->trigger();
    EXPECT_TRUE(d.window()->aboutSheet->isVisible());
    EXPECT_TRUE(d.window()->aboutSheet->versionLine().startsWith("2.00.125 ("));
    d.showRefreshWindow("START", true);
    d.window()->aboutSheet->okButton()->click();
    EXPECT_FALSE(d.window()->aboutSheet->isVisible());
    EXPECT_TRUE(d.window()->refreshView->isHidden());
    EXPECT_EQ(AboutSheet::fillVersion("v$VERSION$ / $VERSION$", "2.0"), "v2.0 / 2.0");
    emit d.window()->aboutSheet->siteLink()->linkActivated("ignored");
    EXPECT_EQ(h.urls->opened, std::vector<std::string>{"https://www.nimbrix.example"});
}

TEST(Sheets, CountdownAndUnlinkTexts) {
    struct {
        int seconds;
        QString text;
    } const cases[] = {{1800, "30:00"}, {65, "1:05"}, {70, "1:10"}, {9, "0:09"}, {0, "0:00"}};
    for (const auto& c : cases)
        EXPECT_EQ(ProfilePhoneSheet::countdownText(c.seconds), c.text);
    AppHarness h;
    AppDelegate& d = h.launch();
    d.window()->unlinkSheet->setPrinterName("Office %1%");
    EXPECT_EQ(d.window()->unlinkSheet->question(),
              "Are you sure to delete cloud printer 'Office %1%'?");
}

TEST(Screens, EachShowingOperationSetsItsState) {
    AppHarness h;
    AppDelegate& d = h.launch();
    MainWindow* w = d.window();
    const std::vector<std::tuple<void (AppDelegate::*)(), int, QWidget*>> cases = {
        {&AppDelegate::showAuthScreen, 1, (QWidget*)w->authScreen},
        {&AppDelegate::showAddPrinterScreen, 2, (QWidget*)w->addPrinterScreen},
        {&AppDelegate::showSharingPrinterScreen, 3, (QWidget*)w->sharingPrinterScreen},
        {&AppDelegate::showRegistrationEnableScreen, 4, (QWidget*)w->registrationEnableScreen},
        {&AppDelegate::showRegistrationScreen, 5, (QWidget*)w->registrationScreen},
        {&AppDelegate::showGuideScreen, 6, (QWidget*)w->guideScreen},
        {&AppDelegate::showGuideRegistrationEnableScreen, 6, (QWidget*)w->guideScreen},
        {&AppDelegate::showSetting, 7, (QWidget*)w->printerScreen},
    };
    for (const auto& [show, state, screen] : cases) {
        (d.*show)();
        EXPECT_EQ(d.nCrtFunctionNum, state);
        EXPECT_EQ(w->currentScreen(), screen) << state;
    }
    w->settingsTab->trigger();
    EXPECT_EQ(d.nCrtFunctionNum, 8);
    w->printerTab->trigger();
    EXPECT_EQ(d.nCrtFunctionNum, 7);
}

TEST(Screens, ProfileAuthenticateOpensTheRegistrationWizard) {
    AppHarness h;
    AppDelegate& d = h.launch();
    MainWindow* w = d.window();
    d.showSetting();
    w->settingScreen->authenticateButton()->click();
    EXPECT_EQ(d.nCrtFunctionNum, 1);
    EXPECT_EQ(w->currentScreen(), (QWidget*)w->authScreen);
    EXPECT_FALSE(w->toolbar->isVisibleTo(w));
    EXPECT_TRUE(w->wizardNext->isVisibleTo(w));
}

TEST(Screens, PlusButtonTooltipFollowsTheLimit) {
    AppHarness h;
    AppDelegate& d = h.launch();
    d.window()->printerScreen->reloadPrinters(agents());
    NBXPrinterCell* header = d.window()->printerScreen->printerCell(1);
    ASSERT_NE(header, nullptr);
    d.setPlusbtn(false);
    EXPECT_FALSE(header->addButton()->isEnabled());
    d.setPlusbtn(true);
    EXPECT_TRUE(header->addButton()->isEnabled());
    EXPECT_FALSE(header->addButton()->toolTip().isEmpty());
}

}  // namespace
}  // namespace nbx
