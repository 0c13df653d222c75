#include "AppHarness.h"
#include "ServiceSettings.h"

namespace nbx::test {
namespace {

PropertyValue me(const char* marketing) {
    return user("82", "101234",
                {{"pushId", "p-1"}, {"settings", dict({{"clientMarketingEula", marketing}})}});
}

class SettingsTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(emulator.ok());
        h.signIn("82", "101234");
    }
    int settingsRequests() {
        return static_cast<int>(emulator.requestsTo("/nbxd2/setting").size());
    }

    Cloud emulator;
    AppHarness h;
};

// The service is asked only while the choice is unknown, and its silence is not stored.
TEST_F(SettingsTest, NotificationBoxFollowsTheStoredChoiceOrTheService) {
    struct {
        const char* name;
        const char* stored;  // nullptr: none
        const char* service;
        bool serviceUp, ticked;
        const char* storedAfter;
    } const cases[] = {
        {"AskedAgreed", nullptr, "AGREED", true, true, "TRUE"},
        {"AskedRefused", nullptr, "DISAGREED", true, false, "FALSE"},
        {"StoredWins", "FALSE", "AGREED", true, false, "FALSE"},
        {"StoredTrue", "TRUE", "DISAGREED", true, true, "TRUE"},
        {"NoService", nullptr, "AGREED", false, false, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        emulator.seed(users({me(c.service)}));
        emulator.clearRequests();
        AppHarness fresh;
        PropertyValue info = dict({{"CountryCode", "82"}, {"PhoneNumber", "101234"}});
        if (c.stored) info.set("NotiAgree", c.stored);
        fresh.writeUserFile("MyInfo.plist", info);
        std::optional<ScopedEnv> down;
        if (!c.serviceUp) down.emplace("NBX_LOOKUP_SERVER", "127.0.0.1:1");
        AppDelegate& d = fresh.launch();
        d.settings().refreshSetting();
        AppHarness::drainEvents();
        EXPECT_EQ(d.window()->settingScreen->managementCheckBox()->isChecked(), c.ticked);
        const PropertyValue after = fresh.readUserFile("MyInfo.plist")["NotiAgree"];
        EXPECT_EQ(after, c.storedAfter ? PropertyValue(c.storedAfter) : PropertyValue());
        EXPECT_EQ(settingsRequests(), c.stored || !c.serviceUp ? 0 : 1);
        EXPECT_EQ(fresh.alerts->texts(), c.serviceUp ? Texts{} : Texts{kOffline});
    }
}

TEST_F(SettingsTest, AgreementsReachTheServiceAndTheFileFollowsTheBox) {
    emulator.seed(users({me("AGREED")}));
    AppDelegate& d = h.launch();
    EXPECT_TRUE(d.settings().requestUserLicenseAgree(true));
    EXPECT_TRUE(
        d.settings().registeredPushNIdentifier(dict({{"Code", "82"}, {"PhoneNumber", "101234"}})));
    QCheckBox* box = d.window()->settingScreen->managementCheckBox();
    box->click();
    h.runWorkers();
    const PropertyValue settings = emulator.state()["users"].at(0)["settings"];
    EXPECT_EQ(settings["isAgreedSuppliesMarketEULA"].string(), "true");
    EXPECT_EQ(settings["isAgreedSuppliesDeviceEULA"].string(), "true");
    EXPECT_EQ(settings["clientPushNoti"].string(), box->isChecked() ? "true" : "false");
    EXPECT_EQ(h.readUserFile("MyInfo.plist")["NotiAgree"].string(),
              box->isChecked() ? "TRUE" : "FALSE");

    ScopedEnv down("NBX_LOOKUP_SERVER", "127.0.0.1:1");
    box->click();
    h.runWorkers();
    EXPECT_EQ(h.readUserFile("MyInfo.plist")["NotiAgree"].string(),
              box->isChecked() ? "TRUE" : "FALSE");
    EXPECT_EQ(h.alerts->texts(), Texts{kOffline});
    EXPECT_TRUE(d.window()->refreshView->isHidden());
}

// The settings page's box keeps only the popup choice; the print window's keeps the rest.
TEST(PopupBoxes, SettingsBoxRewritesTheFileThePrintWindowsKeepsIt) {
    const PropertyValue before = dict({{"DirectPrint", "TRUE"}, {"SendInfo", dict({})}});
    const std::tuple<bool, bool, PropertyValue> cases[] = {
        {true, true, dict({{"DirectPrint", "FALSE"}})},
        {true, false, dict({{"DirectPrint", "TRUE"}})},
        {false, false, dict({{"DirectPrint", "FALSE"}, {"SendInfo", dict({})}})},
    };
    for (const auto& [settingsBox, ticked, after] : cases) {
        AppHarness h;
        h.writeUserFile(kPreferences, before);
        AppDelegate& d = h.launch();
        QCheckBox* box = settingsBox ? d.window()->settingScreen->printingPopupCheckBox()
                                     : d.window()->printerScreen->popupCheckBox();
        box->setChecked(!ticked);
        box->click();
        EXPECT_EQ(h.readUserFile(kPreferences), after) << settingsBox << ticked;
    }
}

TEST(RecentTarget, SelectedAgainOrFallsBackToTheFirstRow) {
    const PropertyValue rows = PropertyValue::array(
        {dict({{"agentType", "My Drive"}}),
         dict({{"agentType", "POST_AGENT"}, {"agentAlias", "Post"}}),
         dict({{"agentType", "TitleMyPrinter"}}),
         dict({{"agentType", "PRT_AGENT"}, {"agentAlias", "Desk"}, {"agentMacAddress", "0a"}}),
         dict({{"agentType", "TitleFriendPrinter"}}),
         dict({{"agentModelName", "M2020"},
               {"friendUserId", "u7"},
               {"firstName", "Ana"},
               {"lastName", "Lee"}})});
    struct {
        const char* name;
        PropertyValue sendInfo;  // null: none
        int printerRow, friendRow;
        const char* next;
        const char* typeAfter;
    } const cases[] = {
        {"None", {}, 0, -1, "Print Job", nullptr},
        {"OwnPrinter", dict({{"Type", "Printer"}, {"ModelName", "Desk"}, {"MACAddress", "0a"}}), 3,
         -1, "Print Job", "Printer"},
        {"PostOffice", dict({{"Type", "Printer"}, {"ModelName", "Post"}}), 1, -1, "Send Job",
         "Printer"},
        {"FriendsPrinter",
         dict({{"Type", "Printer"},
               {"ModelName", "M2020"},
               {"FirstName", "Ana"},
               {"LastName", "Lee"},
               {"FriendUserId", "u7"}}),
         5, -1, "Print Job", "Printer"},
        {"Gone", dict({{"Type", "Printer"}, {"ModelName", "Desk"}, {"MACAddress", "0b"}}), 0, -1,
         "Print Job", "Default"},
        {"FriendWithoutPhone", dict({{"Type", "Friend"}, {"Code", "82"}, {"PhoneNumber", "-1"}}),
         -1, 0, "Print Job", "Friend"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        if (!c.sendInfo.isNull()) h.writeUserFile(kPreferences, dict({{"SendInfo", c.sendInfo}}));
        AppDelegate& d = h.launch();
        PrinterScreen* screen = d.window()->printerScreen;
        showRows(d, rows);
        d.settings().settingGetPrinterInfo();
        EXPECT_EQ(screen->selectedPrinterRow(), c.printerRow);
        EXPECT_EQ(screen->selectedFriendRow(), c.friendRow);
        EXPECT_EQ(screen->nextButton()->text().toStdString(), c.next);
        EXPECT_EQ(h.readUserFile(kPreferences)["SendInfo"]["Type"].string(),
                  c.typeAfter ? std::optional<std::string>(c.typeAfter) : std::nullopt);
        if (c.friendRow < 0) continue;
        EXPECT_EQ(screen->friendEntry()->codeField()->text(), "82");
        EXPECT_TRUE(screen->friendEntry()->phoneField()->text().isEmpty());
        EXPECT_FALSE(screen->friendEntry()->isHidden());
    }
}

TEST(MyProfile, SignedInShowsThePhoneAndEditOtherwiseTheRegisterButton) {
    for (const bool signedIn : {true, false}) {
        AppHarness h;
        if (signedIn) h.signIn("82", "0101234");
        AppDelegate& d = h.launch();
        d.settings().updatePhoneInfo();
        SettingScreen* screen = d.window()->settingScreen;
        EXPECT_EQ(screen->senderLabel()->text(), signedIn ? "+82 101234" : "");
        EXPECT_EQ(screen->editButton()->isHidden(), !signedIn);
        EXPECT_EQ(screen->authenticateButton()->isHidden(), signedIn);
    }
}

}  // namespace
}  // namespace nbx::test
