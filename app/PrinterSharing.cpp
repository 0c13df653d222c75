#include "PrinterSharing.h"

#include <spawn.h>
#include <sys/wait.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <cstdlib>
#include <filesystem>

#include "AppDelegate.h"
#include "BackendLink.h"
#include "DeviceId.h"
#include "MainWindow.h"
#include "NBXUtility.h"
#include "SettingScreen.h"
#include "StateFiles.h"

extern char** environ;

namespace nbx {

namespace {

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

void run(const std::string& program, const char* argument) {
    const char* argv[] = {program.c_str(), argument, nullptr};
    pid_t pid = -1;
    if (posix_spawn(&pid, program.c_str(), nullptr, nullptr, const_cast<char**>(argv), environ) ==
        0)
        waitpid(pid, nullptr, 0);
}

void setTextColor(QLineEdit* field, bool active) {
    QPalette palette = field->palette();
    palette.setColor(QPalette::Text, active ? Qt::black : Qt::gray);
    field->setPalette(palette);
}

}  // namespace

std::string PrinterSharing::modelOfDeviceID(const std::string& deviceID) {
    std::string model;
    for (auto& field : DeviceId::fields(deviceID, DeviceId::Reading::Strict))
        if (field.key == "MDL") model = std::move(field.value);
    return model;
}

// The picker's command line as the product has always written it, the doubled slash and the
// lone "-" included.
std::string PrinterSharing::pickerCommand() const {
    return "\"" + app_.sAppFolderPath() + "PDLM.app/Contents/MacOS/PDLM\" -Type:ALL -ReturnInfo:/" +
           NBXUtility::homeFolder() +
           "/Library/Application\\ Support/Valmora/Nimbrix/PrinterInfo.plist - Caller:Nimbrix "
           "-SkipList -singleselect";
}

void PrinterSharing::clickSelectPrinter() {
    std::error_code ignored;
    std::filesystem::remove(StateFiles::pathTo(StateFiles::kPrinterInfoFile), ignored);
    if (!std::filesystem::exists(app_.sAppFolderPath() + "PDLM.app", ignored)) {
        app_.showOnlyAlertMSG("Adding Printer in System Preferences is failed.");
        return;
    }
    app_.inBackground([command = pickerCommand()] { return std::system(command.c_str()); },
                      [this](int) { showPickedPrinter(); });
}

void PrinterSharing::showPickedPrinter() {
    const auto printers = StateFiles::printerInfoList();
    if (!printers) return;
    const PropertyValue picked = printers->empty() ? PropertyValue() : printers->front();
    if (picked["ModelName"].string().value_or("").empty()) {
        std::error_code ignored;
        std::filesystem::remove(StateFiles::pathTo(StateFiles::kPrinterInfoFile), ignored);
        return;
    }
    dicRegistSelectPrint.set(picked);
    SettingScreen* screen = app_.window()->settingScreen;
    const std::string model = modelOfDeviceID(picked["DeviceID"].string().value_or(""));
    screen->modelField()->setText(QString::fromStdString(model));
    setTextColor(screen->modelField(), true);
    screen->searchButton()->setEnabled(true);
    screen->cancelButton()->setEnabled(true);
    // Without a model the request could not be made, so Apply stays off.
    screen->applyButton()->setEnabled(!model.empty());
}

bool PrinterSharing::makeSPInfoDic() {
    const PropertyValue picked = dicRegistSelectPrint.get();
    for (const char* key :
         {"DeviceID", "ConnectionType", "VID", "PID", "SerialNumber", "MACAddress"})
        if (picked[key].isNull()) return false;
    const std::string deviceID = picked["DeviceID"].string().value_or("");
    std::string manufacturer, model;
    for (const auto& [key, value] : DeviceId::fields(deviceID, DeviceId::Reading::Strict)) {
        if (key == "MFG") manufacturer = value;
        if (key == "MDL") model = value;
        if (key == "MODE" && value.find("NBX") != std::string::npos) bPriterSupportNBX = true;
    }
    if (manufacturer.empty() || model.empty()) return false;
    const SenderIdentity user = app_.shared().arrGetuserInfo.get();
    PropertyValue request =
        PropertyValue::dictionary({{"Command", "UpdatePolling"},
                                   {"ModelName", model},
                                   {"Alias", model},
                                   {"MDL", model},
                                   {"MFG", manufacturer},
                                   {"BindPhone_CountryCode", user ? (*user)[0] : ""},
                                   {"BindPhone_Number", user ? (*user)[1] : ""}});
    for (const char* key : {"VID", "PID"})
        if (!picked[key].isNull()) request.set(key, picked[key]);
    request.set("Mac address", picked["MACAddress"]);
    for (const char* key : {"Address", "ConnectionType", "SerialNumber"})
        request.set(key, picked[key]);
    app_.backend().setRequest(std::move(request));
    app_.window()->settingScreen->applyButton()->setEnabled(true);
    return true;
}

void PrinterSharing::ManagedPrinterRegistrationBtn() {
    SettingScreen* screen = app_.window()->settingScreen;
    QCheckBox* box = screen->registrationCheckBox();
    const bool signedIn = app_.shared().arrGetuserInfo.get().has_value();
    box->setEnabled(signedIn);
    bool change = false, cancel = false, next = false;
    const bool on = box->isChecked();
    if (signedIn) {
        const PropertyValue agent = app_.shared().dicGetAgentInfo.get();
        const std::string shown = screen->modelField()->text().toStdString();
        change = on;
        if (!agent["Alias"].isNull()) {
            const std::string model =
                agent["MDL"].string().value_or(agent["ModelName"].string().value_or(""));
            cancel = next = !on || model != shown;
        } else {
            cancel = on;
            next = on && !shown.empty();
        }
    }
    setTextColor(screen->modelField(), on);
    screen->searchButton()->setEnabled(change);
    screen->cancelButton()->setEnabled(cancel);
    screen->applyButton()->setEnabled(next);
}

void PrinterSharing::clickSharingPrinterCheckBox(bool ticked) {
    SettingScreen* screen = app_.window()->settingScreen;
    const std::string model = dicRegistSelectPrint.get()["ModelName"].string().value_or("");
    if (ticked && !model.empty()) screen->modelField()->setText(QString::fromStdString(model));
    setTextColor(screen->modelField(), ticked);
    screen->modelField()->setEnabled(ticked);
    screen->searchButton()->setEnabled(ticked);
}

void PrinterSharing::clickChangePrinter() {
    MainWindow* w = app_.window();
    w->setToolbarVisible(false);
    w->setTitleViewVisible(true);
    w->setWizardButtonsVisible(true);
    w->wizardCancel->setEnabled(true);
    app_.showSharingPrinterScreen();
}

void PrinterSharing::updateAgentInfo() {
    const PropertyValue agent = app_.shared().dicGetAgentInfo.get();
    SettingScreen* screen = app_.window()->settingScreen;
    const bool registered = !trimmed(agent["Alias"].string().value_or("")).empty();
    screen->registrationCheckBox()->setChecked(registered);
    screen->modelField()->setText(registered
                                      ? QString::fromStdString(agent["MDL"].string().value_or(
                                            agent["ModelName"].string().value_or("")))
                                      : QString());
    ManagedPrinterRegistrationBtn();
}

void PrinterSharing::addAgent() {
    app_.log("Add Agent");
    runNotificationHelper("-add");
}

void PrinterSharing::removeAgent() {
    app_.log("Remove Agent");
    runNotificationHelper("-remove");
}

void PrinterSharing::runNotificationHelper(const char* argument) {
    if (!std::filesystem::exists(app_.sAppFolderPath() + "Nimbrix Notification.app")) {
        app_.log("Does not have agent file.");
        return;
    }
    run(app_.sAppFolderPath() + "Nimbrix Notification.app/Contents/MacOS/Nimbrix Notification",
        argument);
}

}  // namespace nbx
