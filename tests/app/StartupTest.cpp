#include "AppHarness.h"

namespace nbx::test {
namespace {

TEST(Startup, WithoutTheQueueTheAddPrinterScreenOpensInTheUsersLanguage) {
    const std::tuple<const char*, std::string, std::string> cases[] = {
        {"C", "English", "US"}, {"de_DE.UTF-8", "Deutsch", "DE"}};
    for (const auto& [locale, language, region] : cases) {
        AppHarness h(locale);
        AppDelegate& d = h.launch();
        EXPECT_TRUE(std::filesystem::is_directory(h.home.appSupportFolder()));
        EXPECT_EQ(d.sSystemLanguage(), language);
        EXPECT_EQ(d.sSystemRegion(), region);
        EXPECT_EQ(d.window()->windowTitle(), "Nimbrix 2.0");
        EXPECT_EQ(d.shared().nCrtFunctionNum, 2);
        EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->addPrinterScreen);
        EXPECT_TRUE(d.window()->toolbar->isHidden());
        EXPECT_TRUE(d.window()->isVisible());
    }
}

PropertyValue saved(const char* direct, PropertyValue sendInfo = {}) {
    PropertyValue file = dict({{"DirectPrint", direct}});
    if (!sendInfo.isNull()) file.set("SendInfo", std::move(sendInfo));
    return file;
}

TEST(PrintLaunch, ShowsTheTargetChoiceUnlessPrintingDirectly) {
    struct {
        const char* name;
        bool signedIn;
        PropertyValue saved;  // the job-preference file; null: none
        bool windowShown, nextEnabled, popupTicked;
    } const cases[] = {
        {"NotSignedIn", false, {}, true, false, false},
        {"NoPreferences", true, {}, true, true, false},
        {"UnknownFriendDirect", true,
         saved("TRUE", dict({{"Type", "Friend"}, {"PhoneNumber", "-1"}})), true, true, true},
        {"NoTargetDirect", true, saved("TRUE"), true, true, true},
        {"TargetNotDirect", true, saved("FALSE", dict({{"Type", "Default"}})), true, true, false},
        {"TargetDirect", true, saved("TRUE", dict({{"Type", "Default"}})), false, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        if (c.signedIn) h.signIn("82", "0101234");
        if (!c.saved.isNull()) h.writeUserFile("com.Valmora.nbx.plist", c.saved);
        AppDelegate& d = h.launch({"-TotalPages:3", h.targetArgument()});
        EXPECT_EQ(d.printTarget().argTargetPlist, h.target());
        EXPECT_EQ(d.printTarget().bAfterCapabilityCheck, c.windowShown);
        // A direct print that quits never builds the window.
        ASSERT_EQ(d.window() != nullptr, c.windowShown);
        if (!c.windowShown) continue;
        PrinterScreen* screen = d.window()->printerScreen;
        EXPECT_TRUE(d.window()->isVisible());
        EXPECT_FALSE(d.window()->settingsTab->isVisible());
        EXPECT_TRUE(screen->popupCheckBox()->isVisibleTo(screen));
        EXPECT_EQ(screen->nextButton()->isEnabled(), c.nextEnabled);
        EXPECT_EQ(screen->popupCheckBox()->isChecked(), c.popupTicked);
        EXPECT_TRUE(d.window()->windowFlags() & Qt::WindowStaysOnTopHint);
    }
}

TEST(Quitting, CancelDeletesOnlyTheJobsTargetFile) {
    for (const bool printLaunch : {true, false}) {
        AppHarness h;
        h.writeUserFile("com.Valmora.nbx.plist", saved("TRUE"));
        std::ofstream(h.target()) << "job";
        AppDelegate& d = printLaunch ? h.launch({h.targetArgument()}) : h.launch();
        d.window()->printerScreen->cancelButton()->click();
        EXPECT_EQ(std::filesystem::exists(h.target()), !printLaunch);
        EXPECT_TRUE(std::filesystem::exists(h.userFile("com.Valmora.nbx.plist")));
        EXPECT_EQ(h.quits, 1);
    }
}

TEST(Quitting, ClosingNeverChangesTheStoredDirectPrint) {
    for (const bool ticked : {false, true}) {
        AppHarness h;
        h.writeUserFile("com.Valmora.nbx.plist", saved(ticked ? "TRUE" : "FALSE"));
        AppDelegate& d = h.launch();
        d.window()->printerScreen->popupCheckBox()->setChecked(ticked);
        d.window()->close();
        EXPECT_EQ(h.quits, 1);
        EXPECT_EQ(h.readUserFile("com.Valmora.nbx.plist")["DirectPrint"].string(),
                  ticked ? "TRUE" : "FALSE");
    }
}

// --- the system print queue, against a private scheduler

using QueueStartup = QueueTest;

// Adding the queue moves on to the Printer tab, and a failed install is told and stays; signed
// in with the queue present, the main window opens with the phone in My Profile.
TEST_F(QueueStartup, FirstScreenFollowsTheQueue) {
    for (const bool installs : {false, true}) {
        SCOPED_TRACE(installs ? "installs" : "install fails");
        std::optional<ScopedEnv> badPpd;
        if (!installs) badPpd.emplace("NBX_PPD_FILE", "/nonexistent/Nimbrix.gz");
        AppHarness h("C", false);
        AppDelegate& d = h.launch();
        EXPECT_EQ(d.shared().nCrtFunctionNum, 2);
        d.nextAction();
        EXPECT_TRUE(h.alerts->shown.empty());  // a failure is handed over, not shown at once
        AppHarness::drainEvents();
        EXPECT_EQ(h.alerts->texts(), installs ? Texts{} : Texts{kQueueFailed});
        EXPECT_EQ(NBXPrinterQManger::checkPrinterQ(), installs);
        EXPECT_EQ(d.shared().nCrtFunctionNum, installs ? 7 : 2);
        if (!installs) continue;
        EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->printerScreen);
        EXPECT_FALSE(d.window()->titleViewVisible());
    }
    AppHarness h("C", false);
    h.signIn("82", "0101234");
    AppDelegate& d = h.launch();
    EXPECT_EQ(d.shared().nCrtFunctionNum, 7);
    EXPECT_EQ(d.window()->settingScreen->senderLabel()->text(), "+82 101234");
    EXPECT_TRUE(d.window()->printerTab->isChecked());
    EXPECT_FALSE(d.window()->toolbar->isHidden());
    EXPECT_EQ(h.workers.size(), 1u);  // the background refresh
}

}  // namespace
}  // namespace nbx::test
