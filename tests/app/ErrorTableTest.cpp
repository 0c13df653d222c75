#include "AppHarness.h"

namespace nbx::test {
namespace {

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
    // Numbers read as their decimal text; the silent codes show nothing.
    std::vector<std::pair<PropertyValue, std::string>> cases = {
        {PropertyValue(1002), "Connection error [Error Code: 2 - 1002]"},
        {PropertyValue(43000LL), "Unknown cloud server error. [Error Code: 2 - 43000]"},
        {PropertyValue(430000U), "Web service request data was wrong. [Error Code: 2 - 430000]"},
        {PropertyValue(), "Unknown cloud server error."},
        {"PTS71282", ""},
        {"73000", ""}};
    for (const auto& row : kRows) {
        for (const auto& code : row.codes)
            cases.push_back({code, row.message + " [Error Code: 2 - " + code + "]"});
    }
    AppHarness h;
    for (const auto& [code, text] : cases) {
        SCOPED_TRACE(code.description());
        h.alerts->shown.clear();
        NBXConnectManger::runAlertPanel(code, {*h.alerts});
        EXPECT_EQ(h.alerts->texts(),
                  text.empty() ? std::vector<std::string>{} : std::vector<std::string>{text});
        if (text.empty()) continue;
        EXPECT_EQ(h.alerts->shown[0].title, "Error");
        EXPECT_EQ(h.alerts->shown[0].buttons, std::vector<std::string>{"OK"});
    }
}

TEST(ErrorTable, PhoneLimitNamesTheStoredNumber) {
    struct {
        const char* country;
        const char* number;  // nullptr: no MyInfo file
        std::string shown;
    } const cases[] = {
        {"1", "0010", "+110"}, {"44", "0311", "+44311"}, {"82", "000", "+82"}, {{}, {}, ""}};
    for (const auto& c : cases) {
        AppHarness h;
        if (c.number) h.signIn(c.country, c.number);
        NBXConnectManger::runAlertPanel("31002", {*h.alerts});
        EXPECT_EQ(h.alerts->texts(),
                  std::vector<std::string>{
                      "You can't register printer anymore to this phone number(" + c.shown +
                      ") because the number of registrable printers has been exceeded. Please "
                      "try again after removing a registered printer from mobile app. [Error "
                      "Code: 2 - 31002]"});
    }
}

TEST(ErrorTable, CodeLineNeedsBothPlaceholdersAndACode) {
    struct {
        std::string pattern, code, line;
    } const cases[] = {
        {"[Error Code: %1% - %2%]", "12000", "[Error Code: 2 - 12000]"},
        {"%2% then %1%", "7", ""},  // the second placeholder must follow the first
        {"[%1%]", "7", ""},
        {"[%2%]", "7", ""},
        {"[Error Code: %1% - %2%]", "", ""},
        {"%1%%2%%1%%2%", "9", "29%1%%2%"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NBXConnectManger::codeLine(c.pattern, c.code), c.line) << c.pattern;
}

TEST(ErrorTable, MessageAlertsShowTheTextInTheUsersLanguage) {
    for (const bool german : {false, true}) {
        AppHarness h(german ? "de_DE.UTF-8" : "C");
        NBXConnectManger::runAlertPanel("1002", {*h.alerts});
        NBXConnectManger::runAlertMSG("Adding Printer in System Preferences is failed.",
                                      {*h.alerts});
        ASSERT_EQ(h.alerts->shown.size(), 2u);
        for (const auto& alert : h.alerts->shown)
            EXPECT_EQ(alert.title, german ? "Fehler" : "Error");
        EXPECT_EQ(h.alerts->shown[0].text, german ? "Verbindungsfehler [Fehlercode: 2 - 1002]"
                                                  : "Connection error [Error Code: 2 - 1002]");
        EXPECT_EQ(h.alerts->shown[1].text == "Adding Printer in System Preferences is failed.",
                  !german);
    }
}

// --- the controller's reaction

TEST(ManageErrCode, EveryCodeStopsTheOverlay) {
    for (const std::string code : {"PTS71282", "73000", "1002", "43000", "13002"}) {
        AppHarness h;
        AppDelegate& d = h.launch();
        d.showRefreshWindow("START", true);
        ASSERT_FALSE(d.window()->refreshView->isHidden());
        d.manageErrCode(code);
        EXPECT_TRUE(d.window()->refreshView->isHidden()) << code;
        EXPECT_TRUE(d.window()->refreshAction->isEnabled());
        const bool silent = code == "PTS71282" || code == "73000" || code == "13002";
        EXPECT_EQ(h.alerts->shown.empty(), silent) << code;
        EXPECT_EQ(h.quits, 0);
    }
}

TEST(ManageErrCode, UnknownPhoneDropsTheAgentFileAndAsksToRegisterAgain) {
    struct {
        bool setupInstalled;
        int answer;
        std::string setupArguments;
        int quits;
    } const cases[] = {{false, 0, "", 0}, {true, 0, "-userchange", 0}, {true, 1, "", 1}};
    for (const auto& c : cases) {
        AppHarness h;
        if (c.setupInstalled) h.installSetupApplication();
        AppDelegate& d = h.launch();
        h.writeUserFile("AgentPL.plist", PropertyValue::array());
        h.alerts->answers = {c.answer};
        d.manageErrCode("13002");
        EXPECT_FALSE(std::filesystem::exists(h.userFile("AgentPL.plist")));
        EXPECT_EQ(h.setupArguments(), c.setupArguments);
        EXPECT_EQ(h.quits, c.quits);
        ASSERT_EQ(h.alerts->shown.size(), c.setupInstalled ? 1u : 0u);
        if (!c.setupInstalled) continue;
        EXPECT_EQ(h.alerts->shown[0].title, "Authentication Confirmation");
        EXPECT_EQ(h.alerts->shown[0].text,
                  "Phone is not registered. Please, register your phone again.");
        EXPECT_EQ(h.alerts->shown[0].buttons, (std::vector<std::string>{"Yes", "No"}));
    }
}

TEST(ManageErrCode, QueueFailureReturnsToTheSettingScreen) {
    AppHarness h;
    AppDelegate& d = h.launch();
    h.writeUserFile("AgentPL.plist", PropertyValue::array());
    d.setPlusbtn(false);
    d.manageErrCode("16000");
    EXPECT_EQ(h.alerts->texts(), std::vector<std::string>{"Adding Printer in System Preferences "
                                                          "is failed. [Error Code: 2 - 16000]"});
    EXPECT_FALSE(std::filesystem::exists(h.userFile("AgentPL.plist")));
    EXPECT_EQ(d.nCrtFunctionNum, 7);
    EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->printerScreen);
}

TEST(ManageErrCode, PrintLaunchEndsUnlessTheCapabilityCheckIsDone) {
    for (const bool done : {false, true}) {
        AppHarness h;
        AppDelegate& d = h.launch({h.targetArgument()});
        d.bCapabilityCheckCompleted = done;
        d.manageErrCode("1002");
        EXPECT_EQ(h.quits, done ? 0 : 1);
    }
}

}  // namespace
}  // namespace nbx::test
