#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "AppPlatform.h"
#include "LangController.h"
#include "Localizer.h"
#include "NBXConnectManger.h"
#include "NBXLogger.h"
#include "PropertyValue.h"

namespace nbx {

class MainWindow;

// The application controller: owns the window, the language table, the state-file paths and the
// screen state. Its flows are grouped by area, one source file each.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    explicit AppDelegate(AppPlatform platform, QObject* parent = nullptr);
    ~AppDelegate() override;

    // The one way other threads reach widgets, alerts and state: queued onto the main thread.
    void onMainThread(std::function<void()> work);
    // Queues work for the main thread's next turn, even when called from it.
    void laterOnMainThread(std::function<void()> work);
    // Runs work on a one-shot detached thread; the controller outlives every such thread.
    void detachNewThread(std::function<void()> work);
    // Blocks until every worker started by detachNewThread has ended.
    void waitForWorkers();

    // --- start-up (AppDelegateStartup.cpp)
    void applicationDidFinishLaunching(const QStringList& arguments);
    void initCommonValue();
    void readLaunchArguments(const QStringList& arguments);
    // The value of "<lead><key><value>": the text from position key length + 1, "" when shorter.
    static QString textAfterKey(const QString& argument, const QString& key);
    // Leading integer of a text, 0 when there is none; clamped to int.
    static int integerValue(const QString& text);
    // The second "_" piece of a locale, "" when there is none.
    static std::string regionOfLocale(const std::string& locale);
    void showPrintWindow();
    bool checkMyInfoPlist();
    bool checkPrintQInfo();
    bool checkNBXSaveInfoPlist(bool validateContent);
    bool checkVAInfoPlist();
    bool checkPrinterRegistration();
    bool checkPrintLaterAgain();

    // --- screens and wizard buttons (AppDelegateScreens.cpp)
    void showAuthScreen();
    void showAddPrinterScreen();
    void showSharingPrinterScreen();
    void showRegistrationEnableScreen();
    void showRegistrationScreen();
    void showGuideScreen();
    void showGuideRegistrationEnableScreen();
    void clickProfileAuthenticate();
    void showSetting();
    void actionClickToolbar(const QString& tab);
    void nextAction();
    void cancelAction();
    void recordPrintTarget();
    PropertyValue makeSendInfo();
    std::string friendCountryCode();
    void refreshSettingThread();
    void clickRefreshbtnOnMain();
    void clickRefreshbtn(bool fromButton);

    // --- alerts and the busy overlay (AppDelegateAlerts.cpp)
    void manageErrCode(const PropertyValue& code);
    void showRefreshWindow(const std::string& word, bool showProgress);
    void refreshMainWin();
    void showAlertSheet(const std::string& messageKey);
    void closeAlertWindow();
    void showOnlyAlertMSG(const std::string& messageKey);
    NBXConnectManger::Context alertContext();

    // --- phone registration (AppDelegateRegistration.cpp)
    void sortCountryDic();
    void logDefaultCountry();
    void clickContryFlag(int index);
    void clickGetCertificate();
    void getCerNoAction(const std::string& code, const std::string& phone);
    void sendRequestPin(const std::string& code, const std::string& phone);
    void startTimer();
    void stopTimer();
    void makeAuthInfoAction();
    void clickRegistrationCheckBox(bool checked);
    bool verifCode(const std::string& code, const std::string& PhoneNumber);
    void requestToBindVA();
    // Minutes and seconds: "%d:%d", or "%d:0%d" below ten seconds.
    static QString countdownText(int seconds);
    bool countdownRunning() const { return timerRunning_; }

    // --- links, helper applications and small sheets (AppDelegateLinks.cpp)
    void clickWebLink();
    void clickMoreInfo();
    void runNBXSetup(const std::string& mode);
    bool setupApplicationExists() const;
    void clickAbout();
    void clickAbout_OKBtn();
    void showPrintLaterSheet();
    void clickPrinterLaterOKBtn();
    bool windowShouldClose() const { return true; }
    void windowWillClose();
    void terminate();

    // --- places the printer, settings, back-end and job-target flows fill in
    //     (AppDelegatePrinters.cpp, AppDelegateSettings.cpp, AppDelegateBackend.cpp)
    bool getAgentPrinterList();
    bool getSupportCapabilitySelectPrinter();
    bool writeToTargetPlist();
    void settingGetPrinterInfo();
    void refreshPrinter();
    void refreshSetting();
    void updateSettingsUI();
    void setPlusbtn(bool enable);
    void ManagedPrinterRegistrationBtn();
    bool makeSPInfoDic();
    void connectDistributedNotificatiion();

    // The text of a key in the current language.
    QString localized(const QString& key) const;
    Localizer localizer() const;
    MainWindow* window() const { return window_.get(); }

    // --- state, as the flows share it; what workers read is atomic, the rest is main-thread only
    std::atomic<int> nCrtFunctionNum = 1;
    std::atomic<bool> bAfterCapabilityCheck = false;
    std::atomic<bool> bCapabilityCheckCompleted = false;
    int argTotalPages = 0;
    std::string argColor, argDueplex, argPaperSize, argCopiesVal, argTargetPlist;
    std::string sAppFolderPath, sUserFolderPath;
    std::string sNBXSaveInfoPath, sMyInfoFilePath, sVAInfoFilePath, sAgentPLFilePath,
        sPDLMInfoFilePath, sTonerInfoFilePath;
    std::string sSystemLanguage, sSystemRegion, sSystemRegionCode;
    std::string strInsertCode, strInsertPhoneN;
    PropertyValue dicUpdateInfo = PropertyValue::dictionary();
    PropertyValue dicGetAgentInfo = PropertyValue::dictionary();
    PropertyValue dicRegistSelectPrint, dicGetAgentQuantity;
    PropertyValue arrSaveAgentList = PropertyValue::array();
    std::optional<std::vector<std::string>> arrGetuserInfo;
    PropertyValue arrCountyCode = PropertyValue::array();
    std::atomic<int> nTimePix = 1800;
    std::atomic<int> nTimeValue = 0;
    std::atomic<bool> bActiveTimer = false;
    std::atomic<bool> bSendSMS = false;
    bool isSendPostNotification = false;
    bool isObserverExist = false;

private:
    void log(const std::string& line) const;
    void connectWindow();
    void connectRegistration();
    void showPinRequestEnded(bool requested);
    void showCountdown(int seconds);
    void countdownExpired();
    void finishAuthInfo(bool verified, bool stored, bool queuePresent);
    NBXConnectManger::Context postingAlertContext();

    struct Workers {
        std::mutex mutex;
        std::condition_variable ended;
        int running = 0;
    };

    AppPlatform platform_;
    std::shared_ptr<Workers> workers_ = std::make_shared<Workers>();
    std::optional<LangController> langCtrl;
    std::optional<NBXLogger> logger;
    PropertyValue bundleInfo;
    std::unique_ptr<MainWindow> window_;
    // The countdown thread; timerMutex_ orders its start against its decision to end.
    std::mutex timerMutex_;
    std::condition_variable timerWake_;
    std::thread threadTimer;
    std::atomic<bool> timerRunning_ = false;
};

}  // namespace nbx
