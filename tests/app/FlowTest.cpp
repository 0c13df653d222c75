#include "AppHarness.h"

namespace nbx::test {
namespace {

PropertyValue agents() {
    return PropertyValue::array({marker("My Drive"), marker("TitleMyPrinter"),
                                 dict({{"agentType", "PC_AGENT"},
                                       {"agentAlias", "Office"},
                                       {"agentMacAddress", "AA:BB"},
                                       {"isPaidDevice", true}}),
                                 marker("TitleFriendPrinter"),
                                 dict({{"agentType", "PRT_AGENT"},
                                       {"agentModelName", "M2020"},
                                       {"friendUserId", "u7"},
                                       {"firstName", "Ana"},
                                       {"lastName", "Lee"}})});
}

TEST(RecordTarget, StoresTheChoiceAndKeepsTheRestOfTheFile) {
    struct {
        const char* name;
        int printerRow;  // -1: none
        bool friendRow;
        const char *code, *phone;
        PropertyValue sendInfo;
    } const cases[] = {
        {"Nothing", -1, false, "", "", dict({{"Type", "Default"}})},
        {"RowZeroIsNoTarget", 0, false, "", "", dict({{"Type", "Default"}})},
        {"OwnPrinter", 2, false, "", "",
         dict({{"Type", "Printer"},
               {"isPaidDevice", true},
               {"ModelName", "Office"},
               {"MACAddress", "AA:BB"}})},
        {"FriendsPrinter", 4, false, "", "",
         dict({{"Type", "Printer"},
               {"isPaidDevice", false},
               {"FirstName", "Ana"},
               {"LastName", "Lee"},
               {"ModelName", "M2020"},
               {"FriendUserId", "u7"}})},
        {"FriendPhoneOfZeros", -1, true, "82", "000",
         dict({{"Type", "Friend"}, {"Code", "82"}, {"PhoneNumber", ""}})},
        {"FriendWithoutPhone", -1, true, "82", "",
         dict({{"Type", "Friend"}, {"PhoneNumber", "-1"}})},
        // No code typed: the region of the locale (C reads as en_US) gives 1.
        {"FriendCodeFromRegion", -1, true, "", "555",
         dict({{"Type", "Friend"}, {"Code", "1"}, {"PhoneNumber", "555"}})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        h.writeUserFile("com.Valmora.nbx.plist", dict({{"DirectPrint", "TRUE"}}));
        AppDelegate& d = h.launch();
        showRows(d, agents());
        PrinterScreen* screen = d.window()->printerScreen;
        if (c.printerRow >= 0) screen->printerTable()->item(c.printerRow)->setSelected(true);
        if (c.friendRow) screen->friendTable()->item(0)->setSelected(true);
        screen->friendEntry()->codeField()->setText(c.code);
        screen->friendEntry()->phoneField()->setText(c.phone);
        d.shared().nCrtFunctionNum = 7;
        d.nextAction();
        const PropertyValue file = h.readUserFile("com.Valmora.nbx.plist");
        EXPECT_EQ(file["SendInfo"], c.sendInfo) << file.description();
        EXPECT_EQ(file["DirectPrint"].string(), "TRUE");
        EXPECT_EQ(h.quits, 1);
    }
}

TEST(RecordTargetOnPrintLaunch, UnwrittenTargetRestoresThePreferences) {
    AppHarness h;
    h.signIn("82", "101234");
    const PropertyValue before =
        dict({{"DirectPrint", "FALSE"}, {"SendInfo", dict({{"Type", "Default"}})}});
    h.writeUserFile("com.Valmora.nbx.plist", before);
    AppDelegate& d = h.launch({h.targetArgument()});
    // A printer of the window whose record is gone from the saved list.
    const PropertyValue rows = PropertyValue::array(
        {marker("TitleMyPrinter"),
         dict({{"agentType", "PRT_AGENT"}, {"agentAlias", "Desk"}, {"agentMacAddress", "0a"}})});
    showRows(d, rows);
    d.window()->printerScreen->printerTable()->setCurrentRow(1);
    d.shared().nCrtFunctionNum = 7;
    d.nextAction();
    EXPECT_EQ(h.alerts->texts(), Texts{"Registered information was wrong in cloud server."});
    EXPECT_EQ(h.readUserFile("com.Valmora.nbx.plist"), before);
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
    EXPECT_FALSE(d.window()->refreshAction->isEnabled());
    std::thread([&d] { d.showRefreshWindow("PAUSE", true); }).join();
    std::thread([&d] { d.showRefreshWindow("STOP", false); }).join();
    AppHarness::drainEvents();
    EXPECT_TRUE(overlay->isHidden());
    EXPECT_TRUE(d.window()->aboutButton->isEnabled());
}

// Without a phone the list empties and the user is told; signed in, both refreshes run.
TEST(Refresh, EndsWithTheOverlayDown) {
    for (const bool signedIn : {false, true}) {
        AppHarness h;
        if (signedIn) h.signIn("82", "101234");
        AppDelegate& d = h.launch();
        d.shared().arrSaveAgentList.set(agents());
        d.clickRefreshbtnOnMain();
        ASSERT_EQ(h.workers.size(), 1u);
        h.runWorkers();
        EXPECT_TRUE(d.window()->refreshView->isHidden());
        EXPECT_EQ(d.window()->alertSheet->isVisible(), !signedIn);
        if (signedIn) {
            EXPECT_EQ(d.backend().dicUpdateInfo()["Command"].string(), "GetPolling");
            continue;
        }
        EXPECT_EQ(d.shared().arrSaveAgentList.get().size(), 0u);
        EXPECT_EQ(d.window()->printerScreen->printerTable()->count(), 0);
        EXPECT_EQ(d.window()->alertSheet->message().toStdString(),
                  "Please authenticate your phone number in My Profile first.");
        d.window()->alertSheet->okButton()->click();
        EXPECT_FALSE(d.window()->alertSheet->isVisible());
    }
}

// The setup program runs off the main thread; afterwards the current tab is refreshed.
TEST(SetupApplication, MissingOneIsReportedAndAPresentOneGetsItsMode) {
    const std::tuple<bool, int, int> cases[] = {{false, 7, 7}, {true, 7, 7}, {true, 8, 7}};
    for (const auto& [installed, state, after] : cases) {
        AppHarness h;
        h.signIn("82", "101234");
        if (installed) h.installHelper(kSetup);
        AppDelegate& d = h.launch();
        d.shared().nCrtFunctionNum = state;
        d.runNBXSetup("signout");
        EXPECT_EQ(h.helperArguments(kSetup), "");
        ASSERT_EQ(h.workers.size(), installed ? 1u : 0u);
        h.runWorkers();
        AppHarness::drainEvents();
        EXPECT_EQ(h.helperArguments(kSetup), installed ? "-signout|" : "");
        EXPECT_EQ(h.alerts->texts(), (installed ? Texts{kOffline, kOffline} : Texts{kQueueFailed}));
        EXPECT_EQ(d.shared().nCrtFunctionNum, after);
        if (installed) {
            EXPECT_EQ(d.backend().dicUpdateInfo()["Command"].string(), "GetPolling");
        }
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
        const PropertyValue file = h.readUserFile("MyInfo.plist");
        EXPECT_EQ(file["PrinterLater"].boolean(), ticked);
        EXPECT_EQ(file["PhoneNumber"].string(), "101234");
        EXPECT_EQ(d.checkPrintLaterAgain(), ticked);
        EXPECT_FALSE(d.window()->printLaterSheet->isVisible());
    }
}

TEST(Sheets, AboutDiagnosisLinksRenameAndCountdownTexts) {
    AppHarness h;
    AppDelegate& d = h.launch();
    MainWindow* w = d.window();
    AboutSheet* about = w->aboutSheet;
    w->aboutAction->trigger();
    EXPECT_TRUE(about->isVisible());
    EXPECT_TRUE(about->versionLine().startsWith("2.00.125 ("));
    EXPECT_EQ(about->diagnoseButton()->accessibleName(), "Diagnose");
    EXPECT_EQ(about->diagnosis()->accessibleName(), "Diagnosis results");
    EXPECT_FALSE(about->diagnosis()->accessibleDescription().isEmpty());
    about->diagnoseButton()->click();
    // The checks run on a worker, held here: the main thread only shows that they run.
    EXPECT_FALSE(about->diagnoseButton()->isEnabled());
    EXPECT_EQ(about->diagnosis()->toPlainText(), "Checking...");
    h.runWorkers();
    EXPECT_TRUE(about->diagnoseButton()->isEnabled());
    // The harness's lookup server is a closed port.
    const QString lines = about->diagnosis()->toPlainText();
    EXPECT_TRUE(lines.startsWith("FAIL  lookup")) << lines.toStdString();
    EXPECT_EQ(lines.count('\n'), 10) << lines.toStdString();
    d.showRefreshWindow("START", true);
    about->okButton()->click();
    EXPECT_FALSE(about->isVisible());
    EXPECT_TRUE(w->refreshView->isHidden());
    d.clickMoreInfo();
    emit about->siteLink()->linkActivated("ignored");
    EXPECT_EQ(h.urls->opened, (Texts{"https://www.nimbrix.example/agree_device_management.html",
                                     "https://www.nimbrix.example"}));
    // Long enough for the rename to cut a name to 45 characters itself.
    QTest::keyClicks(w->renameSheet->nameField(), QString(50, 'x'));
    EXPECT_EQ(w->renameSheet->nameField()->text().size(), 46);
    const std::pair<int, QString> cases[] = {
        {1800, "30:00"}, {65, "1:05"}, {10, "0:10"}, {9, "0:09"}, {0, "0:00"}};
    for (const auto& [seconds, text] : cases) {
        EXPECT_EQ(ProfilePhoneSheet::countdownText(seconds), text) << seconds;
        EXPECT_EQ(PhoneRegistration::countdownText(seconds), text) << seconds;
    }
}

}  // namespace
}  // namespace nbx::test
