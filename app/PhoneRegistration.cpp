#include "PhoneRegistration.h"

#include <QCheckBox>
#include <QCollator>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

#include "AccountEntry.h"
#include "AppDelegate.h"
#include "AuthScreen.h"
#include "MainWindow.h"
#include "NBXAuthenticationManger.h"
#include "NBXCloudInterface.h"
#include "NBXImages.h"
#include "NBXSendButton.h"
#include "PhoneEntry.h"
#include "PinEntry.h"
#include "PropertyListFile.h"
#include "SettingScreen.h"
#include "StateFiles.h"

namespace nbx {

namespace {

std::string text(const QLineEdit* field) {
    return field->text().toStdString();
}

std::unique_ptr<NBXCloudInterface> freshInterface(PropertyValue* errorInformation) {
    return NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary({{"Debug", true}}), nullptr, errorInformation);
}

// A reader never sees a half-written account file.
bool writeAtomically(const std::string& path, const PropertyValue& value) {
    const std::string temporary = path + ".new";
    if (!writePropertyListFile(temporary, value)) return false;
    std::error_code ec;
    std::filesystem::rename(temporary, path, ec);
    return !ec;
}

}  // namespace

PhoneRegistration::PhoneRegistration(AppDelegate& app)
    : app_(app), nTimePix(app.platform().pinValiditySeconds) {}

PhoneRegistration::~PhoneRegistration() {
    stopTimer();
    joinTimer();
}

void PhoneRegistration::connectWindow(MainWindow* w) {
    w->authScreen.whenBuilt([this](AuthScreen* screen) {
        QObject::connect(screen->phoneEntry()->countryPopup(), &QComboBox::activated, &app_,
                         [this](int index) { clickContryFlag(index); });
        QObject::connect(screen->certButton(), &QPushButton::clicked, &app_,
                         [this] { clickGetCertificate(); });
        QObject::connect(screen->pinEntry()->smsCheckBox(), &QCheckBox::toggled, &app_,
                         [this, screen](bool sms) {
                             bSendSMS = sms;
                             screen->certButton()->setToolTip(
                                 app_.localized(sms ? "Authentication Request SMS Cert Tooltip"
                                                    : "Authentication Request Push Cert Tooltip"));
                         });
        QObject::connect(screen->accountEntry()->registrationCheckBox(), &QCheckBox::toggled, &app_,
                         [this](bool checked) { clickRegistrationCheckBox(checked); });
    });
}

PropertyValue PhoneRegistration::sortCountryDic(const PropertyValue& countries) const {
    std::vector<std::pair<QString, std::size_t>> keyed;
    for (std::size_t i = 0; i < countries.size(); ++i) {
        const PropertyValue& entry = countries.at(i);
        keyed.emplace_back(
            app_.localized(QString::fromStdString(entry["Name"].string().value_or(""))) + "," +
                QString::fromStdString(entry["Code"].string().value_or("")),
            i);
    }
    QCollator collator{QLocale(QString::fromStdString(LangController::processLocale()))};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& a, const auto& b) {
        return collator.compare(a.first, b.first) < 0;
    });
    PropertyValue sorted = PropertyValue::array();
    for (const auto& entry : keyed)
        sorted.append(countries.at(entry.second));
    return sorted;
}

void PhoneRegistration::logDefaultCountry(const PropertyValue& countries) const {
    for (std::size_t i = 0; i < countries.size(); ++i) {
        const PropertyValue& entry = countries.at(i);
        if (entry["Locale_alpha2"].string() == app_.sSystemRegion()) {
            app_.log("Default select country : " +
                     app_.localized(QString::fromStdString(entry["Name"].string().value_or("")))
                         .toStdString());
            return;
        }
    }
}

void PhoneRegistration::clickContryFlag(int index) {
    const PropertyValue& countries = app_.arrCountyCode();
    if (index < 0 || static_cast<std::size_t>(index) >= countries.size()) return;
    const std::string code =
        countries.at(static_cast<std::size_t>(index))["Code"].string().value_or("");
    app_.window()->authScreen->phoneEntry()->codeField()->setText(QString::fromStdString(code));
    app_.log("Select country code : " + code);
}

void PhoneRegistration::clickGetCertificate() {
    app_.log("Click Get Certificate Button");
    MainWindow* w = app_.window();
    strInsertCode = text(w->authScreen->phoneEntry()->codeField());
    strInsertPhoneN = text(w->authScreen->phoneEntry()->phoneField());
    PinEntry* pin = w->authScreen->pinEntry();
    pin->pinField()->clear();
    pin->nextProgress()->hide();
    w->authScreen->certButton()->hide();
    pin->certificateProgress()->show();
    app_.detachNewThread(
        [this, code = strInsertCode, phone = strInsertPhoneN] { getCerNoAction(code, phone); });
}

void PhoneRegistration::getCerNoAction(const std::string& code, const std::string& phone) {
    {
        std::lock_guard lock(timerMutex_);
        nTimeValue = nTimePix.load();
        bActiveTimer = true;
        if (!timerRunning_) {
            app_.log("Thread isExecuting False");
            if (threadTimer.joinable()) threadTimer.join();
            timerRunning_ = true;
            threadTimer = std::thread([this] { startTimer(); });
        }
    }
    const std::string stripped = NBXConnectManger::removeLeadingZeros(phone);
    app_.laterOnMainThread([this, stripped] {
        PinEntry* pin = app_.window()->authScreen->pinEntry();
        pin->clock()->setPixmap(NBXImages::image("clock_25x25").pixmap(25, 25));
        pin->pinField()->clear();
        pin->pinField()->setEnabled(false);
        pin->setCountdownVisible(false);
        strInsertPhoneN = stripped;
    });
    app_.inBackground([this, code, stripped] { return sendRequestPin(code, stripped); },
                      [this](bool requested) { showPinRequestEnded(requested); });
}

bool PhoneRegistration::sendRequestPin(const std::string& code, const std::string& phone) {
    return NBXConnectManger::requestPINCode(
        PropertyValue::dictionary({{"Code", code}, {"PhoneNumber", phone}}), bSendSMS,
        app_.postingAlertContext());
}

// Only a PIN that is on its way is worth a countdown and an open field.
void PhoneRegistration::showPinRequestEnded(bool requested) {
    PinEntry* pin = app_.window()->authScreen->pinEntry();
    pin->certificateProgress()->hide();
    app_.window()->authScreen->certButton()->show();
    if (!requested) {
        stopTimer();
        return;
    }
    if (!bActiveTimer) return;
    pin->setCountdownVisible(true);
    pin->pinField()->setEnabled(true);
    pin->pinField()->setFocus();
}

QString PhoneRegistration::countdownText(int seconds) {
    const int minutes = seconds / 60;
    const int rest = seconds % 60;
    return rest > 9 ? QStringLiteral("%1:%2").arg(minutes).arg(rest)
                    : QStringLiteral("%1:0%2").arg(minutes).arg(rest);
}

void PhoneRegistration::startTimer() {
    app_.log("Start Timer");
    bool expired = false;
    std::unique_lock lock(timerMutex_);
    while (bActiveTimer) {
        const int left = nTimeValue;
        app_.laterOnMainThread([this, left] { showCountdown(left); });
        if (left <= 0) {
            expired = true;
            bActiveTimer = false;
            break;
        }
        nTimeValue = left - 1;
        timerWake_.wait_for(lock, app_.platform().countdownTick, [this] { return !bActiveTimer; });
    }
    timerRunning_ = false;
    lock.unlock();
    if (expired) app_.laterOnMainThread([this] { countdownExpired(); });
}

void PhoneRegistration::stopTimer() {
    {
        std::lock_guard lock(timerMutex_);
        bActiveTimer = false;
    }
    timerWake_.notify_all();
}

void PhoneRegistration::joinTimer() {
    std::thread ending;
    {
        std::lock_guard lock(timerMutex_);
        ending = std::move(threadTimer);
    }
    if (ending.joinable()) ending.join();
}

void PhoneRegistration::showCountdown(int seconds) {
    app_.window()->authScreen->pinEntry()->countdownText()->setText(countdownText(seconds));
}

void PhoneRegistration::countdownExpired() {
    // A request made meanwhile has armed a new countdown.
    if (bActiveTimer) return;
    PinEntry* pin = app_.window()->authScreen->pinEntry();
    pin->pinField()->clear();
    pin->setCountdownVisible(false);
    pin->pinField()->setEnabled(false);
    app_.showOnlyAlertMSG("Connection timed out.");
}

void PhoneRegistration::makeAuthInfoAction() {
    MainWindow* w = app_.window();
    const std::string phone = text(w->authScreen->phoneEntry()->phoneField());
    const std::string code = text(w->authScreen->phoneEntry()->codeField());
    const std::string pin = text(w->authScreen->pinEntry()->pinField());
    w->wizardNext->setEnabled(false);
    w->authScreen->pinEntry()->nextProgress()->show();
    struct Outcome {
        bool verified = false, stored = false, queuePresent = false;
    };
    app_.inBackground(
        [this, phone, code, pin] {
            Outcome out;
            out.verified = NBXConnectManger::sendPinToServerWithPhone(phone, code, pin,
                                                                      app_.postingAlertContext());
            if (out.verified) {
                out.stored = NBXAuthenticationManger::makeAuthInfoWithKey(code, phone);
                app_.log(std::string("Make Auth Info ") + (out.stored ? "True" : "False"));
            }
            out.queuePresent = out.stored && app_.checkPrintQInfo();
            return out;
        },
        [this](Outcome out) { finishAuthInfo(out.verified, out.stored, out.queuePresent); });
}

void PhoneRegistration::finishAuthInfo(bool verified, bool stored, bool queuePresent) {
    MainWindow* w = app_.window();
    if (verified && !stored) app_.showOnlyAlertMSG("Saving authentication information is failed.");
    if (stored) {
        stopTimer();
        w->authScreen->pinEntry()->setCountdownVisible(false);
        if (!queuePresent) {
            app_.showAddPrinterScreen();
        } else if (!app_.checkMyInfoPlist()) {
            app_.showAuthScreen();
        } else if (!app_.checkNBXSaveInfoPlist(true)) {
            app_.showSharingPrinterScreen();
        } else {
            // Everything is in place: the user lands where a normal start would.
            app_.returnToMainWindow();
        }
    }
    w->authScreen->pinEntry()->nextProgress()->hide();
    w->wizardNext->setEnabled(true);
}

void PhoneRegistration::clickRegistrationCheckBox(bool checked) {
    const AccountEntry* account = app_.window()->authScreen->accountEntry();
    account->accountIdField()->setEnabled(!checked);
    account->passwordField()->setEnabled(!checked);
}

bool PhoneRegistration::verifCode(const std::string& code, const std::string& PhoneNumber) {
    app_.log("Cloud API - Verify to get agent information");
    const auto cloud = freshInterface(nullptr);
    if (!cloud) return true;
    const PropertyValue request = PropertyValue::dictionary(
        {{"senderCountryCode", code},
         {"senderPhoneNumber", PhoneNumber},
         {"users", PropertyValue::array({PropertyValue::dictionary(
                       {{"countryCode", code}, {"phoneNumber", PhoneNumber}})})}});
    PropertyValue answer, error;
    if (!cloud->getSubsriberInformation(request, &answer, &error)) {
        app_.log("ErrorInformation : " + error.description());
        return false;
    }
    app_.log("ReturnedInformation : " + answer.description());
    if (!answer["success"].isTrue() || !answer["errorCode"].isNull()) return false;
    const PropertyValue& first = answer["users"].at(0);
    return first.isNull() || first["isSubscribed"].isTrue();
}

// A worker body: alerts, the overlay and screen changes are handed to the main thread.
void PhoneRegistration::requestToBindVA() {
    const std::string accountPath = StateFiles::pathTo(StateFiles::kAccountFile);
    PropertyValue account = readPropertyListFile(accountPath).value_or(PropertyValue::dictionary());
    PropertyValue request = PropertyValue::dictionary();
    if (const auto user = NBXAuthenticationManger::returnAuthInfo()) {
        request.set("senderCountryCode", (*user)[0]);
        request.set("senderPhoneNumber", (*user)[1]);
    }
    for (const auto& [from, to] : {std::pair{"ValmoraAccountID", "valmoraAccount"},
                                   {"ValmoraAccountToken", "valmoraAccessToken"}}) {
        const Bytes* secret = account[from].data();
        if (const auto plain = secret ? stringByAESDecryption(*secret) : std::nullopt) {
            request.set(to, *plain);
        }
    }
    PropertyValue answer, error;
    const auto cloud = freshInterface(&error);
    const bool performed = cloud && cloud->requestToBindValmoraAccount(request, &answer, &error);
    if (!performed) {
        app_.showRefreshWindow("STOP", false);
        app_.log("ErrorInformation : " + error.description());
        if (NBXConnectManger::codeText(error["errorCode"]) == "503") {
            app_.showOnlyAlertMSG(
                app_.localized("Unknown cloud server error.").toStdString() + " " +
                NBXConnectManger::replaceFirst(app_.localized("[Error Code: %1%]").toStdString(),
                                               "%1%", "2"));
        }
        return;
    }
    if (answer["success"].isTrue() && answer["errorCode"].isNull()) {
        // "AccessToken", not the "accessToken" the cloud client reads at start-up.
        const auto token = dataByAESEncryption(answer["accessToken"].string().value_or(""));
        if (token) {
            account.set("AccessToken", *token);
            writeAtomically(accountPath, account);
        }
        app_.onMainThread([this] {
            app_.showSetting();
            app_.window()->settingScreen->selectSection(0);
        });
    } else if (!answer["errorCode"].isNull()) {
        app_.onMainThread([this, code = answer["errorCode"]] { app_.manageErrCode(code); });
    } else {
        app_.showRefreshWindow("STOP", false);
    }
}

}  // namespace nbx
