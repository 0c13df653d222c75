#include <gtest/gtest.h>
#include <QAction>
#include <QCheckBox>
#include <QPushButton>
#include <QToolBar>

#include <climits>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "AppHarness.h"
#include "MainWindow.h"
#include "NBXPrinterQManger.h"
#include "PrintLaterSheet.h"
#include "PrinterScreen.h"
#include "PrivateCupsd.h"
#include "PropertyListFile.h"

namespace nbx {
namespace {

using test::AppHarness;

TEST(LaunchArguments, ValuesStartAfterOneLeadingCharacterAndTheKey) {
    struct {
        QString argument;
        int pages;
        std::string color, duplex, paper, copies, target;
    } const cases[] = {
        {"-TotalPages:3", 3, "", "", "", "", ""},
        {"TotalPages:3", 0, "", "", "", "", ""},  // no leading character: the digit is lost
        {"TotalPages:34", 4, "", "", "", "", ""},
        {"-TotalPages:12abc", 12, "", "", "", "", ""},
        {"-TotalPages:", 0, "", "", "", "", ""},
        {"-TotalPages:99999999999999999999", INT_MAX, "", "", "", "", ""},
        {"-TotalPages:-5", -5, "", "", "", "", ""},
        {"-ColorModel:Gray", 0, "Gray", "", "", "", ""},
        {"-Duplex:DuplexNoTumble", 0, "", "DuplexNoTumble", "", "", ""},
        {"-PaperSize:A4", 0, "", "", "A4", "", ""},
        {"-TotalCopies:2", 0, "", "", "", "2", ""},
        {"-nbxtarget:/tmp/jobs/target.plist", 0, "", "", "", "", "/tmp/jobs/target.plist"},
        {"nbxtarget:", 0, "", "", "", "", ""},
        {"-Something:else", 0, "", "", "", "", ""},
    };
    for (const auto& c : cases) {
        AppHarness h;
        AppDelegate d({h.alerts, h.urls, [] {}, {}});
        d.readLaunchArguments({"nimbrix-agent", c.argument});
        const std::string a = c.argument.toStdString();
        EXPECT_EQ(d.argTotalPages, c.pages) << a;
        EXPECT_EQ(d.argColor, c.color) << a;
        EXPECT_EQ(d.argDueplex, c.duplex) << a;
        EXPECT_EQ(d.argPaperSize, c.paper) << a;
        EXPECT_EQ(d.argCopiesVal, c.copies) << a;
        EXPECT_EQ(d.argTargetPlist, c.target) << a;
    }
}

TEST(LaunchArguments, TheProgramNameIsNeverRead) {
    AppHarness h;
    AppDelegate d({h.alerts, h.urls, [] {}, {}});
    d.readLaunchArguments({"-TotalPages:9"});
    EXPECT_EQ(d.argTotalPages, 0);
}

TEST(Locale, RegionIsTheSecondPiece) {
    struct {
        std::string locale, region;
    } const cases[] = {{"de_DE", "DE"}, {"en_US", "US"}, {"en", ""},
                       {"", ""},        {"_", ""},       {"zh_Hans_CN", "Hans"}};
    for (const auto& c : cases)
        EXPECT_EQ(AppDelegate::regionOfLocale(c.locale), c.region);
}

TEST(Startup, CommonValuesFormTheUserFolderAndPaths) {
    struct {
        const char* locale;
        std::string language, region;
    } const cases[] = {{"C", "English", "US"}, {"de_DE.UTF-8", "Deutsch", "DE"}};
    for (const auto& c : cases) {
        AppHarness h(c.locale);
        AppDelegate& d = h.launch();
        EXPECT_TRUE(std::filesystem::is_directory(h.home.appSupportFolder()));
        EXPECT_EQ(d.sNBXSaveInfoPath, h.userFile("com.Valmora.nbx.plist"));
        EXPECT_EQ(d.sMyInfoFilePath, h.userFile("MyInfo.plist"));
        EXPECT_EQ(d.sAgentPLFilePath, h.userFile("AgentPL.plist"));
        EXPECT_EQ(d.sAppFolderPath, h.helperFolder());
        EXPECT_EQ(d.sSystemLanguage, c.language);
        EXPECT_EQ(d.sSystemRegion, c.region);
        EXPECT_GT(d.arrCountyCode.size(), 100u);
        EXPECT_EQ(d.window()->windowTitle(), "Nimbrix 2.0");
    }
}

TEST(Startup, WithoutTheQueueTheAddPrinterScreenOpens) {
    AppHarness h;
    AppDelegate& d = h.launch();
    EXPECT_EQ(d.nCrtFunctionNum, 2);
    EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->addPrinterScreen);
    EXPECT_TRUE(d.window()->toolbar->isHidden());
    EXPECT_TRUE(d.window()->isVisible());
}

// --- print launches

struct PrintLaunch {
    const char* name;
    bool signedIn;
    PropertyValue saved;  // the job-preference file; null: none
    bool nextEnabled;
    bool popupTicked;
};

void PrintTo(const PrintLaunch& c, std::ostream* os) {
    *os << c.name;
}

class PrintLaunchWindow : public ::testing::TestWithParam<PrintLaunch> {};

TEST_P(PrintLaunchWindow, ShowsTheTargetChoice) {
    const auto& c = GetParam();
    AppHarness h;
    if (c.signedIn) h.signIn("82", "0101234");
    if (!c.saved.isNull()) h.writeUserFile("com.Valmora.nbx.plist", c.saved);
    const std::string target = h.home.path() + "/job-target.plist";
    AppDelegate& d = h.launch({"-TotalPages:3", "-nbxtarget:" + QString::fromStdString(target)});
    PrinterScreen* screen = d.window()->printerScreen;
    EXPECT_EQ(d.argTargetPlist, target);
    EXPECT_TRUE(d.bAfterCapabilityCheck);
    EXPECT_TRUE(d.window()->isVisible());
    EXPECT_FALSE(d.window()->settingsTab->isVisible());
    EXPECT_TRUE(screen->popupCheckBox()->isVisibleTo(screen));
    EXPECT_EQ(screen->nextButton()->isEnabled(), c.nextEnabled);
    EXPECT_EQ(screen->popupCheckBox()->isChecked(), c.popupTicked);
    EXPECT_TRUE(d.window()->windowFlags() & Qt::WindowStaysOnTopHint);
}

PropertyValue saved(const char* direct, PropertyValue sendInfo) {
    PropertyValue file = PropertyValue::dictionary({{"DirectPrint", direct}});
    if (!sendInfo.isNull()) file.set("SendInfo", std::move(sendInfo));
    return file;
}

INSTANTIATE_TEST_SUITE_P(
    Table, PrintLaunchWindow,
    ::testing::Values(
        PrintLaunch{"NotSignedIn", false, PropertyValue(), false, false},
        PrintLaunch{"NoPreferences", true, PropertyValue(), true, false},
        PrintLaunch{
            "UnknownFriendDirect", true,
            saved("TRUE", PropertyValue::dictionary({{"Type", "Friend"}, {"PhoneNumber", "-1"}})),
            true, true},
        PrintLaunch{"NoTargetDirect", true, saved("TRUE", PropertyValue()), true, true},
        PrintLaunch{"TargetNotDirect", true,
                    saved("FALSE", PropertyValue::dictionary({{"Type", "Default"}})), true, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(PrintLaunch, DirectPrintShowsNoWindow) {
    AppHarness h;
    h.signIn("82", "101234");
    h.writeUserFile("com.Valmora.nbx.plist",
                    saved("TRUE", PropertyValue::dictionary({{"Type", "Default"}})));
    AppDelegate& d = h.launch({"-nbxtarget:" + QString::fromStdString(h.home.path()) + "/t"});
    EXPECT_FALSE(d.bAfterCapabilityCheck);
    EXPECT_FALSE(d.window()->isVisible());
}

TEST(PrintLaunch, CancelDeletesTheTargetFileAndQuits) {
    AppHarness h;
    const std::string target = h.home.path() + "/job-target.plist";
    std::ofstream(target) << "job";
    AppDelegate& d = h.launch({"-nbxtarget:" + QString::fromStdString(target)});
    d.window()->printerScreen->cancelButton()->click();
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_EQ(h.quits, 1);
}

TEST(Quitting, CancelWithoutAJobDeletesNothing) {
    AppHarness h;
    h.writeUserFile("com.Valmora.nbx.plist", saved("TRUE", PropertyValue()));
    AppDelegate& d = h.launch();
    d.cancelAction();
    EXPECT_EQ(h.quits, 1);
    EXPECT_TRUE(std::filesystem::exists(h.userFile("com.Valmora.nbx.plist")));
}

TEST(Quitting, ClosingNeverChangesTheStoredDirectPrint) {
    for (const char* stored : {"TRUE", "FALSE"}) {
        for (const bool ticked : {false, true}) {
            AppHarness h;
            h.writeUserFile("com.Valmora.nbx.plist", saved(stored, PropertyValue()));
            AppDelegate& d = h.launch();
            d.window()->printerScreen->popupCheckBox()->setChecked(ticked);
            EXPECT_TRUE(d.windowShouldClose());
            d.window()->close();
            EXPECT_EQ(h.quits, 1);
            EXPECT_EQ(readPropertyListFile(h.userFile("com.Valmora.nbx.plist"))
                          .value_or(nullptr)["DirectPrint"]
                          .string(),
                      stored);
        }
    }
}

// --- the system print queue, against a private scheduler

class QueueStartup : public test::PrivateCupsdTest {
protected:
    void SetUp() override {
        test::PrivateCupsdTest::SetUp();
        if (IsSkipped()) return;
        NBXPrinterQManger::removePrinterQ();
    }
    void TearDown() override { NBXPrinterQManger::removePrinterQ(); }
    test::ScopedEnv ppd{"NBX_PPD_FILE", NBX_BIN_DIR "/../share/nimbrix/ppd/Nimbrix.gz"};
};

TEST_F(QueueStartup, FirstScreenFollowsTheQueue) {
    {
        AppHarness h("C", false);
        AppDelegate& d = h.launch();
        EXPECT_EQ(d.nCrtFunctionNum, 2);
        d.nextAction();
        EXPECT_TRUE(NBXPrinterQManger::checkPrinterQ());
        EXPECT_EQ(d.nCrtFunctionNum, 7);
        EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->printerScreen);
        EXPECT_FALSE(d.window()->titleViewVisible());
    }
    AppHarness h("C", false);
    AppDelegate& d = h.launch();
    EXPECT_EQ(d.nCrtFunctionNum, 7);
    EXPECT_TRUE(d.window()->printerTab->isChecked());
    EXPECT_FALSE(d.window()->toolbar->isHidden());
    EXPECT_EQ(h.workers.size(), 1u);  // the background refresh
}

TEST_F(QueueStartup, FailedInstallShowsTheAlertAndStays) {
    test::ScopedEnv badPpd("NBX_PPD_FILE", "/nonexistent/Nimbrix.gz");
    AppHarness h("C", false);
    AppDelegate& d = h.launch();
    d.nextAction();
    EXPECT_TRUE(h.alerts->shown.empty());  // handed over, not shown at once
    AppHarness::drainEvents();
    ASSERT_EQ(h.alerts->shown.size(), 1u);
    EXPECT_EQ(h.alerts->shown[0].text, "Adding Printer in System Preferences is failed.");
    EXPECT_EQ(d.nCrtFunctionNum, 2);
}

}  // namespace
}  // namespace nbx
