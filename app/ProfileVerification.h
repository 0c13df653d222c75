#pragma once

#include <QTimer>
#include <QVariantMap>
#include <string>

#include "SharedState.h"

namespace nbx {

class AppDelegate;
class ProfilePhoneSheet;

// The profile page's phone verification: the same PIN protocol as the registration, on the
// profile phone sheet with a countdown of its own. Everything here is main-thread only; the
// cloud calls run on workers and hand their results back.
class ProfileVerification {
public:
    explicit ProfileVerification(AppDelegate& app);

    // Wires the sheet (once), resets it and opens it.
    void open();
    void clickEPContryFlag(int index);
    // Whether the typed phone, digits only and without a leading zero, is the registered one;
    // when it is, the countdown stops. Values in userInfo ("Code", "Phone") win over the fields.
    bool isEqualToUserInfo(const QVariantMap& userInfo);
    bool checkChangeUserPNInfo() { return isEqualToUserInfo({}); }
    void clickEPGetCertificate(bool sms = false);
    void clickEPGetCertificateAgain() { clickEPGetCertificate(true); }
    // Worker body: arms the countdown and asks for the PIN.
    void getEPCerNoAction(const std::string& code, const std::string& phone, bool sms);
    // Worker body: true when the PIN is on its way.
    bool sendRequestPin(const std::string& code, const std::string& phone, bool sms);
    void startEPTimer();
    void stopTimer();
    void makeEPAuthInfoAction();
    void clickEPOKbtn() { makeEPAuthInfoAction(); }
    void clickEPClosebtn();
    // Back to the page before a request: no PIN, no countdown, no expiry note.
    void showEPCertificate();

    bool countdownActive() const { return bActiveTimer; }
    int secondsLeft() const { return nTimeValue; }
    // "+<code><phone>" of the last phone verified here.
    const std::string& userPhoneNumber() const { return strUserPN; }

private:
    ProfilePhoneSheet* sheet() const;
    void connectSheet();
    void tick();
    void countdownExpired();
    void showPinRequestEnded(bool requested);
    void finishEPAuthInfo(bool verified, bool stored, const std::string& code,
                          const std::string& phone);

    AppDelegate& app_;
    bool connected_ = false;
    // The phone the last PIN was asked for, and the registered one read when the sheet opened.
    std::string strSaveCode, strSavePhoneN, strUserPN;
    SenderIdentity registered_;
    int nTimeValue = 0;
    bool bActiveTimer = false;
    // Also the context of the sheet's connections, so none outlives this object.
    QTimer threadTimer;
};

}  // namespace nbx
