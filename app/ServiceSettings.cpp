#include "ServiceSettings.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include "AppDelegate.h"
#include "CloudCall.h"
#include "MainWindow.h"
#include "NBXCloudInterface.h"
#include "PhoneEntry.h"
#include "PrinterList.h"
#include "PrinterScreen.h"
#include "PrinterSharing.h"
#include "PropertyListFile.h"
#include "SettingScreen.h"
#include "StateFiles.h"

namespace nbx {

namespace {

const char* const kConnectionFailed = "Connection failed.";

}  // namespace

void ServiceSettings::connectWindow(MainWindow* w) {
    w->settingScreen.whenBuilt([this](SettingScreen* screen) {
        QObject::connect(screen->managementCheckBox(), &QCheckBox::clicked, &app_,
                         [this] { clickNotificationAgreeBtn(); });
        QObject::connect(screen->printingPopupCheckBox(), &QCheckBox::clicked, &app_,
                         [this] { clickPrintPopupBtn(); });
    });
    w->printerScreen.whenBuilt([this](PrinterScreen* screen) {
        QObject::connect(screen->popupCheckBox(), &QCheckBox::clicked, &app_,
                         [this] { clickPrintCheckBtn(); });
    });
}

std::optional<bool> ServiceSettings::marketingAgreement() {
    const CloudAnswer answer = CloudAnswer::call(app_, "Cloud API - getNbxd2SettingInfo",
                                                 &NBXCloudInterface::getNbxd2SettingInformation,
                                                 PropertyValue::dictionary());
    if (!answer.reached) app_.showOnlyAlertMSG(kConnectionFailed);
    if (!answer.success) {
        app_.log("getNbxd2SettingInfo err : " + answer.information.description());
        return std::nullopt;
    }
    app_.log("dicReturnInfoTmp : " + answer.information.description());
    return answer.information["clientMarketingEula"].string() == "AGREED";
}

bool ServiceSettings::getNbxd2SettingInfo() {
    return marketingAgreement().value_or(false);
}

// The update logs the getter's start line; that is the line the log has always had.
bool ServiceSettings::updateNbxd2SettingInfo(bool pushNotification) {
    const CloudAnswer answer = CloudAnswer::call(
        app_, "Cloud API - getNbxd2SettingInfo",
        &NBXCloudInterface::updateNbxd2SettingInformationForPushNoti,
        PropertyValue::dictionary({{"clientPushNoti", pushNotification ? "true" : "false"}}));
    if (!answer.reached) app_.showOnlyAlertMSG(kConnectionFailed);
    return answer.success;
}

bool ServiceSettings::requestUserLicenseAgree(bool agreed) {
    const CloudAnswer answer =
        CloudAnswer::call(app_, "Cloud API - EulaAgreement", &NBXCloudInterface::eulaAgreement,
                          PropertyValue::dictionary({{"isAgreedSuppliesMarketEULA", agreed},
                                                     {"isAgreedSuppliesDeviceEULA", agreed}}));
    if (!answer.reached) app_.showOnlyAlertMSG(kConnectionFailed);
    return answer.success;
}

bool ServiceSettings::registeredPushNIdentifier(const PropertyValue& phone) {
    const CloudAnswer answer =
        CloudAnswer::call(app_, "Cloud API - Get registered push notificiation identifier",
                          &NBXCloudInterface::getRegisteredPushNotificationIDInformation,
                          PropertyValue::dictionary({{"senderCountryCode", phone["Code"]},
                                                     {"senderPhoneNumber", phone["PhoneNumber"]}}));
    app_.log(answer.success
                 ? "dicReturnInfoTmp : " + answer.information.description()
                 : "registeredPushNIdentifier err : " + answer.information.description());
    return answer.success;
}

// A service that did not answer is asked again at the next refresh, rather than its silence
// being stored as a refusal.
void ServiceSettings::refreshSetting() {
    if (!app_.checkMyInfoPlist()) return;
    std::optional<bool> agreed = StateFiles::notiAgree();
    if (!agreed) {
        agreed = marketingAgreement();
        if (agreed) StateFiles::setNotiAgree(*agreed);
    }
    app_.onMainThread([this, ticked = agreed.value_or(false)] {
        app_.window()->settingScreen->managementCheckBox()->setChecked(ticked);
    });
}

// The file follows the box even when the service could not be told.
void ServiceSettings::clickNotificationAgreeBtn() {
    const bool ticked = app_.window()->settingScreen->managementCheckBox()->isChecked();
    app_.showRefreshWindow("START", true);
    app_.inBackground([this, ticked] { return updateNbxd2SettingInfo(ticked); },
                      [this, ticked](bool) {
                          StateFiles::setNotiAgree(ticked);
                          app_.showRefreshWindow("STOP", false);
                      });
}

// The settings page's box writes the file anew: the popup choice is all it keeps.
void ServiceSettings::clickPrintPopupBtn() {
    const bool ticked = app_.window()->settingScreen->printingPopupCheckBox()->isChecked();
    writePropertyListFile(StateFiles::pathTo(StateFiles::kJobPreferenceFile),
                          PropertyValue::dictionary({{"DirectPrint", ticked ? "FALSE" : "TRUE"}}));
}

void ServiceSettings::clickPrintCheckBtn() {
    StateFiles::setDirectPrint(app_.window()->printerScreen->popupCheckBox()->isChecked());
}

void ServiceSettings::updatePhoneInfo() {
    app_.checkMyInfoPlist();
    const SenderIdentity user = app_.shared().arrGetuserInfo.get();
    SettingScreen* screen = app_.window()->settingScreen;
    screen->senderLabel()->setText(
        user ? QStringLiteral("+%1 %2").arg(QString::fromStdString((*user)[0]),
                                            QString::fromStdString((*user)[1]))
             : QString());
    screen->senderLabel()->setVisible(user.has_value());
    screen->editButton()->setVisible(user.has_value());
    screen->authenticateButton()->setVisible(!user.has_value());
}

void ServiceSettings::updateSettingsUI() {
    app_.log("Update Settings UI");
    updatePhoneInfo();
    app_.sharing().updateAgentInfo();
}

void ServiceSettings::settingGetPrinterInfo() {
    app_.onMainThread([this] { selectRecentTarget(); });
}

void ServiceSettings::selectRecentTarget() {
    PrinterScreen* screen = app_.window()->printerScreen;
    PrinterList& printers = app_.printers();
    const PropertyDictionary target = StateFiles::sendInfo().value_or(PropertyDictionary());
    const std::string type = target["Type"].string().value_or("");
    if (type == "Friend") {
        printers.selectPrinterListTableRow(0, "Friend");
        const std::string code = target["Code"].string().value_or("");
        for (std::size_t i = 0; i < app_.arrCountyCode().size(); ++i) {
            const PropertyValue& country = app_.arrCountyCode().at(i);
            if (country["Code"].string() == code) {
                screen->friendEntry()->selectRegion(
                    QString::fromStdString(country["Locale_alpha2"].string().value_or("")));
                break;
            }
        }
        const std::string phone = target["PhoneNumber"].string().value_or("");
        screen->friendEntry()->codeField()->setText(QString::fromStdString(code));
        screen->friendEntry()->phoneField()->setText(phone == "-1" ? QString()
                                                                   : QString::fromStdString(phone));
    } else if (type == "Printer") {
        const PropertyValue rows = app_.shared().arrSaveAgentList.get();
        const bool friends = target.contains("FirstName") || target.contains("LastName");
        int found = -1;
        for (std::size_t i = 0; i < rows.size() && found < 0; ++i) {
            const PropertyValue& row = rows.at(i);
            const bool named =
                !target["ModelName"].isNull() && (row["agentAlias"] == target["ModelName"] ||
                                                  row["agentModelName"] == target["ModelName"]);
            const bool same = friends ? row["firstName"] == target["FirstName"] &&
                                            row["lastName"] == target["LastName"]
                                      : row["agentMacAddress"] == target["MACAddress"];
            if (named && same) found = static_cast<int>(i);
        }
        if (found < 0) {
            StateFiles::updateDictionary(StateFiles::pathTo(StateFiles::kJobPreferenceFile),
                                         [](PropertyDictionary& file) {
                                             PropertyValue info = file["SendInfo"];
                                             info.set("Type", "Default");
                                             file.set("SendInfo", info);
                                         });
        }
        printers.selectPrinterListTableRow(std::max(found, 0), "Printer");
        screen->printerTable()->setFocus();
    } else if (screen->friendEntry()->phoneField()->text().isEmpty()) {
        printers.selectPrinterListTableRow(0, "Printer");
    } else {
        printers.selectPrinterListTableRow(0, "Friend");
    }
    const int row = screen->selectedPrinterRow();
    const PropertyValue rows = app_.shared().arrSaveAgentList.get();
    const bool post = row >= 0 && static_cast<std::size_t>(row) < rows.size() &&
                      rows.at(row)["agentType"].string() == "POST_AGENT";
    screen->nextButton()->setText(app_.localized(post ? "Send Job" : "Print Job"));
}

}  // namespace nbx
