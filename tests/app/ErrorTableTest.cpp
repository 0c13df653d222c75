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
        ASSERT_EQ(h.alerts->texts(), text.empty() ? Texts{} : Texts{text});
        if (text.empty()) continue;
        EXPECT_EQ(h.alerts->shown[0].title, "Error");
        EXPECT_EQ(h.alerts->shown[0].buttons, Texts{"OK"});
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
                  Texts{"You can't register printer anymore to this phone number(" + c.shown +
                        ") because the number of registrable printers has been exceeded. Please "
                        "try again after removing a registered printer from mobile app. [Error "
                        "Code: 2 - 31002]"});
    }
}

// The ordinary pattern and a missing code are in the table above; these are broken translations.
TEST(ErrorTable, CodeLineNeedsBothPlaceholdersAndACode) {
    struct {
        std::string pattern, code, line;
    } const cases[] = {
        {"%2% then %1%", "7", ""},  // the second placeholder must follow the first
        {"[%1%]", "7", ""},
        {"[%2%]", "7", ""},
        {"%1%%2%%1%%2%", "9", "29%1%%2%"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NBXConnectManger::codeLine(c.pattern, c.code), c.line) << c.pattern;
}

TEST(ErrorTable, SecondLanguageShowsItsOwnTexts) {
    AppHarness h("de_DE.UTF-8");
    NBXConnectManger::runAlertPanel("1002", {*h.alerts});
    NBXConnectManger::runAlertMSG(kQueueFailed, {*h.alerts});
    ASSERT_EQ(h.alerts->shown.size(), 2u);
    EXPECT_EQ(h.alerts->shown[0].title, "Fehler");
    EXPECT_EQ(h.alerts->shown[0].text, "Verbindungsfehler [Fehlercode: 2 - 1002]");
    EXPECT_NE(h.alerts->shown[1].text, kQueueFailed);
}

// --- the controller's reaction

const char* const kRegisterAgain = "Phone is not registered. Please, register your phone again.";

TEST(ManageErrCode, EveryCodeStopsTheOverlay) {
    struct {
        std::string code;
        bool setupInstalled;  // the unknown phone asks to register again only with it
        int answer, quits;
        std::string setupArguments;
        Texts alerts;
        int state;
    } const cases[] = {
        {"PTS71282", false, 0, 0, "", {}, 2},
        {"73000", false, 0, 0, "", {}, 2},
        {"1002", false, 0, 0, "", {"Connection error [Error Code: 2 - 1002]"}, 2},
        {"16000", false, 0, 0, "", {kQueueFailed + " [Error Code: 2 - 16000]"}, 7},
        {"13002", false, 0, 0, "", {}, 2},
        {"13002", true, 0, 0, "-userchange|", {kRegisterAgain}, 2},
        {"13002", true, 1, 1, "", {kRegisterAgain}, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code + c.setupArguments);
        AppHarness h;
        if (c.setupInstalled) h.installHelper(kSetup);
        AppDelegate& d = h.launch();
        h.writeUserFile("AgentPL.plist", PropertyValue::array());
        h.alerts->answers = {c.answer};
        d.showRefreshWindow("START", true);
        ASSERT_FALSE(d.window()->refreshView->isHidden());
        d.manageErrCode(c.code);
        h.runWorkers();
        EXPECT_TRUE(d.window()->refreshView->isHidden());
        EXPECT_TRUE(d.window()->refreshAction->isEnabled());
        ASSERT_EQ(h.alerts->texts(), c.alerts);
        EXPECT_EQ(h.quits, c.quits);
        EXPECT_EQ(h.helperArguments(kSetup), c.setupArguments);
        EXPECT_EQ(d.shared().nCrtFunctionNum, c.state);
        if (c.code == "13002" || c.code == "16000") {
            EXPECT_FALSE(std::filesystem::exists(h.userFile("AgentPL.plist")));
        }
        if (c.state == 7) {
            EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->printerScreen);
        }
        if (!c.setupInstalled) continue;
        EXPECT_EQ(h.alerts->shown[0].title, "Authentication Confirmation");
        EXPECT_EQ(h.alerts->shown[0].buttons, (Texts{"Yes", "No"}));
    }
}

TEST(ManageErrCode, PrintLaunchEndsUnlessTheCapabilityCheckIsDone) {
    for (const bool done : {false, true}) {
        AppHarness h;
        AppDelegate& d = h.launch({h.targetArgument()});
        d.printTarget().bCapabilityCheckCompleted = done;
        d.manageErrCode("1002");
        EXPECT_EQ(h.quits, done ? 0 : 1);
    }
}

}  // namespace
}  // namespace nbx::test
