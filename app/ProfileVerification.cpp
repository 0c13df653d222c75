#include "ProfileVerification.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>

#include "AppDelegate.h"
#include "BackendLink.h"
#include "MainWindow.h"
#include "NBXAuthenticationManger.h"
#include "NBXImages.h"
#include "NBXNotificationCenter.h"
#include "NBXSendButton.h"
#include "PhoneEntry.h"
#include "ProfilePhoneSheet.h"
#include "ServiceSettings.h"

namespace nbx {

namespace {

// Digits only, one leading zero dropped: how a typed number is compared with the registered one.
std::string comparable(QString text) {
    static const QRegularExpression nonDigits("[^0-9]");
    text.remove(nonDigits);
    if (text.startsWith(QChar('0'))) text.remove(0, 1);
    return text.toStdString();
}

}  // namespace

ProfileVerification::ProfileVerification(AppDelegate& app) : app_(app) {
    QObject::connect(&threadTimer, &QTimer::timeout, [this] { tick(); });
}

ProfilePhoneSheet* ProfileVerification::sheet() const {
    return app_.window()->profilePhoneSheet;
}

void ProfileVerification::connectSheet() {
    if (connected_) return;
    connected_ = true;
    ProfilePhoneSheet* s = sheet();
    QObject* context = &threadTimer;
    QObject::connect(s->phoneEntry()->countryPopup(), &QComboBox::activated, context,
                     [this](int index) { clickEPContryFlag(index); });
    QObject::connect(s->certificationButton(), &QPushButton::clicked, context,
                     [this] { clickEPGetCertificate(); });
    QObject::connect(s->tryAgainButton(), &QPushButton::clicked, context,
                     [this] { clickEPGetCertificateAgain(); });
    QObject::connect(s->okButton(), &QPushButton::clicked, context, [this] { clickEPOKbtn(); });
    QObject::connect(s->closeButton(), &QPushButton::clicked, context,
                     [this] { clickEPClosebtn(); });
    // Escape closes the sheet as Close does.
    QObject::connect(s, &QDialog::rejected, context, [this] { clickEPClosebtn(); });
    // The formatters publish every edit of every phone field; only this sheet's count here.
    QObject::connect(&NBXNotificationCenter::defaultCenter(), &NBXNotificationCenter::notified,
                     context, [this](const QString& name, const QVariantMap& userInfo) {
                         if (name == "insertUserInfo" && sheet()->isVisible())
                             isEqualToUserInfo(userInfo);
                     });
}

void ProfileVerification::open() {
    connectSheet();
    app_.checkMyInfoPlist();
    registered_ = app_.shared().arrGetuserInfo.get();
    stopTimer();
    showEPCertificate();
    sheet()->open();
}

void ProfileVerification::showEPCertificate() {
    ProfilePhoneSheet* s = sheet();
    s->certificateField()->clear();
    s->certificateField()->setEnabled(false);
    s->okButton()->setEnabled(false);
    s->setCountdownVisible(false);
    s->showExpired(false);
}

void ProfileVerification::clickEPContryFlag(int index) {
    const PropertyValue& countries = app_.arrCountyCode();
    if (index < 0 || static_cast<std::size_t>(index) >= countries.size()) return;
    const std::string code =
        countries.at(static_cast<std::size_t>(index))["Code"].string().value_or("");
    sheet()->phoneEntry()->codeField()->setText(QString::fromStdString(code));
    app_.log("Select country code : " + code);
}

bool ProfileVerification::isEqualToUserInfo(const QVariantMap& userInfo) {
    if (!registered_) return false;
    const PhoneEntry* entry = sheet()->phoneEntry();
    const QString code = userInfo.value("Code", entry->codeField()->text()).toString();
    const QString phone = userInfo.value("Phone", entry->phoneField()->text()).toString();
    const bool equal = comparable(code) == comparable(QString::fromStdString((*registered_)[0])) &&
                       comparable(phone) == comparable(QString::fromStdString((*registered_)[1]));
    if (equal) stopTimer();
    return equal;
}

void ProfileVerification::clickEPGetCertificate(bool sms) {
    app_.log("Click Get EP Certificate Button");
    // The registered phone needs no new PIN.
    if (checkChangeUserPNInfo()) return;
    showEPCertificate();
    ProfilePhoneSheet* s = sheet();
    strSaveCode = s->phoneEntry()->codeField()->text().toStdString();
    strSavePhoneN = s->phoneEntry()->phoneField()->text().toStdString();
    app_.log(" strSaveCode : " + strSaveCode + ", strSavePhoneN : " + strSavePhoneN);
    strSavePhoneN = NBXConnectManger::removeLeadingZeros(strSavePhoneN);
    s->certificationButton()->hide();
    s->tryAgainButton()->setEnabled(false);
    app_.detachNewThread([this, code = strSaveCode, phone = strSavePhoneN, sms] {
        app_.settings().registeredPushNIdentifier(
            PropertyValue::dictionary({{"Code", code}, {"PhoneNumber", phone}}));
        getEPCerNoAction(code, phone, sms);
    });
}

void ProfileVerification::getEPCerNoAction(const std::string& code, const std::string& phone,
                                           bool sms) {
    app_.laterOnMainThread([this] {
        nTimeValue = app_.platform().pinValiditySeconds;
        bActiveTimer = true;
        if (!threadTimer.isActive()) {
            app_.log("Thread isExecuting False");
            startEPTimer();
        }
        ProfilePhoneSheet* s = sheet();
        s->clock()->setPixmap(NBXImages::image("clock_25x25").pixmap(25, 25));
        s->certificateField()->clear();
        s->certificateField()->setEnabled(false);
        s->setCountdownVisible(false);
    });
    app_.inBackground([this, code, phone, sms] { return sendRequestPin(code, phone, sms); },
                      [this](bool requested) { showPinRequestEnded(requested); });
}

bool ProfileVerification::sendRequestPin(const std::string& code, const std::string& phone,
                                         bool sms) {
    return NBXConnectManger::requestPINCode(
        PropertyValue::dictionary({{"Code", code}, {"PhoneNumber", phone}}), sms,
        app_.postingAlertContext());
}

// Only a PIN that is on its way is worth a countdown and an open field.
void ProfileVerification::showPinRequestEnded(bool requested) {
    ProfilePhoneSheet* s = sheet();
    s->certificationButton()->show();
    s->tryAgainButton()->setEnabled(true);
    if (!requested) {
        stopTimer();
        return;
    }
    if (!bActiveTimer) return;
    s->setCountdownVisible(true);
    s->certificateField()->setEnabled(true);
    s->certificateField()->setFocus();
}

void ProfileVerification::startEPTimer() {
    app_.log("Start Ep Timer");
    tick();
    if (bActiveTimer) threadTimer.start(app_.platform().countdownTick);
}

void ProfileVerification::tick() {
    if (!bActiveTimer) {
        threadTimer.stop();
        return;
    }
    sheet()->setSecondsLeft(nTimeValue);
    if (nTimeValue > 0) {
        --nTimeValue;
        return;
    }
    stopTimer();
    countdownExpired();
}

void ProfileVerification::stopTimer() {
    bActiveTimer = false;
    threadTimer.stop();
}

void ProfileVerification::countdownExpired() {
    ProfilePhoneSheet* s = sheet();
    s->certificateField()->clear();
    s->certificateField()->setEnabled(false);
    s->okButton()->setEnabled(false);
    s->setCountdownVisible(false);
    s->showExpired(true);
}

void ProfileVerification::makeEPAuthInfoAction() {
    ProfilePhoneSheet* s = sheet();
    const std::string pin = s->certificateField()->text().toStdString();
    s->okButton()->setEnabled(false);
    struct Outcome {
        bool verified = false, stored = false;
    };
    app_.inBackground(
        [this, code = strSaveCode, phone = strSavePhoneN, pin] {
            Outcome out;
            out.verified = NBXConnectManger::sendPinToServerWithPhone(phone, code, pin,
                                                                      app_.postingAlertContext());
            if (out.verified) {
                out.stored = NBXAuthenticationManger::makeAuthInfoWithKey(code, phone);
                app_.log(std::string("Make Auth Info ") + (out.stored ? "True" : "False"));
            }
            return out;
        },
        [this, code = strSaveCode, phone = strSavePhoneN](Outcome out) {
            finishEPAuthInfo(out.verified, out.stored, code, phone);
        });
}

void ProfileVerification::finishEPAuthInfo(bool verified, bool stored, const std::string& code,
                                           const std::string& phone) {
    ProfilePhoneSheet* s = sheet();
    // A refused PIN has been told; the user may type it again while the countdown runs.
    s->okButton()->setEnabled(!s->certificateField()->text().isEmpty());
    if (!verified) return;
    if (!stored) {
        app_.showOnlyAlertMSG("Saving authentication information is failed.");
        stopTimer();
        showEPCertificate();
        return;
    }
    strUserPN = "+" + code + phone;
    app_.backend().stopListening();
    showEPCertificate();
    stopTimer();
    s->hide();
    app_.showSetting();
}

void ProfileVerification::clickEPClosebtn() {
    stopTimer();
    showEPCertificate();
    sheet()->hide();
}

}  // namespace nbx
