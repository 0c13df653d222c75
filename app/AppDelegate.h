#pragma once

#include <QObject>
#include <QStringList>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "AppPlatform.h"
#include "LangController.h"
#include "Localizer.h"
#include "NBXConnectManger.h"
#include "NBXLogger.h"
#include "PropertyValue.h"
#include "SharedState.h"

namespace nbx {

class AccountLink;
class BackendLink;
class FriendsProfile;
class MainWindow;
class PhoneRegistration;
class PrinterActions;
class PrinterList;
class PrinterSharing;
class PrintTarget;
class SendToFriend;
class ServiceSettings;
class TonerStatus;

// The application controller: owns the window, the flows and the state they share; wires the
// window to the flows, moves between screens and runs start-up, refresh, alerts and quitting.
// Each flow is a class of its own that keeps its state.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    explicit AppDelegate(AppPlatform platform, QObject* parent = nullptr);
    // Aborts the transfers in flight and waits for the workers, so quitting is prompt.
    ~AppDelegate() override;

    // --- threads. Work leaves the main thread through inBackground (or detachNewThread for a
    // worker body that hands its steps over itself); widgets are touched on the main thread only.
    // Runs work on a worker and then apply(result) on the main thread; apply is dropped when the
    // controller is gone by then.
    template <class Work, class Apply>
    void inBackground(Work work, Apply apply);
    void detachNewThread(std::function<void()> work);
    // Runs work on the main thread: at once when called there, else queued.
    void onMainThread(std::function<void()> work);
    // Queues work for the main thread's next turn, even when called from it.
    void laterOnMainThread(std::function<void()> work);
    void waitForWorkers();

    // --- start-up (AppDelegateStartup.cpp)
    void applicationDidFinishLaunching(const QStringList& arguments);
    void initCommonValue();
    // The second "_" piece of a locale, "" when there is none.
    static std::string regionOfLocale(const std::string& locale);
    bool checkMyInfoPlist();
    bool checkPrintQInfo();
    bool checkNBXSaveInfoPlist(bool validateContent);
    bool checkVAInfoPlist();
    bool checkPrintLaterAgain();

    // --- screens, wizard buttons and refresh (AppDelegateScreens.cpp)
    void showAuthScreen();
    void showAddPrinterScreen();
    void showSharingPrinterScreen();
    void showRegistrationEnableScreen();
    void showRegistrationScreen();
    void showGuideScreen();
    void showGuideRegistrationEnableScreen();
    void showSetting();
    // Leaves the wizard for the main window's Printer tab.
    void returnToMainWindow();
    void actionClickToolbar(const QString& tab);
    void nextAction();
    void cancelAction();
    void refreshSettingThread();
    void clickRefreshbtnOnMain();
    // A worker body: the cloud calls block, widget changes are handed to the main thread.
    void clickRefreshbtn(bool fromButton);

    // --- alerts and the busy overlay (AppDelegateAlerts.cpp)
    void manageErrCode(const PropertyValue& code);
    void showRefreshWindow(const std::string& word, bool showProgress);
    void refreshMainWin();
    void showAlertSheet(const std::string& messageKey);
    void closeAlertWindow();
    void showOnlyAlertMSG(const std::string& messageKey);
    // Alerts shown in place, and alerts handed to the main thread without waiting.
    NBXConnectManger::Context alertContext();
    NBXConnectManger::Context postingAlertContext();

    // --- links, helper applications and small sheets (AppDelegateLinks.cpp)
    void clickWebLink();
    void clickMoreInfo();
    // Runs the setup program on a worker; the follow-up runs on the main thread.
    void runNBXSetup(const std::string& mode);
    bool setupApplicationExists() const;
    void clickAbout();
    void clickAbout_OKBtn();
    // Runs the doctor's checks on a worker; the About sheet shows their lines.
    void clickDiagnose();
    void showPrintLaterSheet();
    void clickPrinterLaterOKBtn();
    bool windowShouldClose() const { return true; }
    void windowWillClose();
    void terminate();

    // --- what the flows use
    QString localized(const QString& key) const;
    Localizer localizer() const;
    void log(const std::string& line) const;
    // Null until built: a direct print decides without it.
    MainWindow* window() const { return window_.get(); }
    SharedState& shared() { return shared_; }
    // The country table, sorted for display once the window exists (at its first use: start-up
    // does not wait for it). Main thread only.
    const PropertyValue& arrCountyCode();
    const std::string& sSystemLanguage() const { return sSystemLanguage_; }
    const std::string& sSystemRegion() const { return sSystemRegion_; }
    const std::string& sAppFolderPath() const { return sAppFolderPath_; }
    const AppPlatform& platform() const { return platform_; }

    PhoneRegistration& registration() { return *registration_; }
    BackendLink& backend() { return *backend_; }
    PrinterList& printers() { return *printers_; }
    PrinterActions& printerActions() { return *printerActions_; }
    PrinterSharing& sharing() { return *sharing_; }
    PrintTarget& printTarget() { return *printTarget_; }
    ServiceSettings& settings() { return *settings_; }
    FriendsProfile& profile() { return *profile_; }
    SendToFriend& friends() { return *friends_; }
    AccountLink& account() { return *account_; }
    TonerStatus& toner() { return *toner_; }

private:
    // The main window and its screens, wired to the flows; a direct print may never need it.
    void buildWindow();
    void connectWindow();
    void afterSetup();

    struct Workers {
        std::mutex mutex;
        std::condition_variable ended;
        int running = 0;
    };
    // Work for the main thread: any thread appends under the lock; the main thread takes one item
    // per queued call, in order.
    struct MainQueue {
        std::mutex mutex;
        std::deque<std::function<void()>> work;
    };
    Q_INVOKABLE void runQueuedWork();

    AppPlatform platform_;
    std::shared_ptr<Workers> workers_ = std::make_shared<Workers>();
    MainQueue mainQueue_;
    SharedState shared_;
    std::optional<LangController> langCtrl;
    std::optional<NBXLogger> logger;
    PropertyValue bundleInfo;
    PropertyValue arrCountyCode_ = PropertyValue::array();
    bool countriesToSort_ = false;
    std::string sAppFolderPath_, sSystemLanguage_, sSystemRegion_;
    std::unique_ptr<MainWindow> window_;
    // Set by terminate(): the platform's quit may take effect only later.
    std::atomic<bool> quitting_ = false;
    std::unique_ptr<PhoneRegistration> registration_;
    std::unique_ptr<BackendLink> backend_;
    std::unique_ptr<PrinterList> printers_;
    std::unique_ptr<PrinterActions> printerActions_;
    std::unique_ptr<PrinterSharing> sharing_;
    std::unique_ptr<PrintTarget> printTarget_;
    std::unique_ptr<ServiceSettings> settings_;
    std::unique_ptr<FriendsProfile> profile_;
    std::unique_ptr<SendToFriend> friends_;
    std::unique_ptr<AccountLink> account_;
    std::unique_ptr<TonerStatus> toner_;
};

template <class Work, class Apply>
void AppDelegate::inBackground(Work work, Apply apply) {
    detachNewThread([this, work = std::move(work), apply = std::move(apply)]() mutable {
        if constexpr (std::is_void_v<std::invoke_result_t<Work&>>) {
            work();
            laterOnMainThread([apply = std::move(apply)]() mutable { apply(); });
        } else {
            laterOnMainThread([apply = std::move(apply), result = work()]() mutable {
                apply(std::move(result));
            });
        }
    });
}

}  // namespace nbx
