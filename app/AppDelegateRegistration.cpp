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
#include "MainWindow.h"
#include "NBXAuthenticationManger.h"
#include "NBXCloudInterface.h"
#include "NBXImages.h"
#include "NBXSendButton.h"
#include "PhoneEntry.h"
#include "PinEntry.h"
#include "PropertyListFile.h"
#include "SettingScreen.h"

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

NBXConnectManger::Context AppDelegate::postingAlertContext() {
    return {*platform_.alerts, false,
            [this](std::function<void()> work) { laterOnMainThread(std::move(work)); }};
}

void AppDelegate::connectRegistration() {
    MainWindow* w = window_.get();
    connect(w->authPhoneEntry->countryPopup(), &QComboBox::activated, this,
            &AppDelegate::clickContryFlag);
    connect(w->authCertButton, &QPushButton::clicked, this, &AppDelegate::clickGetCertificate);
    connect(w->authPinEntry->smsCheckBox(), &QCheckBox::toggled, this, [this](bool sms) {
        bSendSMS = sms;
        window_->authCertButton->setToolTip(
            localized(sms ? "Authentication Request SMS Cert Tooltip"
                          : "Authentication Request Push Cert Tooltip"));
    });
    connect(w->authAccountEntry->registrationCheckBox(), &QCheckBox::toggled, this,
            &AppDelegate::clickRegistrationCheckBox);
}

void AppDelegate::sortCountryDic() {
    std::vector<std::pair<QString, std::size_t>> keyed;
    for (std::size_t i = 0; i < arrCountyCode.size(); ++i) {
        const PropertyValue& entry = arrCountyCode.at(i);
        keyed.emplace_back(localized(QString::fromStdString(entry["Name"].string().value_or(""))) +
                               "," + QString::fromStdString(entry["Code"].string().value_or("")),
                           i);
    }
    QCollator collator{QLocale(QString::fromStdString(LangController::processLocale()))};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& a, const auto& b) {
        return collator.compare(a.first, b.first) < 0;
    });
    PropertyValue sorted = PropertyValue::array();
    for (const auto& entry : keyed)
        sorted.append(arrCountyCode.at(entry.second));
    arrCountyCode = std::move(sorted);
}

void AppDelegate::logDefaultCountry() {
    for (std::size_t i = 0; i < arrCountyCode.size(); ++i) {
        const PropertyValue& entry = arrCountyCode.at(i);
        if (entry["Locale_alpha2"].string() == sSystemRegion) {
            log("Default select country : " +
                localized(QString::fromStdString(entry["Name"].string().value_or("")))
                    .toStdString());
            return;
        }
    }
}

void AppDelegate::clickContryFlag(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= arrCountyCode.size()) return;
    const std::string code =
        arrCountyCode.at(static_cast<std::size_t>(index))["Code"].string().value_or("");
    window_->authPhoneEntry->codeField()->setText(QString::fromStdString(code));
    log("Select country code : " + code);
}

void AppDelegate::clickGetCertificate() {
    log("Click Get Certificate Button");
    strInsertCode = text(window_->authPhoneEntry->codeField());
    strInsertPhoneN = text(window_->authPhoneEntry->phoneField());
    PinEntry* pin = window_->authPinEntry;
    pin->pinField()->clear();
    pin->nextProgress()->hide();
    window_->authCertButton->hide();
    pin->certificateProgress()->show();
    detachNewThread(
        [this, code = strInsertCode, phone = strInsertPhoneN] { getCerNoAction(code, phone); });
}

void AppDelegate::getCerNoAction(const std::string& code, const std::string& phone) {
    {
        std::lock_guard lock(timerMutex_);
        nTimeValue = nTimePix.load();
        bActiveTimer = true;
        if (!timerRunning_) {
            log("Thread isExecuting False");
            if (threadTimer.joinable()) threadTimer.join();
            timerRunning_ = true;
            threadTimer = std::thread([this] { startTimer(); });
        }
    }
    const std::string stripped = NBXConnectManger::removeLeadingZeros(phone);
    laterOnMainThread([this, stripped] {
        PinEntry* pin = window_->authPinEntry;
        pin->clock()->setPixmap(NBXImages::image("clock_25x25").pixmap(25, 25));
        pin->pinField()->clear();
        pin->pinField()->setEnabled(false);
        pin->setCountdownVisible(false);
        strInsertPhoneN = stripped;
    });
    detachNewThread([this, code, stripped] { sendRequestPin(code, stripped); });
}

void AppDelegate::sendRequestPin(const std::string& code, const std::string& phone) {
    const bool requested = NBXConnectManger::requestPINCode(
        PropertyValue::dictionary({{"Code", code}, {"PhoneNumber", phone}}), bSendSMS,
        postingAlertContext());
    laterOnMainThread([this, requested] { showPinRequestEnded(requested); });
}

// Only a PIN that is on its way is worth a countdown and an open field.
void AppDelegate::showPinRequestEnded(bool requested) {
    PinEntry* pin = window_->authPinEntry;
    pin->certificateProgress()->hide();
    window_->authCertButton->show();
    if (!requested) {
        stopTimer();
        return;
    }
    if (!bActiveTimer) return;
    pin->setCountdownVisible(true);
    pin->pinField()->setEnabled(true);
    pin->pinField()->setFocus();
}

QString AppDelegate::countdownText(int seconds) {
    const int minutes = seconds / 60;
    const int rest = seconds % 60;
    return rest > 9 ? QStringLiteral("%1:%2").arg(minutes).arg(rest)
                    : QStringLiteral("%1:0%2").arg(minutes).arg(rest);
}

void AppDelegate::startTimer() {
    log("Start Timer");
    bool expired = false;
    std::unique_lock lock(timerMutex_);
    while (bActiveTimer) {
        const int left = nTimeValue;
        laterOnMainThread([this, left] { showCountdown(left); });
        if (left <= 0) {
            expired = true;
            bActiveTimer = false;
            break;
        }
        nTimeValue = left - 1;
        timerWake_.wait_for(lock, platform_.countdownTick, [this] { return !bActiveTimer; });
    }
    timerRunning_ = false;
    lock.unlock();
    if (expired) laterOnMainThread([this] { countdownExpired(); });
}

void AppDelegate::stopTimer() {
    {
        std::lock_guard lock(timerMutex_);
        bActiveTimer = false;
    }
    timerWake_.notify_all();
}

void AppDelegate::showCountdown(int seconds) {
    window_->authPinEntry->countdownText()->setText(countdownText(seconds));
}

void AppDelegate::countdownExpired() {
    // A request made meanwhile has armed a new countdown.
    if (bActiveTimer) return;
    PinEntry* pin = window_->authPinEntry;
    pin->pinField()->clear();
    pin->setCountdownVisible(false);
    pin->pinField()->setEnabled(false);
    showOnlyAlertMSG("Connection timed out.");
}

void AppDelegate::makeAuthInfoAction() {
    const std::string phone = text(window_->authPhoneEntry->phoneField());
    const std::string code = text(window_->authPhoneEntry->codeField());
    const std::string pin = text(window_->authPinEntry->pinField());
    window_->wizardNext->setEnabled(false);
    window_->authPinEntry->nextProgress()->show();
    detachNewThread([this, phone, code, pin] {
        const bool verified =
            NBXConnectManger::sendPinToServerWithPhone(phone, code, pin, postingAlertContext());
        bool stored = false;
        if (verified) {
            stored = NBXAuthenticationManger::makeAuthInfoWithKey(code, phone);
            log(std::string("Make Auth Info ") + (stored ? "True" : "False"));
        }
        const bool queuePresent = stored && checkPrintQInfo();
        laterOnMainThread([=, this] { finishAuthInfo(verified, stored, queuePresent); });
    });
}

void AppDelegate::finishAuthInfo(bool verified, bool stored, bool queuePresent) {
    if (verified && !stored) showOnlyAlertMSG("Saving authentication information is failed.");
    if (stored) {
        stopTimer();
        window_->authPinEntry->setCountdownVisible(false);
        if (!queuePresent) {
            showAddPrinterScreen();
        } else if (!checkMyInfoPlist()) {
            showAuthScreen();
        } else if (!checkNBXSaveInfoPlist(true)) {
            showSharingPrinterScreen();
        } else {
            // Everything is in place: the user lands where a normal start would.
            window_->setWizardButtonsVisible(false);
            window_->setTitleViewVisible(false);
            showSetting();
        }
    }
    window_->authPinEntry->nextProgress()->hide();
    window_->wizardNext->setEnabled(true);
}

void AppDelegate::clickRegistrationCheckBox(bool checked) {
    const AccountEntry* account = window_->authAccountEntry;
    account->accountIdField()->setEnabled(!checked);
    account->passwordField()->setEnabled(!checked);
}

bool AppDelegate::verifCode(const std::string& code, const std::string& PhoneNumber) {
    log("Cloud API - Verify to get agent information");
    const auto cloud = freshInterface(nullptr);
    if (!cloud) return true;
    const PropertyValue request = PropertyValue::dictionary(
        {{"senderCountryCode", code},
         {"senderPhoneNumber", PhoneNumber},
         {"users", PropertyValue::array({PropertyValue::dictionary(
                       {{"countryCode", code}, {"phoneNumber", PhoneNumber}})})}});
    PropertyValue answer, error;
    if (!cloud->getSubsriberInformation(request, &answer, &error)) {
        log("ErrorInformation : " + error.description());
        return false;
    }
    log("ReturnedInformation : " + answer.description());
    if (!answer["success"].isTrue() || !answer["errorCode"].isNull()) return false;
    const PropertyValue& first = answer["users"].at(0);
    return first.isNull() || first["isSubscribed"].isTrue();
}

void AppDelegate::requestToBindVA() {
    PropertyValue account =
        readPropertyListFile(sVAInfoFilePath).value_or(PropertyValue::dictionary());
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
        showRefreshWindow("STOP", false);
        log("ErrorInformation : " + error.description());
        if (NBXConnectManger::codeText(error["errorCode"]) == "503") {
            showOnlyAlertMSG(localized("Unknown cloud server error.").toStdString() + " " +
                             NBXConnectManger::replaceFirst(
                                 localized("[Error Code: %1%]").toStdString(), "%1%", "2"));
        }
        return;
    }
    if (answer["success"].isTrue() && answer["errorCode"].isNull()) {
        // "AccessToken", not the "accessToken" the cloud client reads at start-up.
        const auto token = dataByAESEncryption(answer["accessToken"].string().value_or(""));
        if (token) {
            account.set("AccessToken", *token);
            writeAtomically(sVAInfoFilePath, account);
        }
        onMainThread([this] {
            showSetting();
            window_->settingScreen->selectSection(0);
        });
    } else if (!answer["errorCode"].isNull()) {
        onMainThread([this, code = answer["errorCode"]] { manageErrCode(code); });
    } else {
        showRefreshWindow("STOP", false);
    }
}

}  // namespace nbx
