#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <regex>

#include "AppHarness.h"
#include "AuthScreen.h"
#include "JSONKit.h"
#include "NBXAuthenticationManger.h"
#include "NBXLogger.h"

namespace nbx::test {
namespace {

const char* const kPushPath = "/nbx/v2/idmmgtsvc/user/verification/push";

// Opens the registration screen, picks the country and types the number, as a user would.
void enterPhone(AppDelegate& d, const char* code, const char* phone) {
    d.showAuthScreen();
    PhoneEntry* entry = d.window()->authScreen->phoneEntry();
    const int index = countryIndex(d, code);
    ASSERT_GE(index, 0) << code;
    entry->countryPopup()->setCurrentIndex(index);
    emit entry->countryPopup()->activated(index);
    QTest::keyClicks(entry->phoneField(), phone);
    emit entry->phoneField()->editingFinished();
}

void requestPin(AppHarness& h, AppDelegate& d, bool sms) {
    d.window()->authScreen->pinEntry()->smsCheckBox()->setChecked(sms);
    d.window()->authScreen->certButton()->click();
    h.runWorkers();
}

void typePinAndNext(AppHarness& h, AppDelegate& d, const std::string& pin) {
    QTest::keyClicks(d.window()->authScreen->pinEntry()->pinField(), QString::fromStdString(pin));
    d.window()->wizardNext->click();
    h.runWorkers();
}

TEST(PinAndPhoneNormalisation, AsTheServiceComparesThem) {
    // Leading zeros go in both, as the registration test shows; these are what it cannot type.
    const std::pair<const char*, const char*> pins[] = {
        {"", "0"}, {"x1", "0"}, {"99999999999", "2147483647"}};
    for (const auto& [typed, sent] : pins)
        EXPECT_EQ(NBXConnectManger::pinText(typed), sent) << typed;
    const std::pair<const char*, const char*> phones[] = {{"0", ""}, {"", ""}};
    for (const auto& [typed, sent] : phones)
        EXPECT_EQ(NBXConnectManger::removeLeadingZeros(typed), sent) << typed;
}

TEST(CountryList, SortedByLocalizedNameWithTheLocaleRegionPreselected) {
    const std::tuple<const char*, const char*, const char*> defaults[] = {
        {"en_GB.UTF-8", "United Kingdom (44)", "44"}, {"de_DE.UTF-8", "Deutschland (49)", "49"}};
    // Pairs a byte-wise or case-sensitive sort would put the other way round.
    const std::tuple<const char*, const char*, const char*> ordered[] = {
        {"en_GB.UTF-8", "Réunion (262)", "Romania (40)"},
        {"en_GB.UTF-8", "Côte d'Ivoire (225)", "Croatia (385)"},
        {"de_DE.UTF-8", "Ägypten (20)", "Albanien (355)"},
        {"de_DE.UTF-8", "Österreich (43)", "Pakistan (92)"},
        {"de_DE.UTF-8", "Südafrika (27)", "Sudan (249)"}};
    for (const auto& [locale, title, defaultCode] : defaults) {
        SCOPED_TRACE(locale);
        AppHarness h(locale);
        AppDelegate& d = h.launch();
        QComboBox* popup = d.window()->authScreen->phoneEntry()->countryPopup();
        QLineEdit* code = d.window()->authScreen->phoneEntry()->codeField();
        ASSERT_GT(popup->count(), 100);
        for (const auto& [orderLocale, earlier, later] : ordered) {
            if (std::string(orderLocale) != locale) continue;
            ASSERT_GE(popup->findText(earlier), 0) << earlier;
            EXPECT_LT(popup->findText(earlier), popup->findText(later)) << earlier;
        }
        EXPECT_EQ(popup->currentText().toStdString(), title);
        EXPECT_FALSE(popup->itemIcon(popup->currentIndex()).isNull());
        EXPECT_EQ(code->text().toStdString(), defaultCode);
        emit popup->activated(countryIndex(d, "81"));
        EXPECT_EQ(code->text().toStdString(), "81");
        d.registration().clickContryFlag(popup->count() + 5);  // out of range: nothing changes
        EXPECT_EQ(code->text().toStdString(), "81");
    }
}

// The whole registration with the queue missing, and its failures: the service's refusals and a
// lookup that fails are told, a connection lost after the lookup is not.
TEST(Registration, StoresTheNormalisedIdentityOrAlertsAndStoresNothing) {
    enum class Down { Never, AtRequest, AtCheck, DroppedAtRequest };
    struct {
        const char* name;
        bool sms;
        const char* code;
        Down lookupDown;
        const char* pin;  // null: the issued one with a leading zero
        Texts alerts;
    } const cases[] = {
        {"push", false, "44", Down::Never, nullptr, {}},
        {"sms", true, "44", Down::Never, nullptr, {}},
        {"wrong PIN", false, "44", Down::Never, "1", {"Incorrect PIN."}},
        {"unknown country", false, "99999", Down::Never, nullptr, {"Authentication failed."}},
        {"down at request", false, "44", Down::AtRequest, nullptr, {"Connection failed."}},
        {"dropped at request", false, "44", Down::DroppedAtRequest, nullptr, {}},
        {"down at check", false, "44", Down::AtCheck, nullptr, {"Connection failed."}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Cloud cloud;
        std::optional<ScopedEnv> down;
        if (c.lookupDown == Down::AtRequest) down.emplace("NBX_LOOKUP_SERVER", "127.0.0.1:1");
        if (c.lookupDown == Down::DroppedAtRequest)
            cloud.injectFault(
                dict({{"path", "/idmmgtsvc/user/verification/push"}, {"drop", true}}));
        AppHarness h;
        AppDelegate& d = h.launch();
        enterPhone(d, "44", "007700900123");
        d.window()->authScreen->phoneEntry()->codeField()->setText(c.code);
        requestPin(h, d, c.sms);
        PinEntry* pin = d.window()->authScreen->pinEntry();
        const bool pinAsked = std::string(c.code) == "44" && c.lookupDown != Down::AtRequest &&
                              c.lookupDown != Down::DroppedAtRequest;
        const std::string issued = cloud.latestPin("44", "7700900123").value_or("0");
        if (pinAsked) {
            const auto requests = cloud.requestsTo(kPushPath);
            ASSERT_EQ(requests.size(), 1u);
            EXPECT_EQ(requests[0]["body"].string(), c.sms ? "sms" : "push");
            EXPECT_EQ(requests[0]["headers"]["countryCode"].string(), "44");
            EXPECT_EQ(requests[0]["headers"]["identifier"].string(), "7700900123");
            EXPECT_TRUE(pin->pinField()->isEnabled());
            EXPECT_FALSE(pin->countdownText()->isHidden());
            EXPECT_TRUE(d.registration().countdownRunning());
            ASSERT_TRUE(h.alerts->shown.empty());
            if (c.lookupDown == Down::AtCheck) down.emplace("NBX_LOOKUP_SERVER", "127.0.0.1:1");
            typePinAndNext(h, d, c.pin ? c.pin : "0" + issued);
        }
        EXPECT_EQ(h.alerts->texts(), c.alerts);
        EXPECT_TRUE(d.window()->wizardNext->isEnabled());
        if (!c.alerts.empty() || !pinAsked) {
            EXPECT_FALSE(std::filesystem::exists(h.userFile("MyInfo.plist")));
            EXPECT_EQ(d.shared().nCrtFunctionNum, 1);
            EXPECT_EQ(pin->pinField()->isEnabled(), pinAsked);
            EXPECT_FALSE(d.window()->authScreen->certButton()->isHidden());
            EXPECT_EQ(d.registration().countdownActive(), pinAsked);
            continue;
        }
        const auto checks = cloud.requestsTo("/nbx/v2/idmmgtsvc/user/verification");
        ASSERT_EQ(checks.size(), 1u);
        const PropertyValue body =
            objectFromJSONData(checks[0]["body"].string().value_or("")).value_or(nullptr);
        EXPECT_EQ(body["pinCode"].string(), std::to_string(std::stoi(issued)));
        PropertyValue stored = h.readUserFile("MyInfo.plist");
        stored.dictionaryPtr()->erase("NotiAgree");  // the refresh that follows may add it
        EXPECT_EQ(stored, dict({{"CountryCode", "44"}, {"PhoneNumber", "7700900123"}}));
        // The queue is missing, so adding it comes next.
        EXPECT_EQ(d.shared().nCrtFunctionNum, 2);
        EXPECT_EQ(d.window()->currentScreen(), d.window()->addPrinterScreen.get());
        EXPECT_FALSE(d.window()->toolbar->isVisibleTo(d.window()));
        EXPECT_FALSE(pin->nextProgress()->isVisible());
        EXPECT_TRUE(AppHarness::waitFor([&] { return !d.registration().countdownRunning(); }));
    }
}

// The service's refusals of a phone go through the code table; a number of zeros only is
// refused before a request leaves the agent, and quietly: the service never said no.
TEST(Registration, PhoneRefusalsGoThroughTheCodeTable) {
    Cloud cloud;
    const std::tuple<const char*, const char*, bool, std::string> cases[] = {
        {"44", "7700900123", false, ""},
        {"44", "0012345678901234567", false,
         "Invalid country code or phone number. [Error Code: 2 - 12000]"},
        {"99999", "7700900123", false,
         "Invalid country code or phone number. [Error Code: 2 - 12001]"},
        {"44", "7700900123", true, "Connection error [Error Code: 2 - 1002]"},
    };
    for (const auto& [code, phone, lookupDown, alert] : cases) {
        SCOPED_TRACE(std::string(code) + " " + phone);
        std::optional<ScopedEnv> down;
        if (lookupDown) down.emplace("NBX_LOOKUP_SERVER", "127.0.0.1:1");
        AppHarness h;
        h.launch();
        EXPECT_EQ(NBXConnectManger::sendInfoToServerWithPhone(phone, code, {*h.alerts, false, {}}),
                  alert.empty());
        EXPECT_EQ(h.alerts->texts(), alert.empty() ? Texts{} : Texts{alert});
    }
    AppHarness h;
    EXPECT_FALSE(NBXConnectManger::requestPINCode(dict({{"Code", "44"}, {"PhoneNumber", ""}}),
                                                  false, {*h.alerts, false, {}}));
    EXPECT_EQ(h.alerts->texts(), Texts{});
    EXPECT_TRUE(cloud.requestsTo(kPushPath).empty());
}

// A slow service leaves the window responsive, and quitting meanwhile takes under a second.
TEST(Registration, SlowServiceNeitherFreezesTheWindowNorHoldsTheQuit) {
    Cloud cloud;
    cloud.injectFault(dict({{"path", "/idmmgtsvc/user/verification/push"}, {"delayMs", 30000}}));
    AppHarness h;
    h.realThreads = true;
    AppDelegate& d = h.launch();
    d.window()->show();
    enterPhone(d, "44", "7700900123");
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(20);
    d.window()->authScreen->certButton()->click();
    EXPECT_TRUE(d.window()->authScreen->pinEntry()->certificateProgress()->isVisible());
    EXPECT_TRUE(d.window()->authScreen->certButton()->isHidden());
    ASSERT_TRUE(AppHarness::waitFor([&] { return cloud.requestsTo(kPushPath).size() == 1; }));
    AppHarness::waitFor([] { return false; }, std::chrono::milliseconds(500));
    EXPECT_GE(ticks, 10);
    const auto start = std::chrono::steady_clock::now();
    h.quit();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    EXPECT_TRUE(h.alerts->shown.empty());
}

TEST(RegistrationCountdown, ExpiryClosesThePinFieldWithAnAlert) {
    Cloud cloud;
    AppHarness h;
    h.pinValiditySeconds = 3;
    h.countdownTick = std::chrono::milliseconds(20);
    AppDelegate& d = h.launch();
    enterPhone(d, "44", "7700900123");
    requestPin(h, d, false);
    ASSERT_TRUE(AppHarness::waitFor([&] { return !h.alerts->shown.empty(); }));
    EXPECT_EQ(h.alerts->texts(), Texts{"Connection timed out."});
    PinEntry* pin = d.window()->authScreen->pinEntry();
    EXPECT_EQ(pin->countdownText()->text(), "0:00");
    EXPECT_FALSE(pin->pinField()->isEnabled());
    EXPECT_TRUE(pin->pinField()->text().isEmpty());
    EXPECT_TRUE(pin->countdownText()->isHidden());
    EXPECT_TRUE(pin->clock()->isHidden());
}

// With the product's one-second tick: a new request starts over, and stopping takes effect at once.
TEST(RegistrationCountdown, SecondRequestRestartsItAndStopEndsItQuietly) {
    Cloud cloud;
    AppHarness h;
    AppDelegate& d = h.launch();
    enterPhone(d, "44", "7700900123");
    requestPin(h, d, false);
    ASSERT_TRUE(AppHarness::waitFor([&] { return d.registration().secondsLeft() < 1799; }));
    requestPin(h, d, true);
    EXPECT_GE(d.registration().secondsLeft(), 1799);
    EXPECT_TRUE(d.registration().countdownRunning());
    const auto requests = cloud.requestsTo(kPushPath);
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1]["body"].string(), "sms");
    d.registration().stopTimer();
    EXPECT_TRUE(AppHarness::waitFor([&] { return !d.registration().countdownRunning(); },
                                    std::chrono::milliseconds(1000)));
    AppHarness::drainEvents();
    EXPECT_TRUE(h.alerts->shown.empty());
}

TEST(VerifCode, OnlyAKnownUnsubscribedUserIsRefused) {
    Cloud cloud(users({user("44", "111"), user("44", "222", {{"isSubscribed", false}})}));
    AppHarness h;
    AppDelegate& d = h.launch();
    EXPECT_TRUE(d.registration().verifCode("44", "111"));
    EXPECT_FALSE(d.registration().verifCode("44", "222"));
    ScopedEnv down("NBX_LOOKUP_SERVER", "127.0.0.1:1");
    EXPECT_TRUE(d.registration().verifCode("44", "222"));
}

// Everything the agent writes while registering and binding an account: its standard error
// (the cloud's debug lines carry whole bodies), and every file in the home, the log among them.
std::string everythingWritten(const AppHarness& h, const std::string& standardError) {
    std::string text;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(h.home.path()))
        if (entry.is_regular_file())
            text += std::string(std::istreambuf_iterator<char>(std::ifstream(entry.path()).rdbuf()),
                                {});
    return text + standardError;
}

TEST(Secrets, NeitherTheTokensNorThePinReachWhatTheAgentWrites) {
    Cloud cloud;
    AppHarness h;
    const std::string capture = h.home.path() + "/stderr.txt";
    const int savedError = dup(2);
    const int captured = open(capture.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_TRUE(savedError >= 0 && captured >= 0 && dup2(captured, 2) == 2);
    close(captured);
    {
        AppDelegate& d = h.launch();
        enterPhone(d, "44", "7700900123");
        requestPin(h, d, false);
        const std::string pin = cloud.latestPin("44", "7700900123").value_or("");
        typePinAndNext(h, d, pin);
        h.writeUserFile("va.plist",
                        dict({{"ValmoraAccountID", *dataByAESEncryption("ann@va")},
                              {"ValmoraAccountToken", *dataByAESEncryption("vt-4Q9")},
                              {"accessToken", h.readUserFile("va.plist")["accessToken"]}}));
        d.registration().requestToBindVA();
        h.runWorkers();
        h.quit();
        NBXLogger::flush();
        std::fflush(stderr);
        dup2(savedError, 2);
        close(savedError);

        const std::string token = cloud.state()["users"].at(0)["accessToken"].string().value_or("");
        ASSERT_GE(token.size(), 8u);
        ASSERT_EQ(cloud.requestsTo("/nbx/v2/idmmgtsvc/user/account/bind").size(), 1u);
        std::stringstream err;
        err << std::ifstream(capture).rdbuf();
        const std::string written = everythingWritten(h, err.str());
        EXPECT_NE(written.find("responseData["), std::string::npos) << "no debug lines to search";
        EXPECT_EQ(written.find(token), std::string::npos);
        EXPECT_EQ(written.find("vt-4Q9"), std::string::npos);
        EXPECT_FALSE(
            std::regex_search(written, std::regex("pin[^0-9]{0,6}0*" + pin, std::regex::icase)));
    }
}

// With the queue present, the next screen follows the saved choice.
using RegistrationWithQueue = QueueTest;

TEST_F(RegistrationWithQueue, NextScreenFollowsTheSavedChoice) {
    ASSERT_TRUE(NBXPrinterQManger::makePrinterQ());
    for (const bool savedChoice : {false, true}) {
        Cloud cloud;
        AppHarness h("C", false);
        if (savedChoice) {
            h.writeUserFile("com.Valmora.nbx.plist",
                            dict({{"SendInfo", dict({{"Type", "Default"}})}}));
        }
        AppDelegate& d = h.launch();
        h.runWorkers();
        enterPhone(d, "1", "05550100");
        requestPin(h, d, false);
        const auto issued = cloud.latestPin("1", "5550100");
        ASSERT_TRUE(issued);
        typePinAndNext(h, d, *issued);
        EXPECT_EQ(NBXAuthenticationManger::returnAuthInfo(),
                  (std::array<std::string, 2>{"1", "5550100"}));
        EXPECT_EQ(d.shared().nCrtFunctionNum, savedChoice ? 7 : 3);
    }
}

}  // namespace
}  // namespace nbx::test
