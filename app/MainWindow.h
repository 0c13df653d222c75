#pragma once

#include <QMainWindow>
#include <QPointer>
#include <functional>
#include <vector>

#include "AboutSheet.h"
#include "LazyWidget.h"
#include "Localizer.h"
#include "PropertyValue.h"

class QAbstractItemModel;
class QAction;
class QActionGroup;
class QPushButton;
class QStackedWidget;
class QToolBar;

namespace nbx {

class AlertSheet;
class AuthScreen;
class InformationSheet;
class NBXRefreshView;
class NBXTitleImageView;
class PhoneEntry;
class PrintLaterSheet;
class PrinterScreen;
class ProfilePhoneSheet;
class RenameSheet;
class SettingScreen;
class TonerWindow;
class UnlinkSheet;
class WizardScreen;

// "Nimbrix 2.0": the menu, the toolbar tabs, the active area holding every screen, the wizard
// buttons, the busy overlay and the sheets. Holds no flow logic; the controller drives it.
// Screens and sheets are built at their first use.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    // `countryTable` is asked for when a phone entry is first built.
    MainWindow(const Localizer& tr, std::function<const PropertyValue&()> countryTable,
               const AboutInfo& about);
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
    NBXTitleImageView* titleView = nullptr;
    QPushButton* wizardCancel = nullptr;
    QPushButton* wizardNext = nullptr;

    // Hidden until setToolbarVisible(true), which builds it: the wizard's screens have none.
    LazyWidget<QToolBar> toolbar;
    LazyWidget<TonerWindow> tonerWindow;
    LazyWidget<AboutSheet> aboutSheet;
    LazyWidget<AlertSheet> alertSheet;
    LazyWidget<AuthScreen> authScreen;
    LazyWidget<WizardScreen> addPrinterScreen;
    LazyWidget<WizardScreen> sharingPrinterScreen;
    LazyWidget<WizardScreen> registrationEnableScreen;
    LazyWidget<WizardScreen> registrationScreen;
    LazyWidget<WizardScreen> guideScreen;
    LazyWidget<PrinterScreen> printerScreen;
    LazyWidget<SettingScreen> settingScreen;
    LazyWidget<InformationSheet> informationSheet;
    LazyWidget<RenameSheet> renameSheet;
    LazyWidget<UnlinkSheet> unlinkSheet;
    LazyWidget<PrintLaterSheet> printLaterSheet;
    LazyWidget<ProfilePhoneSheet> profilePhoneSheet;
    NBXRefreshView* refreshView = nullptr;

signals:
    void tabClicked(const QString& tab);
    void windowWillClose();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenu();
    void makeTabActions();
    QToolBar* buildToolbar();
    QWidget* buildCentral();
    // A screen lives outside the window until first shown, so the window deletes it.
    template <typename T>
    T* ownScreen(T* screen);
    WizardScreen* wizardScreen(const char* image, const char* heading, const char* message);
    QAbstractItemModel* countryModel();
    // The locale's country, for each phone entry as it is built.
    PhoneEntry* withDefaultCountry(PhoneEntry* entry) const;

    const Localizer tr_;
    const std::function<const PropertyValue&()> countryTable_;
    const AboutInfo about_;
    QString region_;
    QAbstractItemModel* countryModel_ = nullptr;
    std::vector<QPointer<QWidget>> screens_;
    QStackedWidget* activeArea_ = nullptr;
    QWidget* titleBar_ = nullptr;
    QWidget* wizardBar_ = nullptr;
};

}  // namespace nbx
