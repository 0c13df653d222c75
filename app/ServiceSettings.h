#pragma once

namespace nbx {

class AppDelegate;

// The Setting tab's service settings: agreements, the printing popup, notifications and the
// sender shown in My Profile.
class ServiceSettings {
public:
    explicit ServiceSettings(AppDelegate& app) : app_(app) {}

    // Worker bodies.
    void refreshSetting();
    void settingGetPrinterInfo();
    // Main thread: reads this computer's identity afresh and shows it.
    void updateSettingsUI();

private:
    AppDelegate& app_;
};

}  // namespace nbx
