#include <QAction>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <filesystem>

#include "AboutSheet.h"
#include "AppDelegate.h"
#include "Configuration.h"
#include "MainWindow.h"
#include "NBXAuthenticationManger.h"
#include "NBXPrinterQManger.h"
#include "NBXUtility.h"
#include "PrinterScreen.h"
#include "PropertyListFile.h"
#include "SettingScreen.h"

namespace nbx {

namespace {

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

void AppDelegate::initCommonValue() {
    dicGetAgentInfo = PropertyValue::dictionary();
    arrSaveAgentList = PropertyValue::array();
    dicUpdateInfo = PropertyValue::dictionary();
    argTotalPages = 0;
    argColor = argDueplex = argPaperSize = argCopiesVal = argTargetPlist = "";
    strInsertCode = strInsertPhoneN = "";
    arrGetuserInfo.reset();
    dicGetAgentQuantity = dicRegistSelectPrint = PropertyValue();
    bAfterCapabilityCheck = bCapabilityCheckCompleted = false;
    isSendPostNotification = isObserverExist = false;
    nTimePix = platform_.pinValiditySeconds;
    bSendSMS = false;
    nCrtFunctionNum = 1;
    logger.emplace("NBXSetting");

    sUserFolderPath = NBXUtility::homeFolder() + "/Library/Application Support/Valmora/Nimbrix/";
    std::error_code ec;
    std::filesystem::create_directories(sUserFolderPath, ec);
    sAppFolderPath = Configuration::helperApplicationFolder();
    sNBXSaveInfoPath = sUserFolderPath + "com.Valmora.nbx.plist";
    sMyInfoFilePath = sUserFolderPath + "MyInfo.plist";
    sVAInfoFilePath = sUserFolderPath + "va.plist";
    sAgentPLFilePath = sUserFolderPath + "AgentPL.plist";
    sPDLMInfoFilePath = sUserFolderPath + "PrinterInfo.plist";
    sTonerInfoFilePath = sUserFolderPath + "supInfo.plist";

    bundleInfo = NBXUtility::infoDictionary();
    arrCountyCode =
        bundleInfo["CountyCode"].isArray() ? bundleInfo["CountyCode"] : PropertyValue::array();
    langCtrl = LangController::forProcessLocale();
    sSystemLanguage = langCtrl->getLocalizedStringWithKey("Localization_MAC");
    sSystemRegion = regionOfLocale(LangController::processLocale());
}

std::string AppDelegate::regionOfLocale(const std::string& locale) {
    const auto at = locale.find('_');
    if (at == std::string::npos) return "";
    const std::string rest = locale.substr(at + 1);
    return rest.substr(0, rest.find('_'));
}

void AppDelegate::applicationDidFinishLaunching(const QStringList& arguments) {
    initCommonValue();
    const std::string version = bundleInfo["CFBundleShortVersionString"].string().value_or("2.0");
    const AboutInfo about{
        QString::fromStdString(version),
        QStringLiteral(__DATE__),
        QString::fromStdString(
            bundleInfo["NSHumanReadableCopyright"].string().value_or("Nimbrix $VERSION$")),
        localized("AboutContact"),
        localized("AboutSite"),
        QString::fromStdString(bundleInfo["AboutSite"].string().value_or(""))};
    sortCountryDic();
    window_ = std::make_unique<MainWindow>(localizer(), arrCountyCode, about);
    window_->selectDefaultCountry(QString::fromStdString(sSystemRegion));
    logDefaultCountry();
    window_->printerScreen->popupCheckBox()->hide();
    window_->printerScreen->nextButton()->hide();
    window_->printerScreen->cancelButton()->hide();
    connectWindow();
    readLaunchArguments(arguments);

    if (!argTargetPlist.empty()) {
        const PropertyValue saved = readPropertyListFile(sNBXSaveInfoPath).value_or(nullptr);
        if (!checkMyInfoPlist()) {
            window_->printerScreen->nextButton()->setEnabled(false);
            showPrintWindow();
        } else {
            const PropertyValue& sendInfo = saved["SendInfo"];
            const bool direct = saved["DirectPrint"].string() == "TRUE";
            if (direct && sendInfo["Type"].string() == "Friend" &&
                sendInfo["PhoneNumber"].string() == "-1") {
                window_->printerScreen->popupCheckBox()->setChecked(true);
                showPrintWindow();
            } else if (direct && !sendInfo.isNull()) {
                bAfterCapabilityCheck = false;
                getAgentPrinterList();
                getSupportCapabilitySelectPrinter();
                writeToTargetPlist();
            } else {
                window_->printerScreen->popupCheckBox()->setChecked(direct);
                showPrintWindow();
            }
        }
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
        window_->settingScreen->applyButton()->hide();
        window_->settingScreen->cancelButton()->hide();
        window_->setWizardButtonsVisible(true);
        window_->setToolbarVisible(false);
        showAddPrinterScreen();
    }
}

QString AppDelegate::textAfterKey(const QString& argument, const QString& key) {
    return argument.size() > key.size() + 1 ? argument.mid(key.size() + 1) : QString();
}

int AppDelegate::integerValue(const QString& text) {
    const std::string digits = text.trimmed().toStdString();
    const long long value = std::strtoll(digits.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

void AppDelegate::readLaunchArguments(const QStringList& arguments) {
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        log("Argument = " + argument.toStdString());
        auto valueOf = [&](const char* key) { return textAfterKey(argument, key).toStdString(); };
        if (argument.contains("TotalPages:")) {
            argTotalPages = integerValue(textAfterKey(argument, "TotalPages:"));
        }
        if (argument.contains("ColorModel:")) argColor = valueOf("ColorModel:");
        if (argument.contains("Duplex:")) argDueplex = valueOf("Duplex:");
        if (argument.contains("PaperSize:")) argPaperSize = valueOf("PaperSize:");
        if (argument.contains("nbxtarget:")) {
            argTargetPlist = argument.split(':').last().toStdString();
        }
        if (argument.contains("TotalCopies:")) argCopiesVal = valueOf("TotalCopies:");
    }
}

void AppDelegate::showPrintWindow() {
    bAfterCapabilityCheck = true;
    window_->setSettingsTabVisible(false);
    window_->printerScreen->popupCheckBox()->show();
    window_->printerScreen->nextButton()->show();
    window_->printerScreen->cancelButton()->show();
    window_->setWindowFlag(Qt::WindowStaysOnTopHint, true);
    window_->show();
    window_->raise();
    window_->activateWindow();
}

bool AppDelegate::checkMyInfoPlist() {
    const auto stored = NBXAuthenticationManger::returnAuthInfo();
    if (stored) {
        arrGetuserInfo = std::vector<std::string>(stored->begin(), stored->end());
        return true;
    }
    arrGetuserInfo.reset();
    log("Check MyInfo.plist Fail.");
    return false;
}

bool AppDelegate::checkPrintQInfo() {
    if (NBXPrinterQManger::checkPrinterQ()) return true;
    log("Check Pinter Q Fail\n");
    return false;
}

bool AppDelegate::checkNBXSaveInfoPlist(bool validateContent) {
    if (!std::filesystem::exists(sNBXSaveInfoPath)) {
        log("Get user info fail.");
        return false;
    }
    if (!validateContent) return true;
    const PropertyValue saved = readPropertyListFile(sNBXSaveInfoPath).value_or(nullptr);
    const PropertyValue& info = saved["SendInfo"];
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

bool AppDelegate::checkPrinterRegistration() {
    const auto agents = readPropertyListFile(sAgentPLFilePath);
    if (dicGetAgentInfo.size() == 0 || !agents) return true;
    auto upper = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        return text;
    };
    const auto own = dicGetAgentInfo["agentMacAddress"].string();
    if (!own) return false;
    for (std::size_t i = 0; i < agents->size(); ++i) {
        if (upper(agents->at(i)["agentMacAddress"].string().value_or("")) == upper(*own)) {
            return true;
        }
    }
    onMainThread([this] {
        window_->settingScreen->registrationCheckBox()->setChecked(false);
        window_->settingScreen->modelField()->clear();
        ManagedPrinterRegistrationBtn();
        dicUpdateInfo = PropertyValue::dictionary({{"Command", "StopPolling"}});
        connectDistributedNotificatiion();
    });
    return false;
}

bool AppDelegate::checkPrintLaterAgain() {
    const auto info = readPropertyListFile(sMyInfoFilePath);
    return info && (*info)["PrinterLater"].isTrue();
}

}  // namespace nbx
