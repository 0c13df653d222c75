#include "AppHarness.h"
#include "PrinterSharing.h"
#include "SettingScreen.h"

namespace nbx::test {
namespace {

const std::string kSilence =
    "The Nimbrix service is currently not available. Please try again later.";

PropertyValue reply(const char* command, const char* result,
                    std::initializer_list<PropertyDictionary::Entry> more = {}) {
    PropertyValue value = dict(more);
    value.set("Command", command);
    value.set("Result", result);
    return value;
}

std::vector<std::string> commandsSent(const ScriptedBackend& backend) {
    std::vector<std::string> commands;
    for (const auto& request : backend.requests())
        commands.push_back(request["Command"].string().value_or(""));
    return commands;
}

// Each reply changes the list, its file and the registration box as the back end says; the
// overlay always comes down, and exactly the follow-up requests named go out.
TEST(BackendReply, EveryCommandsBranches) {
    const PropertyValue own = dict(
        {{"agentType", "PRT_AGENT"}, {"agentAlias", "Laser"}, {"agentMacAddress", "aabbccddeeff"}});
    const PropertyValue stored =
        PropertyValue::array({marker("TitleMyPrinter"), own, marker("TitleFriendPrinter")});
    const PropertyValue titles =
        PropertyValue::array({marker("TitleMyPrinter"), marker("TitleFriendPrinter")});
    // What a refresh without a service leaves.
    const PropertyValue offline = PropertyValue::array({marker("TitleMyPrinter")});
    PropertyValue renamed = stored;
    renamed.arrayPtr()->at(1).set("agentAlias", "New name");
    const PropertyValue polled = reply("GetPolling", "SUCCESS",
                                       {{"Alias", "Laser"},
                                        {"Mac address", "aabbccddeeff"},
                                        {"agentId", "a1"},
                                        {"ModelName", "X1"},
                                        {"PaidDevice", false},
                                        {"Black", 40},
                                        {"Cyan", -1},
                                        {"OrderURL", "u"}});
    const PropertyValue filled = PropertyValue::array({marker("My Drive"), marker("TitleMyPrinter"),
                                                       dict({{"agentAlias", "Laser"},
                                                             {"agentMacAddress", "aabbccddeeff"},
                                                             {"agentId", "a1"},
                                                             {"agentModelName", "X1"},
                                                             {"isPaidDevice", false},
                                                             {"currKTonerLevel", 40},
                                                             {"currCTonerLevel", -1},
                                                             {"tonerOrderingURL", "u"}}),
                                                       marker("TitleFriendPrinter")});
    const auto polling = [](const char* mac) {
        return reply("GetPolling", "SUCCESS", {{"Alias", "Laser"}, {"agentMacAddress", mac}});
    };
    using Sent = std::vector<std::string>;
    const Sent poll = {"GetPolling"}, update = {"UpdatePolling"};
    const Sent pollAndStop = {"GetPolling", "StopPolling"};
    struct Case {
        const char* name;
        PropertyValue reply;
        PropertyValue listBefore;  // null: none
        PropertyValue fileAfter;   // null: no file
        Sent sent;
        bool boxTicked = false;
        Texts alertPrefixes = {};
        int state = kPrinterTab;
    };
    const Case cases[] = {
        {"GetPollingMacAddressFallback", polled, nullptr, filled, poll, true},
        {"GetPollingKeepsAFullList", polling("AABBCCDDEEFF"), stored, stored, poll, true},
        {"GetPollingOwnPrinterGoneStops", polling("001122334455"), stored, stored, pollAndStop},
        {"GetPollingFailureLeavesTitles", reply("GetPolling", "FAIL"), nullptr, titles, poll},
        {"UpdateSuccessRefreshesAndTellsTheSettingTab", reply("UpdatePolling", "SUCCESS"), nullptr,
         offline, Sent{"UpdatePolling", "GetPolling"}, false,
         Texts{kOffline, kOffline, "Settings updated successfully"}, kSettingTab},
        {"UpdateFailureWithCode", reply("UpdatePolling", "FAIL", {{"ErrorCode", "61001"}}), nullptr,
         nullptr, update, false, Texts{"Internal cloud server error has occurred."}},
        {"UpdateFailureWithoutCode", reply("UpdatePolling", "FAIL"), nullptr, nullptr, update,
         false, Texts{kSilence}},
        {"StopRefreshes", reply("StopPolling", "SUCCESS"), nullptr, offline,
         Sent{"StopPolling", "GetPolling"}, false, Texts{kOffline, kOffline}},
        {"ChangeAliasRenamesTheSelectedRow", reply("ChangeAlias", "SUCCESS"), stored, renamed,
         Sent{"ChangeAlias"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        h.realThreads = true;
        h.signIn("82", "101234");
        const std::string command = c.reply["Command"].string().value_or("");
        h.backend.script(command, c.reply);
        if (!c.listBefore.isNull()) h.writeUserFile("AgentPL.plist", c.listBefore);
        AppDelegate& d = h.launch();
        if (!c.listBefore.isNull()) {
            showRows(d, c.listBefore);
            d.window()->printerScreen->printerTable()->setCurrentRow(1);
        }
        d.window()->renameSheet->nameField()->setText("  New   name ");
        d.shared().nCrtFunctionNum = c.state;
        d.showRefreshWindow("START", true);
        d.backend().post(dict({{"Command", command}}));
        const auto settled = [&] {
            return commandsSent(h.backend) == c.sent && d.window()->refreshView->isHidden() &&
                   h.alerts->shown.size() == c.alertPrefixes.size();
        };
        ASSERT_TRUE(h.waitFor(settled, std::chrono::seconds(5)))
            << testing::PrintToString(commandsSent(h.backend));
        h.waitFor([] { return false; }, std::chrono::milliseconds(300));
        EXPECT_TRUE(settled());
        EXPECT_EQ(h.readUserFile("AgentPL.plist"), c.fileAfter);
        for (std::size_t i = 0; i < c.alertPrefixes.size(); ++i)
            EXPECT_EQ(h.alerts->shown[i].text.rfind(c.alertPrefixes[i], 0), 0u)
                << h.alerts->shown[i].text;
        EXPECT_EQ(d.window()->settingScreen->registrationCheckBox()->isChecked(), c.boxTicked);
    }
}

// Silence ends in the alert at the limit; a reply after that changes nothing.
TEST(BackendWatchdog, SilenceAlertsAndALateReplyIsIgnored) {
    AppHarness h;
    h.realThreads = true;
    h.backend.silent = true;
    AppDelegate& d = h.launch();
    d.showRefreshWindow("START", true);
    const auto started = std::chrono::steady_clock::now();
    d.backend().post(dict({{"Command", "GetPolling"}}));
    ASSERT_TRUE(h.waitFor([&] { return h.alerts->shown.size() == 1; }, std::chrono::seconds(5)));
    EXPECT_GE(std::chrono::steady_clock::now() - started, 20 * h.backendTick);
    EXPECT_EQ(h.alerts->texts(), Texts{kSilence});
    EXPECT_TRUE(d.window()->refreshView->isHidden());
    auto late = DistributedNotificationCenter::connectSessionBus(nullptr);
    ASSERT_TRUE(late);
    late->postNotificationName(BackendLink::kReplyName,
                               reply("GetPolling", "SUCCESS", {{"Alias", "Laser"}}));
    h.waitFor([] { return false; }, std::chrono::milliseconds(300));
    EXPECT_EQ(d.shared().dicGetAgentInfo.get().size(), 0u);
    EXPECT_TRUE(h.readUserFile("AgentPL.plist").isNull());
}

// Only pieces that a ";" ends count; both maker and model are needed for a request.
TEST(RegistrationRequest, DeviceIdentifiers) {
    const struct {
        const char* deviceID;
        const char* model;  // shown after picking
        bool request;
        bool nativeSupport;
    } cases[] = {
        {"MFG:Acme;MDL:X1;", "X1", true, false},
        {"mfg:Acme;mdl:X1;MODE:PCL,NBX;", "X1", true, true},
        {"MFG:Acme;MDL:X1", "", false, false},
        {"MDL:Y", "", false, false},
        {"MDL:X1;CMD:PS;", "X1", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.deviceID);
        AppHarness h;
        h.signIn("82", "101234");
        AppDelegate& d = h.launch();
        d.checkMyInfoPlist();
        EXPECT_EQ(PrinterSharing::modelOfDeviceID(c.deviceID), c.model);
        d.sharing().dicRegistSelectPrint.set(dict({{"DeviceID", c.deviceID},
                                                   {"ConnectionType", "USB"},
                                                   {"VID", "04f9"},
                                                   {"PID", ""},
                                                   {"SerialNumber", "S1"},
                                                   {"MACAddress", ""},
                                                   {"Address", "Q"}}));
        EXPECT_EQ(d.sharing().makeSPInfoDic(), c.request);
        EXPECT_EQ(d.sharing().bPriterSupportNBX, c.nativeSupport);
        if (!c.request) continue;
        EXPECT_EQ(d.backend().dicUpdateInfo().description(), dict({{"Command", "UpdatePolling"},
                                                                   {"ModelName", "X1"},
                                                                   {"Alias", "X1"},
                                                                   {"MDL", "X1"},
                                                                   {"MFG", "Acme"},
                                                                   {"BindPhone_CountryCode", "82"},
                                                                   {"BindPhone_Number", "101234"},
                                                                   {"VID", "04f9"},
                                                                   {"PID", ""},
                                                                   {"Mac address", ""},
                                                                   {"Address", "Q"},
                                                                   {"ConnectionType", "USB"},
                                                                   {"SerialNumber", "S1"}})
                                                                 .description());
    }
}

// The page's buttons follow the box, the registered model and what is shown.
TEST(RegistrationPage, ButtonStates) {
    const struct {
        bool signedIn, registered, boxOn;
        const char* shown;
        bool search, cancel, apply;
    } cases[] = {
        {false, false, false, "", false, false, false},
        {true, true, false, "X1", false, true, true},
        {true, true, true, "X1", true, false, false},
        {true, true, true, "X2", true, true, true},
        {true, false, false, "", false, false, false},
        {true, false, true, "", true, true, false},
        {true, false, true, "X2", true, true, true},
    };
    for (const auto& c : cases) {
        AppHarness h;
        if (c.signedIn) h.signIn("82", "101234");
        AppDelegate& d = h.launch();
        d.checkMyInfoPlist();
        if (c.registered) d.shared().dicGetAgentInfo.set(dict({{"Alias", "L"}, {"MDL", "X1"}}));
        SettingScreen* screen = d.window()->settingScreen;
        screen->registrationCheckBox()->setChecked(c.boxOn);
        screen->modelField()->setText(c.shown);
        d.sharing().ManagedPrinterRegistrationBtn();
        EXPECT_EQ(screen->registrationCheckBox()->isEnabled(), c.signedIn);
        EXPECT_EQ(screen->searchButton()->isEnabled(), c.search);
        EXPECT_EQ(screen->cancelButton()->isEnabled(), c.cancel);
        EXPECT_EQ(screen->applyButton()->isEnabled(), c.apply);
    }
}

// The picker runs with the product's command line; its first printer is shown, and nothing
// without a picker but the alert.
TEST(DevicePicker, RunsThePickerAndShowsItsChoice) {
    for (const bool installed : {false, true}) {
        AppHarness h;
        h.signIn("82", "101234");
        if (installed) {
            h.installHelper(
                "PDLM",
                "p=${2#-ReturnInfo:}\ncat > \"$p\" <<'E'\n"
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><array><dict>"
                "<key>ModelName</key><string>Laser 1</string><key>DeviceID</key>"
                "<string>MFG:Acme;MDL:Laser 1;</string></dict></array></plist>\nE\n");
        }
        AppDelegate& d = h.launch();
        d.sharing().clickSelectPrinter();
        h.runWorkers();
        h.drainEvents();
        if (!installed) {
            EXPECT_EQ(h.alerts->texts(), Texts{kQueueFailed});
            continue;
        }
        EXPECT_EQ(h.helperArguments("PDLM"),
                  "-Type:ALL|-ReturnInfo:/" + h.home.path() +
                      "/Library/Application Support/Valmora/Nimbrix/"
                      "PrinterInfo.plist|-|Caller:Nimbrix|-SkipList|-singleselect|");
        EXPECT_EQ(d.window()->settingScreen->modelField()->text(), "Laser 1");
        EXPECT_TRUE(d.window()->settingScreen->applyButton()->isEnabled());
    }
}

}  // namespace
}  // namespace nbx::test
