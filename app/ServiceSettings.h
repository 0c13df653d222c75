#pragma once

#include <optional>

#include "PropertyValue.h"

namespace nbx {

class AppDelegate;
class MainWindow;

// The Setting tab's service settings: the printing popup, the notification agreement mirrored
// in the service, the supplies agreement, the sender shown in My Profile and the recent print
// target pre-selected on the Printer tab.
class ServiceSettings {
public:
    explicit ServiceSettings(AppDelegate& app) : app_(app) {}
    void connectWindow(MainWindow* window);

    // Any thread: cloud calls. Without a service they tell the user "Connection failed.".
    bool getNbxd2SettingInfo();
    bool updateNbxd2SettingInfo(bool pushNotification);
    bool requestUserLicenseAgree(bool agreed);
    // Whether the phone {"Code", "PhoneNumber"} has a push identifier.
    bool registeredPushNIdentifier(const PropertyValue& phone);

    // Worker: the notification box from the stored choice, asking the service the first time.
    void refreshSetting();
    // Any thread; the selection is made on the main thread.
    void settingGetPrinterInfo();

    // Main thread.
    void clickNotificationAgreeBtn();
    void clickPrintPopupBtn();
    void clickPrintCheckBtn();
    void updatePhoneInfo();
    // Reads this computer's identity afresh and shows it.
    void updateSettingsUI();

private:
    // The service's marketing agreement; nothing when it did not answer.
    std::optional<bool> marketingAgreement();
    void selectRecentTarget();

    AppDelegate& app_;
};

}  // namespace nbx
