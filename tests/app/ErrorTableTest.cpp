#include <gtest/gtest.h>
#include <QAction>

#include <filesystem>

#include "AppHarness.h"
#include "MainWindow.h"
#include "NBXConnectManger.h"
#include "NBXRefreshView.h"
#include "PrinterScreen.h"
#include "PropertyListFile.h"

namespace nbx {
namespace {

using test::AppHarness;

const char* const kPhoneLimit =
    "You can't register printer anymore to this phone number(%1%) because the number of "
    "registrable printers has been exceeded. Please try again after removing a registered printer "
    "from mobile app.";

struct CodeRow {
    std::vector<std::string> codes;
    std::string message;
};

// The whole table as the user sees it in English.
const std::vector<CodeRow> kRows = {
    {{"1002"}, "Connection error"},
    {{"12000", "12001"}, "Invalid country code or phone number."},
    {{"13000"}, "The phone number has not registered yet."},
    {{"15000", "15001", "30000"}, "Registered information was wrong in cloud server."},
    {{"16000"}, "Adding Printer in System Preferences is failed."},
    {{"49999", "61001", "71000", "89999", "99999"}, "Internal cloud server error has occurred."},
    {{"11000", "11001", "13001", "14000", "14001", "18000", "19000", "20000", "32000", "33000",
      "41000", "41001", "42000", "430000", "44000", "45000"},
     "Web service request data was wrong."},
    {{"61000", "62000", "63000", "64000", "65000"}, "Authentication failed."},
    {{"43000", "4300", "0", "13002x", "abc", "1002 "}, "Unknown cloud server error."},
};

TEST(ErrorTable, EveryCodeShowsItsMessageAndTheCodeLine) {
    AppHarness h;
    for (const auto& row : kRows) {
        for (const auto& code : row.codes) {
            h.alerts->shown.clear();
            NBXConnectManger::runAlertPanel(code, {*h.alerts});
            ASSERT_EQ(h.alerts->shown.size(), 1u) << code;
            const AlertRequest& alert = h.alerts->shown[0];
            EXPECT_EQ(alert.title, "Error");
            EXPECT_EQ(alert.text, row.message + " [Error Code: 2 - " + code + "]") << code;
            EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
        }
    }
}

TEST(ErrorTable, CodesAsNumbersReadAsTheirDecimalText) {
    AppHarness h;
    struct {
        PropertyValue code;
        std::string text;
    } const cases[] = {
        {PropertyValue(1002), "Connection error [Error Code: 2 - 1002]"},
        {PropertyValue(43000LL), "Unknown cloud server error. [Error Code: 2 - 43000]"},
        {PropertyValue(430000U), "Web service request data was wrong. [Error Code: 2 - 430000]"},
        {PropertyValue(), "Unknown cloud server error."}};
    for (const auto& c : cases) {
        h.alerts->shown.clear();
        NBXConnectManger::runAlertPanel(c.code, {*h.alerts});
        ASSERT_EQ(h.alerts->shown.size(), 1u);
        EXPECT_EQ(h.alerts->shown[0].text, c.text);
    }
}

TEST(ErrorTable, SilentCodesShowNothing) {
    AppHarness h;
    for (const char* code : {"PTS71282", "73000"}) {
        NBXConnectManger::runAlertPanel(code, {*h.alerts});
    }
    EXPECT_TRUE(h.alerts->shown.empty());
}

TEST(ErrorTable, PhoneLimitNamesTheStoredNumber) {
    struct {
        const char* country;
        const char* number;  // nullptr: no MyInfo file
        std::string shown;
    } const cases[] = {{"1", "0010", "+110"},
                       {"44", "0311", "+44311"},
                       {"82", "000", "+82"},
                       {nullptr, nullptr, ""}};
    for (const auto& c : cases) {
        AppHarness h;
        if (c.number) h.signIn(c.country, c.number);
        NBXConnectManger::runAlertPanel("31002", {*h.alerts});
        ASSERT_EQ(h.alerts->shown.size(), 1u);
        std::string expected = kPhoneLimit;
        expected.replace(expected.find("%1%"), 3, c.shown);
        EXPECT_EQ(h.alerts->shown[0].text, expected + " [Error Code: 2 - 31002]");
    }
}

TEST(ErrorTable, CodeLineNeedsBothPlaceholdersAndACode) {
    struct {
        std::string pattern;
        std::string code;
        std::string line;
    } const cases[] = {
        {"[Error Code: %1% - %2%]", "12000", "[Error Code: 2 - 12000]"},
        {"%2% then %1%", "7", ""},  // the second placeholder must follow the first
        {"[%1%]", "7", ""},
        {"[%2%]", "7", ""},
        {"[Error Code: %1% - %2%]", "", ""},
        {"%1%%2%%1%%2%", "9", "29%1%%2%"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(NBXConnectManger::codeLine(c.pattern, c.code), c.line) << c.pattern;
    }
}

TEST(ErrorTable, SecondLanguageShowsItsOwnTexts) {
    AppHarness h("de_DE.UTF-8");
    NBXConnectManger::runAlertPanel("1002", {*h.alerts});
    NBXConnectManger::runAlertMSG("Adding Printer in System Preferences is failed.", {*h.alerts});
    ASSERT_EQ(h.alerts->shown.size(), 2u);
    EXPECT_EQ(h.alerts->shown[0].title, "Fehler");
    EXPECT_EQ(h.alerts->shown[0].text, "Verbindungsfehler [Fehlercode: 2 - 1002]");
    EXPECT_NE(h.alerts->shown[1].text, "Adding Printer in System Preferences is failed.");
}

TEST(ErrorTable, MessageAlertShowsTheTextAlone) {
    AppHarness h;
    NBXConnectManger::runAlertMSG("Connection error", {*h.alerts});
    ASSERT_EQ(h.alerts->shown.size(), 1u);
    EXPECT_EQ(h.alerts->shown[0].title, "Error");
    EXPECT_EQ(h.alerts->shown[0].text, "Connection error");
}

// --- the controller's reaction

bool overlayShown(AppDelegate& d) {
    return !d.window()->refreshView->isHidden();
}

TEST(ManageErrCode, EveryCodeStopsTheOverlay) {
    for (const char* code : {"PTS71282", "73000", "1002", "43000", "13002"}) {
        AppHarness h;
        AppDelegate& d = h.launch();
        d.showRefreshWindow("START", true);
        ASSERT_TRUE(overlayShown(d));
        d.manageErrCode(code);
        EXPECT_FALSE(overlayShown(d)) << code;
        EXPECT_TRUE(d.window()->refreshAction->isEnabled());
        const bool silent = std::string(code) == "PTS71282" || std::string(code) == "73000" ||
                            std::string(code) == "13002";
        EXPECT_EQ(h.alerts->shown.empty(), silent) << code;
        EXPECT_EQ(h.quits, 0);
    }
}

TEST(ManageErrCode, UnknownPhoneWithoutSetupApplicationOnlyDropsTheAgentFile) {
    AppHarness h;
    AppDelegate& d = h.launch();
    h.writeUserFile("AgentPL.plist", PropertyValue::array());
    d.manageErrCode("13002");
    EXPECT_FALSE(std::filesystem::exists(h.userFile("AgentPL.plist")));
    EXPECT_TRUE(h.alerts->shown.empty());
    EXPECT_EQ(h.quits, 0);
}

TEST(ManageErrCode, UnknownPhoneAsksToRegisterAgain) {
    struct {
        int answer;
        std::string setupArguments;
        int quits;
    } const cases[] = {{0, "-userchange", 0}, {1, "", 1}};
    for (const auto& c : cases) {
        AppHarness h;
        h.installSetupApplication();
        AppDelegate& d = h.launch();
        h.writeUserFile("AgentPL.plist", PropertyValue::array());
        h.alerts->answers = {c.answer};
        d.manageErrCode("13002");
        ASSERT_EQ(h.alerts->shown.size(), 1u);
        EXPECT_EQ(h.alerts->shown[0].title, "Authentication Confirmation");
        EXPECT_EQ(h.alerts->shown[0].text,
                  "Phone is not registered. Please, register your phone again.");
        EXPECT_EQ(h.alerts->shown[0].buttons, (std::vector<std::string>{"Yes", "No"}));
        EXPECT_EQ(h.setupArguments(), c.setupArguments);
        EXPECT_EQ(h.quits, c.quits);
        EXPECT_FALSE(std::filesystem::exists(h.userFile("AgentPL.plist")));
    }
}

TEST(ManageErrCode, QueueFailureReturnsToTheSettingScreen) {
    AppHarness h;
    AppDelegate& d = h.launch();
    h.writeUserFile("AgentPL.plist", PropertyValue::array());
    d.setPlusbtn(false);
    d.manageErrCode("16000");
    ASSERT_EQ(h.alerts->shown.size(), 1u);
    EXPECT_EQ(h.alerts->shown[0].text,
              "Adding Printer in System Preferences is failed. [Error Code: 2 - 16000]");
    EXPECT_FALSE(std::filesystem::exists(h.userFile("AgentPL.plist")));
    EXPECT_EQ(d.nCrtFunctionNum, 7);
    EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->printerScreen);
}

TEST(ManageErrCode, PrintLaunchEndsUnlessTheCapabilityCheckIsDone) {
    for (const bool done : {false, true}) {
        AppHarness h;
        AppDelegate& d = h.launch({"-nbxtarget:" + QString::fromStdString(h.home.path()) + "/t"});
        d.bCapabilityCheckCompleted = done;
        d.manageErrCode("1002");
        EXPECT_EQ(h.quits, done ? 0 : 1);
    }
}

}  // namespace
}  // namespace nbx
