#include <QCheckBox>
#include <QPushButton>
#include <filesystem>

#include "AboutSheet.h"
#include "AppDelegate.h"
#include "Configuration.h"
#include "MainWindow.h"
#include "NBXAuthenticationManger.h"
#include "NBXPrinterQManger.h"
#include "NBXUtility.h"
#include "PhoneRegistration.h"
#include "PrintTarget.h"
#include "PrinterScreen.h"
#include "SettingScreen.h"
#include "StateFiles.h"

namespace nbx {

namespace {

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

void AppDelegate::initCommonValue() {
    shared_.nCrtFunctionNum = kAuthScreen;
    logger.emplace("NBXSetting");
    std::error_code ec;
    std::filesystem::create_directories(NBXUtility::appSupportPathForNBX(), ec);
    sAppFolderPath_ = Configuration::helperApplicationFolder();
    bundleInfo = NBXUtility::infoDictionary();
    arrCountyCode_ =
        bundleInfo["CountyCode"].isArray() ? bundleInfo["CountyCode"] : PropertyValue::array();
    langCtrl = LangController::forProcessLocale();
    sSystemLanguage_ = langCtrl->getLocalizedStringWithKey("Localization_MAC");
    sSystemRegion_ = regionOfLocale(LangController::processLocale());
}

const PropertyValue& AppDelegate::arrCountyCode() {
    if (countriesToSort_) {
        arrCountyCode_ = registration_->sortCountryDic(arrCountyCode_);
        countriesToSort_ = false;
    }
    return arrCountyCode_;
}

std::string AppDelegate::regionOfLocale(const std::string& locale) {
    const auto at = locale.find('_');
    if (at == std::string::npos) return "";
    const std::string rest = locale.substr(at + 1);
    return rest.substr(0, rest.find('_'));
}

void AppDelegate::applicationDidFinishLaunching(const QStringList& arguments) {
    initCommonValue();
    printTarget_->readLaunchArguments(arguments);
    // A direct print is decided before any window exists: most end the program here.
    if (printTarget_->isPrintLaunch()) printTarget_->printDirectly();
    if (quitting_) return;
    buildWindow();

    if (printTarget_->isPrintLaunch()) {
        printTarget_->launchForJob();
    } else {
        window_->show();
        window_->raise();
        window_->activateWindow();
    }

    if (checkPrintQInfo()) {
        window_->setWizardButtonsVisible(false);
        window_->setTitleViewVisible(false);
        showSetting();
    } else {
        window_->settingScreen.whenBuilt([](SettingScreen* settings) {
            settings->applyButton()->hide();
            settings->cancelButton()->hide();
        });
        window_->setWizardButtonsVisible(true);
        window_->setToolbarVisible(false);
        showAddPrinterScreen();
    }
}

void AppDelegate::buildWindow() {
    const std::string version = bundleInfo["CFBundleShortVersionString"].string().value_or("2.0");
    const AboutInfo about{
        QString::fromStdString(version),
        QStringLiteral(__DATE__),
        QString::fromStdString(
            bundleInfo["NSHumanReadableCopyright"].string().value_or("Nimbrix $VERSION$")),
        localized("AboutContact"),
        localized("AboutSite"),
        QString::fromStdString(bundleInfo["AboutSite"].string().value_or(""))};
    countriesToSort_ = true;
    window_ = std::make_unique<MainWindow>(
        localizer(), [this]() -> const PropertyValue& { return arrCountyCode(); }, about);
    window_->selectDefaultCountry(QString::fromStdString(sSystemRegion_));
    registration_->logDefaultCountry(arrCountyCode_);
    connectWindow();
}

// Any thread: the identity is read from its store and kept for the flows.
bool AppDelegate::checkMyInfoPlist() {
    const SenderIdentity stored = NBXAuthenticationManger::returnAuthInfo();
    shared_.arrGetuserInfo.set(stored);
    if (!stored) log("Check MyInfo.plist Fail.");
    return stored.has_value();
}

bool AppDelegate::checkPrintQInfo() {
    if (NBXPrinterQManger::checkPrinterQ()) return true;
    log("Check Pinter Q Fail\n");
    return false;
}

bool AppDelegate::checkNBXSaveInfoPlist(bool validateContent) {
    std::error_code ec;
    if (!std::filesystem::exists(StateFiles::pathTo(StateFiles::kJobPreferenceFile), ec)) {
        log("Get user info fail.");
        return false;
    }
    if (!validateContent) return true;
    const PropertyDictionary info = StateFiles::sendInfo().value_or(PropertyDictionary());
    auto filled = [&](const char* key) {
        return !trimmed(info[key].string().value_or("")).empty();
    };
    const std::string type = info["Type"].string().value_or("");
    const bool complete = type == "Default" ||
                          (type == "Friend" && filled("Code") && filled("PhoneNumber")) ||
                          (type == "Printer" && filled("ModelName") &&
                           (filled("MACAddress") || filled("FriendUserId")));
    if (!complete) log("Get save info list fail.");
    return complete;
}

bool AppDelegate::checkVAInfoPlist() {
    log("check valmora account information save plist file");
    return true;
}

bool AppDelegate::checkPrintLaterAgain() {
    return StateFiles::printerLater();
}

}  // namespace nbx
