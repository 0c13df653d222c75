#pragma once

#include <QString>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "PropertyValue.h"

namespace nbx {

class AppDelegate;
class MainWindow;

// Phone registration: the country list, the PIN request with its countdown, the PIN check that
// stores the identity, the subscription check and the account binding.
class PhoneRegistration {
public:
    explicit PhoneRegistration(AppDelegate& app);
    ~PhoneRegistration();

    void connectWindow(MainWindow* window);
    // The table ordered by localized name and code, as the country popups show it.
    PropertyValue sortCountryDic(const PropertyValue& countries) const;
    // Finds the locale's country by its unique code, so any order of the table will do.
    void logDefaultCountry(const PropertyValue& countries) const;
    void clickContryFlag(int index);
    void clickGetCertificate();
    void getCerNoAction(const std::string& code, const std::string& phone);
    // Worker body: asks for the PIN; true when it is on its way.
    bool sendRequestPin(const std::string& code, const std::string& phone);
    void startTimer();
    void stopTimer();
    // After stopTimer, once no worker can start the countdown again.
    void joinTimer();
    void makeAuthInfoAction();
    void clickRegistrationCheckBox(bool checked);
    bool verifCode(const std::string& code, const std::string& PhoneNumber);
    void requestToBindVA();

    // Minutes and seconds: "%d:%d", or "%d:0%d" below ten seconds.
    static QString countdownText(int seconds);
    bool countdownRunning() const { return timerRunning_; }
    bool countdownActive() const { return bActiveTimer; }
    int secondsLeft() const { return nTimeValue; }

private:
    void showPinRequestEnded(bool requested);
    void showCountdown(int seconds);
    void countdownExpired();
    void finishAuthInfo(bool verified, bool stored, bool queuePresent);

    AppDelegate& app_;
    // Main thread only.
    std::string strInsertCode, strInsertPhoneN;
    // The countdown thread ticks these; timerMutex_ orders its start against its decision to end.
    std::atomic<int> nTimePix;
    std::atomic<int> nTimeValue = 0;
    std::atomic<bool> bActiveTimer = false;
    std::atomic<bool> bSendSMS = false;
    std::mutex timerMutex_;
    std::condition_variable timerWake_;
    std::thread threadTimer;
    std::atomic<bool> timerRunning_ = false;
};

}  // namespace nbx
