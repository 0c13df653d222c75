// Renders every screen and sheet of the agent to PNG files, in English and German, so the look
// can be checked without a display: QT_QPA_PLATFORM=offscreen nbx-screens OUTDIR
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPixmap>
#include <QPushButton>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "AboutSheet.h"
#include "AlertSheet.h"
#include "AppDelegate.h"
#include "InformationSheet.h"
#include "MainWindow.h"
#include "NBXImages.h"
#include "PhoneEntry.h"
#include "PrintLaterSheet.h"
#include "PrinterActions.h"
#include "PrinterList.h"
#include "PrinterScreen.h"
#include "ProfilePhoneSheet.h"
#include "PropertyListFile.h"
#include "RenameSheet.h"
#include "SettingScreen.h"
#include "StateFiles.h"
#include "TonerWindow.h"
#include "UnlinkSheet.h"

namespace {

using namespace nbx;

class SilentAlerts : public AlertPresenter {
public:
    int runModal(const AlertRequest&) override { return 0; }
};

class NoBrowser : public UrlOpener {
public:
    void openURL(const std::string&) override {}
};

PropertyValue sampleAgents() {
    auto record = [](const char* type, const char* alias, const char* model, const char* mac) {
        return PropertyValue::dictionary({{"agentType", type},
                                          {"agentAlias", alias},
                                          {"agentModelName", model},
                                          {"agentMacAddress", mac}});
    };
    PropertyValue paid = record("POST_AGENT", "Copy Corner", "Pay Station", "");
    paid.set("isPaidDevice", true);
    PropertyValue friendPrinter = record("PRT_AGENT", "", "Laser M2020", "");
    friendPrinter.set("friendUserId", "u7");
    friendPrinter.set("firstName", " Ana ");
    friendPrinter.set("lastName", "Lee");
    return PropertyValue::array(
        {PropertyValue::dictionary({{"agentType", "My Drive"}}),
         record("POST_AGENT", "Post Office", "", ""), paid,
         PropertyValue::dictionary({{"agentType", "TitleMyPrinter"}}),
         record("PRT_AGENT", "Office printer", "Color C480", "001b63aa0cff,001b63aa0d00"),
         record("PC_AGENT", "Study PC", "PC Agent", "02fc00000042"),
         PropertyValue::dictionary({{"agentType", "TitleFriendPrinter"}}), friendPrinter});
}

PropertyValue sampleLowTonerPrinters() {
    auto record = [](const char* alias, const char* model, int k, int c, int m, int y) {
        return PropertyValue::dictionary({{"agentAlias", alias},
                                          {"agentModelName", model},
                                          {"currKTonerLevel", k},
                                          {"currCTonerLevel", c},
                                          {"currMTonerLevel", m},
                                          {"currYTonerLevel", y}});
    };
    return PropertyValue::array({record("Office printer", "Color C480", 62, 9, 0, 41),
                                 record("Front desk", "Laser M2020", 12, -1, -1, -1),
                                 record("Design studio", "Color C560", 78, 54, 8, 66)});
}

class Renderer {
public:
    Renderer(QString folder, QString language) : folder_(std::move(folder)), language_(language) {}

    void grab(QWidget* widget, const QString& name) {
        QApplication::processEvents();
        const QString path = folder_ + "/" + language_ + "-" + name + ".png";
        if (!widget->grab().save(path)) std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
    }

    void sheet(QDialog* dialog, const QString& name) {
        dialog->show();
        dialog->adjustSize();
        grab(dialog, name);
        dialog->hide();
    }

private:
    QString folder_;
    QString language_;
};

void renderLanguage(const QString& folder, const char* locale, const QString& language) {
    setenv("LC_ALL", locale, 1);
    AppDelegate delegate({std::make_shared<SilentAlerts>(), std::make_shared<NoBrowser>(), [] {},
                          [](std::function<void()>) {}});
    delegate.applicationDidFinishLaunching({"nbx-screens"});
    MainWindow* w = delegate.window();
    Renderer r(folder, language);
    w->resize(780, 600);
    w->show();

    const std::vector<std::pair<void (AppDelegate::*)(), QString>> wizard = {
        {&AppDelegate::showAuthScreen, "1-authentication"},
        {&AppDelegate::showAddPrinterScreen, "2-add-printer"},
        {&AppDelegate::showSharingPrinterScreen, "3-sharing-printer"},
        {&AppDelegate::showRegistrationEnableScreen, "4-registration-enable"},
        {&AppDelegate::showRegistrationScreen, "5-registration"},
        {&AppDelegate::showGuideScreen, "6-guide"}};
    w->setToolbarVisible(false);
    w->setWizardButtonsVisible(true);
    w->setTitleViewVisible(true);
    for (const auto& [show, name] : wizard) {
        (delegate.*show)();
        r.grab(w, name);
    }

    w->setToolbarVisible(true);
    w->setWizardButtonsVisible(false);
    w->setTitleViewVisible(false);
    delegate.shared().arrSaveAgentList.set(sampleAgents());
    w->printerScreen->reloadPrinters(sampleAgents());
    delegate.printers().setPlusbtn(true);
    delegate.actionClickToolbar("Printer");
    w->printerScreen->printerTable()->item(4)->setSelected(true);
    r.grab(w, "7-printer");
    StateFiles::setAgentList(*sampleAgents().arrayPtr());
    QMenu menu;
    delegate.printerActions().menuNeedsUpdate(&menu, 4);
    menu.adjustSize();
    r.grab(&menu, "7-printer-menu");
    w->printerScreen->popupCheckBox()->show();
    w->printerScreen->nextButton()->show();
    w->printerScreen->cancelButton()->show();
    w->setSettingsTabVisible(false);
    r.grab(w, "7-print-target");
    // A friend's number typed in: the job goes to that phone.
    delegate.printers().selectPrinterListTableRow(0, "Friend");
    w->printerScreen->friendEntry()->selectRegion("GB");
    w->printerScreen->friendEntry()->phoneField()->setText("07700 900123");
    w->printerScreen->friendEntry()->phoneField()->setFocus();
    r.grab(w, "7-print-target-friend");
    w->printerScreen->friendEntry()->phoneField()->clear();
    w->printerScreen->friendTable()->clearSelection();
    w->setSettingsTabVisible(true);
    w->printerScreen->popupCheckBox()->hide();
    w->printerScreen->nextButton()->hide();
    w->printerScreen->cancelButton()->hide();

    delegate.actionClickToolbar("Setting");
    w->settingScreen->applyButton()->show();
    w->settingScreen->cancelButton()->show();
    const char* sections[] = {"8-setting-registration", "8-setting-popup", "8-setting-notification",
                              "8-setting-profile"};
    for (int i = 0; i < 4; ++i) {
        w->settingScreen->selectSection(i);
        r.grab(w, sections[i]);
    }
    delegate.actionClickToolbar("Printer");

    delegate.showRefreshWindow("START", true);
    r.grab(w, "refresh-overlay");
    delegate.showRefreshWindow("STOP", false);

    w->informationSheet->setInformation("Office printer", "Color C480", "00:1B:63:AA:0C:FF");
    w->unlinkSheet->setPrinterName("Office printer");
    w->renameSheet->nameField()->setText("Office printer");
    w->profilePhoneSheet->setSecondsLeft(1795);
    w->alertSheet->setMessage(delegate.localized("Profile Authenticate Tooltip"));
    r.sheet(w->aboutSheet, "sheet-about");
    r.sheet(w->alertSheet, "sheet-alert");
    r.sheet(w->printLaterSheet, "sheet-print-later");
    w->tonerWindow->showPrinters(sampleLowTonerPrinters());
    r.sheet(w->tonerWindow, "sheet-toner");
    r.sheet(w->informationSheet, "sheet-information");
    r.sheet(w->renameSheet, "sheet-rename");
    r.sheet(w->unlinkSheet, "sheet-unlink");
    r.sheet(w->profilePhoneSheet, "sheet-profile-phone");
    // The profile's verification while a certificate number is awaited, and after it expired.
    w->profilePhoneSheet->phoneEntry()->phoneField()->setText("5550199");
    w->profilePhoneSheet->clock()->setPixmap(NBXImages::image("clock_25x25").pixmap(25, 25));
    w->profilePhoneSheet->setCountdownVisible(true);
    w->profilePhoneSheet->setSecondsLeft(65);
    r.sheet(w->profilePhoneSheet, "sheet-profile-phone-waiting");
    w->profilePhoneSheet->setCountdownVisible(false);
    w->profilePhoneSheet->showExpired(true);
    r.sheet(w->profilePhoneSheet, "sheet-profile-phone-expired");
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: nbx-screens OUTDIR\n");
        return 2;
    }
    // A throw-away home and no reachable scheduler: rendering must change nothing on this machine.
    std::string home = (std::filesystem::temp_directory_path() / "nbx-screens-XXXXXX").string();
    if (!mkdtemp(home.data())) return 1;
    setenv("HOME", home.c_str(), 1);
    setenv("CUPS_SERVER", "127.0.0.1:9", 1);
    QApplication app(argc, argv);
    const QString folder = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(folder);
    renderLanguage(folder, "en_US.UTF-8", "en");
    renderLanguage(folder, "de_DE.UTF-8", "de");
    std::error_code ec;
    std::filesystem::remove_all(home, ec);
    return 0;
}
