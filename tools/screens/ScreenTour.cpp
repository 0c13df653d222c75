#include "ScreenTour.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <cstdlib>
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

namespace nbx {

namespace {

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

class Tour {
public:
    Tour(AppDelegate& delegate, const ScreenVisitor& visit)
        : delegate_(delegate), w_(delegate.window()), visit_(visit) {}

    void run() {
        w_->resize(780, 600);
        w_->show();
        wizard();
        printer();
        settings();
        sheets();
    }

private:
    void screen(QWidget* widget, const QString& name) {
        QApplication::processEvents();
        visit_(widget, name);
    }

    void sheet(QDialog* dialog, const QString& name) {
        dialog->show();
        dialog->adjustSize();
        screen(dialog, name);
        dialog->hide();
    }

    void wizard() {
        const std::vector<std::pair<void (AppDelegate::*)(), QString>> steps = {
            {&AppDelegate::showAuthScreen, "1-authentication"},
            {&AppDelegate::showAddPrinterScreen, "2-add-printer"},
            {&AppDelegate::showSharingPrinterScreen, "3-sharing-printer"},
            {&AppDelegate::showRegistrationEnableScreen, "4-registration-enable"},
            {&AppDelegate::showRegistrationScreen, "5-registration"},
            {&AppDelegate::showGuideScreen, "6-guide"}};
        w_->setToolbarVisible(false);
        w_->setWizardButtonsVisible(true);
        w_->setTitleViewVisible(true);
        for (const auto& [show, name] : steps) {
            (delegate_.*show)();
            screen(w_, name);
        }
        w_->setToolbarVisible(true);
        w_->setWizardButtonsVisible(false);
        w_->setTitleViewVisible(false);
    }

    void printer() {
        delegate_.shared().arrSaveAgentList.set(sampleAgents());
        PrinterScreen* printers = w_->printerScreen;
        printers->reloadPrinters(sampleAgents());
        delegate_.printers().setPlusbtn(true);
        delegate_.actionClickToolbar("Printer");
        printers->printerTable()->item(4)->setSelected(true);
        screen(w_, "7-printer");
        StateFiles::setAgentList(*sampleAgents().arrayPtr());
        QMenu menu;
        delegate_.printerActions().menuNeedsUpdate(&menu, 4);
        menu.adjustSize();
        screen(&menu, "7-printer-menu");
        printers->popupCheckBox()->show();
        printers->nextButton()->show();
        printers->cancelButton()->show();
        w_->setSettingsTabVisible(false);
        screen(w_, "7-print-target");
        // A friend's number typed in: the job goes to that phone.
        delegate_.printers().selectPrinterListTableRow(0, "Friend");
        printers->friendEntry()->selectRegion("GB");
        printers->friendEntry()->phoneField()->setText("07700 900123");
        printers->friendEntry()->phoneField()->setFocus();
        screen(w_, "7-print-target-friend");
        printers->friendEntry()->phoneField()->clear();
        printers->friendTable()->clearSelection();
        w_->setSettingsTabVisible(true);
        printers->popupCheckBox()->hide();
        printers->nextButton()->hide();
        printers->cancelButton()->hide();
    }

    void settings() {
        delegate_.actionClickToolbar("Setting");
        w_->settingScreen->applyButton()->show();
        w_->settingScreen->cancelButton()->show();
        const char* sections[] = {"8-setting-registration", "8-setting-popup",
                                  "8-setting-notification", "8-setting-profile"};
        for (int i = 0; i < 4; ++i) {
            w_->settingScreen->selectSection(i);
            screen(w_, sections[i]);
        }
        delegate_.actionClickToolbar("Printer");
        delegate_.showRefreshWindow("START", true);
        screen(w_, "refresh-overlay");
        delegate_.showRefreshWindow("STOP", false);
    }

    void sheets() {
        w_->informationSheet->setInformation("Office printer", "Color C480", "00:1B:63:AA:0C:FF");
        w_->unlinkSheet->setPrinterName("Office printer");
        w_->renameSheet->nameField()->setText("Office printer");
        w_->profilePhoneSheet->setSecondsLeft(1795);
        w_->alertSheet->setMessage(delegate_.localized("Profile Authenticate Tooltip"));
        sheet(w_->aboutSheet, "sheet-about");
        sheet(w_->alertSheet, "sheet-alert");
        sheet(w_->printLaterSheet, "sheet-print-later");
        w_->tonerWindow->showPrinters(sampleLowTonerPrinters());
        sheet(w_->tonerWindow, "sheet-toner");
        sheet(w_->informationSheet, "sheet-information");
        sheet(w_->renameSheet, "sheet-rename");
        sheet(w_->unlinkSheet, "sheet-unlink");
        ProfilePhoneSheet* profile = w_->profilePhoneSheet;
        sheet(profile, "sheet-profile-phone");
        // The profile's verification while a certificate number is awaited, and after it expired.
        profile->phoneEntry()->phoneField()->setText("5550199");
        profile->clock()->setPixmap(NBXImages::image("clock_25x25").pixmap(25, 25));
        profile->setCountdownVisible(true);
        profile->setSecondsLeft(65);
        sheet(profile, "sheet-profile-phone-waiting");
        profile->setCountdownVisible(false);
        profile->showExpired(true);
        sheet(profile, "sheet-profile-phone-expired");
    }

    AppDelegate& delegate_;
    MainWindow* w_;
    const ScreenVisitor& visit_;
};

}  // namespace

void tourScreens(const char* locale, const ScreenVisitor& visit) {
    setenv("LC_ALL", locale, 1);
    AppDelegate delegate({std::make_shared<SilentAlerts>(), std::make_shared<NoBrowser>(), [] {},
                          [](std::function<void()>) {}});
    delegate.applicationDidFinishLaunching({"nbx-screens"});
    Tour(delegate, visit).run();
}

}  // namespace nbx
