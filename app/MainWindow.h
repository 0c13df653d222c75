#pragma once

#include <QMainWindow>
#include <QPointer>
#include <vector>

#include "Localizer.h"
#include "PropertyValue.h"

class QAbstractItemModel;
class QAction;
class QActionGroup;
class QPushButton;
class QStackedWidget;
class QToolBar;

namespace nbx {

class AboutSheet;
class AccountEntry;
class AlertSheet;
class InformationSheet;
class NBXRefreshView;
class NBXTitleImageView;
class NBXSendButton;
class PhoneEntry;
class PinEntry;
class PrintLaterSheet;
class PrinterScreen;
class ProfilePhoneSheet;
class RenameSheet;
class SettingScreen;
class TonerWindow;
class UnlinkSheet;
class WizardScreen;
struct AboutInfo;

// "Nimbrix 2.0": the menu, the toolbar tabs, the active area holding every screen, the wizard
// buttons, the busy overlay and the sheets. Holds no flow logic; the controller drives it.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(const Localizer& tr, const PropertyValue& countryTable, const AboutInfo& about);
    ~MainWindow() override;

    // Puts a screen into the active area.
    void showScreen(QWidget* screen);
    QWidget* currentScreen() const;
    // Marks the toolbar tab ("Printer" or "Setting") and shows its screen.
    void selectTab(const QString& tab);
    // Every country popup starts on the country of the locale's region.
    void selectDefaultCountry(const QString& region);
    void setWizardButtonsVisible(bool visible);
    void setToolbarVisible(bool visible);
    void setSettingsTabVisible(bool visible);
    void setTitleViewVisible(bool visible);
    bool titleViewVisible() const;

    QAction* aboutAction = nullptr;
    QAction* quitAction = nullptr;
    QAction* printerTab = nullptr;
    QAction* contactsTab = nullptr;
    QAction* settingsTab = nullptr;
    QAction* refreshAction = nullptr;
    QAction* aboutButton = nullptr;
    QToolBar* toolbar = nullptr;
    NBXTitleImageView* titleView = nullptr;
    QPushButton* wizardCancel = nullptr;
    QPushButton* wizardNext = nullptr;

    TonerWindow* tonerWindow = nullptr;
    AboutSheet* aboutSheet = nullptr;
    AlertSheet* alertSheet = nullptr;
    WizardScreen* authScreen = nullptr;
    WizardScreen* addPrinterScreen = nullptr;
    WizardScreen* sharingPrinterScreen = nullptr;
    WizardScreen* registrationEnableScreen = nullptr;
    WizardScreen* registrationScreen = nullptr;
    WizardScreen* guideScreen = nullptr;
    PhoneEntry* authPhoneEntry = nullptr;
    NBXSendButton* authCertButton = nullptr;
    PinEntry* authPinEntry = nullptr;
    AccountEntry* authAccountEntry = nullptr;
    PrinterScreen* printerScreen = nullptr;
    SettingScreen* settingScreen = nullptr;
    InformationSheet* informationSheet = nullptr;
    RenameSheet* renameSheet = nullptr;
    UnlinkSheet* unlinkSheet = nullptr;
    PrintLaterSheet* printLaterSheet = nullptr;
    ProfilePhoneSheet* profilePhoneSheet = nullptr;
    NBXRefreshView* refreshView = nullptr;

signals:
    void tabClicked(const QString& tab);
    void windowWillClose();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenu(const Localizer& tr);
    void buildToolbar(const Localizer& tr);
    void buildWizardScreens(const Localizer& tr, const PropertyValue& countryTable);
    QWidget* buildCentral(const Localizer& tr);

    QAbstractItemModel* countryModel_ = nullptr;
    std::vector<QPointer<QWidget>> screens_;
    QStackedWidget* activeArea_ = nullptr;
    QWidget* titleBar_ = nullptr;
    QWidget* wizardBar_ = nullptr;
};

}  // namespace nbx
