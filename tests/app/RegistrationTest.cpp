#include <gtest/gtest.h>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <ostream>

#include "AppHarness.h"
#include "CloudEmulator.h"
#include "JSONKit.h"
#include "MainWindow.h"
#include "NBXAuthenticationManger.h"
#include "NBXPrinterQManger.h"
#include "NBXSendButton.h"
#include "PhoneEntry.h"
#include "PinEntry.h"
#include "PrivateCupsd.h"
#include "PropertyListFile.h"

namespace nbx {
namespace {

using test::AppHarness;
using test::CloudEmulator;
using test::ScopedEnv;

const char* const kPushPath = "/nbx/v2/idmmgtsvc/user/verification/push";

// The emulator answers the lookup; its PINs and request log tell what the agent sent.
struct Cloud {
    CloudEmulator emulator{{"--no-token-check", "--quiet"}};
    ScopedEnv lookup{"NBX_LOOKUP_SERVER", emulator.hostPort().c_str()};
};

// The agent's requests to one operation, lookups left out.
std::vector<PropertyValue> requestsTo(CloudEmulator& emulator, const char* path) {
    std::vector<PropertyValue> found;
    const PropertyValue all = emulator.requests();
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all.at(i)["path"].string() == path) found.push_back(all.at(i));
    }
    return found;
}

int countryIndex(const AppDelegate& d, const char* code) {
    for (std::size_t i = 0; i < d.arrCountyCode.size(); ++i) {
        if (d.arrCountyCode.at(i)["Code"].string() == code) return static_cast<int>(i);
    }
    return -1;
}

// Picks the country in the popup and types the number, as a user would.
void enterPhone(AppDelegate& d, const char* code, const char* phone) {
    PhoneEntry* entry = d.window()->authPhoneEntry;
    const int index = countryIndex(d, code);
    ASSERT_GE(index, 0) << code;
    entry->countryPopup()->setCurrentIndex(index);
    emit entry->countryPopup()->activated(index);
    entry->phoneField()->clear();
    QTest::keyClicks(entry->phoneField(), phone);
    emit entry->phoneField()->editingFinished();
}

void requestPin(AppHarness& h, AppDelegate& d, bool sms) {
    d.window()->authPinEntry->smsCheckBox()->setChecked(sms);
    d.window()->authCertButton->click();
    h.runAllWorkers();
}

void typePinAndNext(AppHarness& h, AppDelegate& d, const std::string& pin) {
    QLineEdit* field = d.window()->authPinEntry->pinField();
    field->clear();
    QTest::keyClicks(field, QString::fromStdString(pin));
    d.window()->wizardNext->click();
    h.runAllWorkers();
}

std::vector<std::string> alertTexts(const AppHarness& h) {
    std::vector<std::string> texts;
    for (const auto& alert : h.alerts->shown)
        texts.push_back(alert.text);
    return texts;
}

// --- pure pieces

TEST(CountdownText, MinutesAndTwoDigitSeconds) {
    const std::pair<int, const char*> cases[] = {{1800, "30:00"}, {65, "1:05"}, {10, "0:10"},
                                                 {9, "0:09"},     {0, "0:00"},  {600, "10:00"}};
    for (const auto& [seconds, shown] : cases)
        EXPECT_EQ(AppDelegate::countdownText(seconds).toStdString(), shown) << seconds;
}

TEST(PinAndPhoneNormalisation, AsTheServiceComparesThem) {
    const std::pair<const char*, const char*> pins[] = {{"0042", "42"},
                                                        {"123456", "123456"},
                                                        {"", "0"},
                                                        {"x1", "0"},
                                                        {"99999999999", "2147483647"}};
    for (const auto& [typed, sent] : pins)
        EXPECT_EQ(NBXConnectManger::pinText(typed), sent) << typed;
    const std::pair<const char*, const char*> phones[] = {
        {"000123", "123"}, {"0", ""}, {"", ""}, {"1020", "1020"}};
    for (const auto& [typed, sent] : phones)
        EXPECT_EQ(NBXConnectManger::removeLeadingZeros(typed), sent) << typed;
}

// --- country list

struct CountryCase {
    const char* locale;
    const char* defaultTitle;
    const char* defaultCode;
    // Pairs a byte-wise or case-sensitive sort would put the other way round.
    std::vector<std::pair<const char*, const char*>> ordered;
};

void PrintTo(const CountryCase& c, std::ostream* os) {
    *os << c.locale;
}

class CountryList : public ::testing::TestWithParam<CountryCase> {};

TEST_P(CountryList, SortedByLocalizedNameWithTheLocaleRegionPreselected) {
    const auto& c = GetParam();
    AppHarness h(c.locale);
    AppDelegate& d = h.launch();
    QComboBox* popup = d.window()->authPhoneEntry->countryPopup();
    ASSERT_GT(popup->count(), 100);
    for (const auto& [earlier, later] : c.ordered) {
        const int first = popup->findText(earlier);
        const int second = popup->findText(later);
        ASSERT_GE(first, 0) << earlier;
        EXPECT_LT(first, second) << earlier << " / " << later;
    }
    EXPECT_EQ(popup->currentText().toStdString(), c.defaultTitle);
    EXPECT_FALSE(popup->itemIcon(popup->currentIndex()).isNull());
    EXPECT_EQ(d.window()->authPhoneEntry->codeField()->text().toStdString(), c.defaultCode);

    const int other = countryIndex(d, "81");
    emit popup->activated(other);
    EXPECT_EQ(d.window()->authPhoneEntry->codeField()->text().toStdString(), "81");
    d.clickContryFlag(popup->count() + 5);  // out of range: nothing changes
    EXPECT_EQ(d.window()->authPhoneEntry->codeField()->text().toStdString(), "81");
}

INSTANTIATE_TEST_SUITE_P(Locales, CountryList,
                         ::testing::Values(CountryCase{"en_GB.UTF-8",
                                                       "United Kingdom (44)",
                                                       "44",
                                                       {{"Réunion (262)", "Romania (40)"},
                                                        {"Côte d'Ivoire (225)", "Croatia (385)"}}},
                                           CountryCase{"de_DE.UTF-8",
                                                       "Deutschland (49)",
                                                       "49",
                                                       {{"Ägypten (20)", "Albanien (355)"},
                                                        {"Österreich (43)", "Pakistan (92)"},
                                                        {"Südafrika (27)", "Sudan (249)"}}}));

// --- the whole registration, queue missing

struct DeliveryCase {
    const char* name;
    bool sms;
    const char* messageType;
};

void PrintTo(const DeliveryCase& c, std::ostream* os) {
    *os << c.name;
}

class Registration : public ::testing::TestWithParam<DeliveryCase> {};

TEST_P(Registration, StoresTheNormalisedIdentityAndMovesToAddPrinter) {
    const auto& c = GetParam();
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    AppHarness h;
    AppDelegate& d = h.launch();
    d.showAuthScreen();
    enterPhone(d, "44", "007700900123");
    requestPin(h, d, c.sms);

    const auto requests = requestsTo(cloud.emulator, kPushPath);
    ASSERT_EQ(requests.size(), 1u);
    const PropertyValue& sent = requests[0];
    EXPECT_EQ(sent["body"].string(), c.messageType) << sent.description();
    EXPECT_EQ(sent["headers"]["countryCode"].string(), "44") << sent.description();
    EXPECT_EQ(sent["headers"]["identifier"].string(), "7700900123");
    PinEntry* pin = d.window()->authPinEntry;
    EXPECT_TRUE(pin->pinField()->isEnabled());
    EXPECT_FALSE(pin->countdownText()->isHidden());
    EXPECT_FALSE(pin->certificateProgress()->isVisible());
    EXPECT_TRUE(d.countdownRunning());

    const auto issued = cloud.emulator.latestPin("44", "7700900123");
    ASSERT_TRUE(issued);
    typePinAndNext(h, d, "0" + *issued);
    EXPECT_TRUE(h.alerts->shown.empty()) << alertTexts(h).front();
    const auto checks = requestsTo(cloud.emulator, "/nbx/v2/idmmgtsvc/user/verification");
    ASSERT_EQ(checks.size(), 1u);
    EXPECT_EQ(objectFromJSONData(checks[0]["body"].string().value_or(""))
                  .value_or(nullptr)["pinCode"]
                  .string(),
              std::to_string(std::stoi(*issued)));
    const PropertyValue info = readPropertyListFile(h.userFile("MyInfo.plist")).value_or(nullptr);
    EXPECT_EQ(info,
              PropertyValue::dictionary({{"CountryCode", "44"}, {"PhoneNumber", "7700900123"}}));
    EXPECT_EQ(d.nCrtFunctionNum, 2);
    EXPECT_EQ(d.window()->currentScreen(), (QWidget*)d.window()->addPrinterScreen);
    EXPECT_TRUE(d.window()->wizardNext->isEnabled());
    EXPECT_FALSE(pin->nextProgress()->isVisible());
    EXPECT_TRUE(AppHarness::waitFor([&] { return !d.countdownRunning(); }));
}

INSTANTIATE_TEST_SUITE_P(Delivery, Registration,
                         ::testing::Values(DeliveryCase{"Push", false, "push"},
                                           DeliveryCase{"Sms", true, "sms"}));

// --- failures, each through the alert it should raise

enum class Down { Never, AtRequest, AtCheck };

struct FailureCase {
    const char* name;
    const char* code;
    Down lookupDown;
    const char* pin;  // null: the issued one
    const char* alert;
    bool pinFieldOpen;
};

void PrintTo(const FailureCase& c, std::ostream* os) {
    *os << c.name;
}

class RegistrationFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(RegistrationFailure, AlertsAndStoresNothing) {
    const auto& c = GetParam();
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    std::optional<ScopedEnv> down;
    if (c.lookupDown == Down::AtRequest) down.emplace("NBX_LOOKUP_SERVER", "127.0.0.1:1");
    AppHarness h;
    AppDelegate& d = h.launch();
    d.showAuthScreen();
    enterPhone(d, "44", "7700900123");
    d.window()->authPhoneEntry->codeField()->setText(c.code);
    requestPin(h, d, false);
    if (c.pinFieldOpen) {
        ASSERT_TRUE(h.alerts->shown.empty());
        if (c.lookupDown == Down::AtCheck) down.emplace("NBX_LOOKUP_SERVER", "127.0.0.1:1");
        typePinAndNext(h, d, c.pin ? c.pin : *cloud.emulator.latestPin("44", "7700900123"));
    }
    EXPECT_EQ(alertTexts(h), std::vector<std::string>{c.alert});
    EXPECT_FALSE(std::filesystem::exists(h.userFile("MyInfo.plist")));
    EXPECT_EQ(d.nCrtFunctionNum, 1);
    EXPECT_EQ(d.window()->authPinEntry->pinField()->isEnabled(), c.pinFieldOpen);
    EXPECT_FALSE(d.window()->authCertButton->isHidden());
    EXPECT_TRUE(d.window()->wizardNext->isEnabled());
    EXPECT_EQ(d.bActiveTimer, c.pinFieldOpen);
}

INSTANTIATE_TEST_SUITE_P(Cases, RegistrationFailure,
                         ::testing::Values(FailureCase{"WrongPin", "44", Down::Never, "1",
                                                       "Incorrect PIN.", true},
                                           FailureCase{"UnknownCountry", "99999", Down::Never,
                                                       nullptr, "Authentication failed.", false},
                                           FailureCase{"LookupDownAtRequest", "44", Down::AtRequest,
                                                       nullptr, "Connection failed.", false},
                                           FailureCase{"LookupDownAtCheck", "44", Down::AtCheck,
                                                       nullptr, "Connection failed.", true}));

// A number of zeros only is left out, so the request is refused before it leaves the agent.
TEST(RequestPINCode, EmptyNumberIsRefusedHere) {
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    AppHarness h;
    h.launch();
    EXPECT_FALSE(NBXConnectManger::requestPINCode(
        PropertyValue::dictionary({{"Code", "44"}, {"PhoneNumber", ""}}), false,
        {*h.alerts, false, {}}));
    EXPECT_EQ(alertTexts(h), std::vector<std::string>{"Authentication failed."});
    EXPECT_TRUE(requestsTo(cloud.emulator, kPushPath).empty());
}

// The code table names the service's refusals of a phone.
TEST(SendInfoToServer, RefusalsGoThroughTheCodeTable) {
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    struct Case {
        const char* code;
        const char* phone;
        bool lookupDown;
        bool ok;
        const char* alert;
    } cases[] = {
        {"44", "7700900123", false, true, nullptr},
        {"44", "0012345678901234567", false, false,
         "Invalid country code or phone number. [Error Code: 2 - 12000]"},
        {"99999", "7700900123", false, false,
         "Invalid country code or phone number. [Error Code: 2 - 12001]"},
        {"44", "7700900123", true, false, "Connection error [Error Code: 2 - 1002]"},
    };
    for (const auto& c : cases) {
        std::optional<ScopedEnv> down;
        if (c.lookupDown) down.emplace("NBX_LOOKUP_SERVER", "127.0.0.1:1");
        AppHarness h;
        h.launch();
        EXPECT_EQ(
            NBXConnectManger::sendInfoToServerWithPhone(c.phone, c.code, {*h.alerts, false, {}}),
            c.ok)
            << c.phone;
        EXPECT_EQ(alertTexts(h),
                  c.alert ? std::vector<std::string>{c.alert} : std::vector<std::string>{})
            << c.phone;
    }
}

// --- threads and the countdown

TEST(RegistrationThreads, SlowServiceLeavesTheWindowResponsive) {
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    cloud.emulator.injectFault(PropertyValue::dictionary(
        {{"path", "/idmmgtsvc/user/verification/push"}, {"delayMs", 1500}}));
    AppHarness h;
    h.realThreads = true;
    AppDelegate& d = h.launch();
    d.window()->show();
    d.showAuthScreen();
    enterPhone(d, "44", "7700900123");
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(20);
    d.window()->authCertButton->click();
    EXPECT_TRUE(d.window()->authPinEntry->certificateProgress()->isVisible());
    EXPECT_TRUE(d.window()->authCertButton->isHidden());
    ASSERT_TRUE(
        AppHarness::waitFor([&] { return d.window()->authPinEntry->pinField()->isEnabled(); }));
    EXPECT_GE(ticks, 20);  // the main thread kept turning during the 1.5 s answer
    EXPECT_FALSE(d.window()->authPinEntry->certificateProgress()->isVisible());
    d.stopTimer();
}

TEST(RegistrationCountdown, ExpiryClosesThePinFieldWithAnAlert) {
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    AppHarness h;
    h.pinValiditySeconds = 3;
    h.countdownTick = std::chrono::milliseconds(20);
    AppDelegate& d = h.launch();
    d.showAuthScreen();
    enterPhone(d, "44", "7700900123");
    requestPin(h, d, false);
    ASSERT_TRUE(AppHarness::waitFor([&] { return !h.alerts->shown.empty(); }));
    EXPECT_EQ(alertTexts(h), std::vector<std::string>{"Connection timed out."});
    PinEntry* pin = d.window()->authPinEntry;
    EXPECT_EQ(pin->countdownText()->text(), "0:00");
    EXPECT_FALSE(pin->pinField()->isEnabled());
    EXPECT_TRUE(pin->pinField()->text().isEmpty());
    EXPECT_TRUE(pin->countdownText()->isHidden());
    EXPECT_TRUE(pin->clock()->isHidden());
}

// With the product's one-second tick: a new request starts over, and stopping takes effect at once.
TEST(RegistrationCountdown, SecondRequestRestartsItAndStopEndsItQuietly) {
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    AppHarness h;
    AppDelegate& d = h.launch();
    d.showAuthScreen();
    enterPhone(d, "44", "7700900123");
    requestPin(h, d, false);
    ASSERT_TRUE(AppHarness::waitFor([&] { return d.nTimeValue < 1799; }));
    requestPin(h, d, true);
    EXPECT_GE(d.nTimeValue, 1799);
    EXPECT_TRUE(d.countdownRunning());
    const auto requests = requestsTo(cloud.emulator, kPushPath);
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0]["body"].string(), "push");
    EXPECT_EQ(requests[1]["body"].string(), "sms");
    d.stopTimer();
    EXPECT_TRUE(AppHarness::waitFor([&] { return !d.countdownRunning(); },
                                    std::chrono::milliseconds(1000)));
    AppHarness::drainEvents();
    EXPECT_TRUE(h.alerts->shown.empty());
}

// --- subscription check and account binding

TEST(VerifCode, OnlyAKnownUnsubscribedUserIsRefused) {
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    cloud.emulator.seed(PropertyValue::dictionary(
        {{"users",
          PropertyValue::array(
              {PropertyValue::dictionary({{"countryCode", "44"}, {"phoneNumber", "111"}}),
               PropertyValue::dictionary(
                   {{"countryCode", "44"}, {"phoneNumber", "222"}, {"isSubscribed", false}})})}}));
    AppHarness h;
    AppDelegate& d = h.launch();
    EXPECT_TRUE(d.verifCode("44", "111"));
    EXPECT_FALSE(d.verifCode("44", "222"));
    ScopedEnv down("NBX_LOOKUP_SERVER", "127.0.0.1:1");
    EXPECT_TRUE(d.verifCode("44", "222"));
}

class BindAccount : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(cloud.emulator.ok());
        cloud.emulator.seed(PropertyValue::dictionary(
            {{"users",
              PropertyValue::array({PropertyValue::dictionary({{"countryCode", "44"},
                                                               {"phoneNumber", "7700900123"},
                                                               {"accessToken", "T1"}})})}}));
        h.signIn("44", "07700900123");
        h.writeUserFile("va.plist", PropertyValue::dictionary(
                                        {{"ValmoraAccountID", *dataByAESEncryption("ann@va")},
                                         {"ValmoraAccountToken", *dataByAESEncryption("vt-1")},
                                         {"accessToken", *dataByAESEncryption("T1")}}));
    }
    PropertyValue account() const {
        return readPropertyListFile(h.userFile("va.plist")).value_or(nullptr);
    }
    Cloud cloud;
    AppHarness h;
};

TEST_F(BindAccount, StoresTheNewTokenUnderItsOwnKey) {
    AppDelegate& d = h.launch();
    d.requestToBindVA();
    AppHarness::drainEvents();
    const auto requests = requestsTo(cloud.emulator, "/nbx/v2/idmmgtsvc/user/account/bind");
    ASSERT_EQ(requests.size(), 1u);
    const PropertyValue sent =
        objectFromJSONData(requests[0]["body"].string().value_or("")).value_or(nullptr);
    EXPECT_EQ(sent["valmoraAccount"].string(), "ann@va") << sent.description();
    EXPECT_EQ(sent["valmoraAccessToken"].string(), "vt-1");
    EXPECT_EQ(requests[0]["headers"]["accessToken"].string(), "T1");
    const PropertyValue file = account();
    ASSERT_TRUE(file["AccessToken"].isData()) << file.description();
    const auto token = stringByAESDecryption(*file["AccessToken"].data());
    ASSERT_TRUE(token);
    EXPECT_FALSE(token->empty());
    EXPECT_NE(*token, "T1");
    EXPECT_EQ(stringByAESDecryption(*file["accessToken"].data()), "T1");
    EXPECT_EQ(d.nCrtFunctionNum, 7);
    EXPECT_TRUE(h.alerts->shown.empty());
}

TEST_F(BindAccount, UnavailableServiceAlertsWithTheFixedDigit) {
    cloud.emulator.injectFault(PropertyValue::dictionary(
        {{"path", "/idmmgtsvc/user/account/bind"}, {"status", 503}, {"emptyBody", true}}));
    AppDelegate& d = h.launch();
    d.requestToBindVA();
    AppHarness::drainEvents();
    EXPECT_EQ(alertTexts(h),
              std::vector<std::string>{"Unknown cloud server error. [Error Code: 2]"});
    EXPECT_TRUE(account()["AccessToken"].isNull());
    EXPECT_NE(d.nCrtFunctionNum, 7);
}

// --- the next screen follows the queue and the saved choice

struct NextScreenCase {
    const char* name;
    bool savedChoice;
    int state;
};

void PrintTo(const NextScreenCase& c, std::ostream* os) {
    *os << c.name;
}

class RegistrationWithQueue : public test::PrivateCupsdTest,
                              public ::testing::WithParamInterface<NextScreenCase> {
protected:
    void SetUp() override {
        test::PrivateCupsdTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_TRUE(NBXPrinterQManger::makePrinterQ());
    }
    void TearDown() override { NBXPrinterQManger::removePrinterQ(); }
    ScopedEnv ppd{"NBX_PPD_FILE", NBX_BIN_DIR "/../share/nimbrix/ppd/Nimbrix.gz"};
};

TEST_P(RegistrationWithQueue, NextScreenFollowsTheSavedChoice) {
    const auto& c = GetParam();
    Cloud cloud;
    ASSERT_TRUE(cloud.emulator.ok());
    AppHarness h("C", false);
    if (c.savedChoice) {
        h.writeUserFile("com.Valmora.nbx.plist",
                        PropertyValue::dictionary(
                            {{"SendInfo", PropertyValue::dictionary({{"Type", "Default"}})}}));
    }
    AppDelegate& d = h.launch();
    h.runAllWorkers();
    d.showAuthScreen();
    enterPhone(d, "1", "05550100");
    requestPin(h, d, false);
    const auto issued = cloud.emulator.latestPin("1", "5550100");
    ASSERT_TRUE(issued);
    typePinAndNext(h, d, *issued);
    EXPECT_EQ(NBXAuthenticationManger::returnAuthInfo(),
              (std::array<std::string, 2>{"1", "5550100"}));
    EXPECT_EQ(d.nCrtFunctionNum, c.state);
}

INSTANTIATE_TEST_SUITE_P(Saved, RegistrationWithQueue,
                         ::testing::Values(NextScreenCase{"NoSavedChoice", false, 3},
                                           NextScreenCase{"CompleteChoice", true, 7}));

}  // namespace
}  // namespace nbx
