#include "MainWindow.h"

#include <QAction>
#include <QActionGroup>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolBar>
#include <QVBoxLayout>

#include "AlertSheet.h"
#include "AuthScreen.h"
#include "InformationSheet.h"
#include "NBXAccessible.h"
#include "NBXImages.h"
#include "NBXMainBGView.h"
#include "NBXRefreshView.h"
#include "NBXTitleImageView.h"
#include "PhoneEntry.h"
#include "PrintLaterSheet.h"
#include "PrinterScreen.h"
#include "ProfilePhoneSheet.h"
#include "RenameSheet.h"
#include "SettingScreen.h"
#include "TonerWindow.h"
#include "UnlinkSheet.h"
#include "WizardScreen.h"

namespace nbx {

namespace {

const char* const kStyle = R"(
QWidget { font-size: 10pt; }
QLabel#heading { font-size: 13pt; font-weight: 600; color: #111827; }
QLabel#hint { color: #4b5563; }
QLabel#warning { color: #b91c1c; }
QToolBar { background: #ffffff; border: none; border-bottom: 1px solid #e5e7eb; spacing: 6px; }
QToolButton { padding: 4px 10px; border-radius: 6px; }
QToolButton:checked { background: #e8f0fe; color: #1a56db; }
QPushButton { padding: 5px 14px; border: 1px solid #d1d5db; border-radius: 6px;
              background: #ffffff; }
QPushButton:hover { background: #f3f4f6; }
QPushButton#primary { background: #1a56db; color: white; border-color: #1a56db; }
QPushButton#primary:disabled { background: #93b4f0; border-color: #93b4f0; }
QListWidget#cardTable, QListWidget#sectionTable { border: 1px solid #e5e7eb; border-radius: 8px;
              background: #ffffff; }
QListWidget#cardTable::item:selected { background: #e8f0fe; }
QListWidget#sectionTable::item { padding: 8px; }
QListWidget#sectionTable::item:selected { background: #e8f0fe; color: #1a56db; }
QLineEdit { padding: 4px 6px; border: 1px solid #d1d5db; border-radius: 6px;
              background: #ffffff; }
)";

}  // namespace

MainWindow::MainWindow(const Localizer& tr, std::function<const PropertyValue&()> countryTable,
                       const AboutInfo& about)
    : toolbar([this] { return buildToolbar(); }),
      tonerWindow([this] { return new TonerWindow(tr_, this); }),
      aboutSheet([this] { return new AboutSheet(tr_, about_, this); }),
      alertSheet([this] { return new AlertSheet(tr_, this); }),
      authScreen([this] {
          auto* screen = ownScreen(new AuthScreen(tr_, countryTable_(), countryModel()));
          withDefaultCountry(screen->phoneEntry());
          return screen;
      }),
      addPrinterScreen([this] {
          return wizardScreen("icon_printer", "Adding Nimbrix", "localKey_MSG_PrinterQ");
      }),
      sharingPrinterScreen([this] {
          return wizardScreen(
              "icon_printer", "Printer Registration via PC",
              "If your printer does not have a Nimbrix feature, connect your PC to the cloud.");
      }),
      registrationEnableScreen([this] {
          return wizardScreen(
              "icon_printer", "Set the printer to register",
              "After connecting, the Printer name will be shown in your Nimbrix mobile app.");
      }),
      registrationScreen([this] {
          return wizardScreen("icon_printer", "Printer Registration",
                              "Set the printer to register");
      }),
      guideScreen([this] {
          return wizardScreen(
              "icon_my-cloud-box", "Nimbrix 2.0",
              "After connecting, the Printer name will be shown in your Nimbrix mobile app.");
      }),
      printerScreen([this] {
          auto* screen = ownScreen(new PrinterScreen(tr_, countryTable_(), countryModel()));
          withDefaultCountry(screen->friendEntry());
          return screen;
      }),
      settingScreen([this] { return ownScreen(new SettingScreen(tr_)); }),
      informationSheet([this] { return new InformationSheet(tr_, this); }),
      renameSheet([this] { return new RenameSheet(tr_, this); }),
      unlinkSheet([this] { return new UnlinkSheet(tr_, this); }),
      printLaterSheet([this] { return new PrintLaterSheet(tr_, this); }),
      profilePhoneSheet([this] {
          auto* sheet = new ProfilePhoneSheet(tr_, countryTable_(), countryModel(), this);
          withDefaultCountry(sheet->phoneEntry());
          return sheet;
      }),
      tr_(tr),
      countryTable_(std::move(countryTable)),
      about_(about) {
    setWindowTitle("Nimbrix 2.0");
    setStyleSheet(kStyle);
    resize(760, 560);
    buildMenu();
    setCentralWidget(buildCentral());
    makeTabActions();
    refreshView = new NBXRefreshView(centralWidget());
}

MainWindow::~MainWindow() {
    for (const QPointer<QWidget>& screen : screens_) {
        if (screen && !screen->parent()) delete screen;
    }
}

template <typename T>
T* MainWindow::ownScreen(T* screen) {
    screens_.emplace_back(screen);
    return screen;
}

WizardScreen* MainWindow::wizardScreen(const char* image, const char* heading,
                                       const char* message) {
    return ownScreen(new WizardScreen(image, tr_(heading), tr_(message)));
}

QAbstractItemModel* MainWindow::countryModel() {
    if (!countryModel_) countryModel_ = PhoneEntry::makeCountryModel(tr_, countryTable_(), this);
    return countryModel_;
}

PhoneEntry* MainWindow::withDefaultCountry(PhoneEntry* entry) const {
    if (!region_.isEmpty()) entry->selectRegion(region_);
    return entry;
}

void MainWindow::buildMenu() {
    QMenu* menu = menuBar()->addMenu("Nimbrix");
    aboutAction = menu->addAction(tr_("About"));
    aboutAction->setMenuRole(QAction::AboutRole);
    menu->addSeparator();
    quitAction = menu->addAction(tr_("Quit"));
    quitAction->setShortcut(QKeySequence::Quit);
    quitAction->setMenuRole(QAction::QuitRole);
}

void MainWindow::makeTabActions() {
    auto* group = new QActionGroup(this);
    auto addTab = [&](const char* key, const QString& tab) {
        auto* action = new QAction(tr_(key), this);
        action->setCheckable(true);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, tab] { emit tabClicked(tab); });
        return action;
    };
    printerTab = addTab("My Printer", "Printer");
    contactsTab = addTab("Contacts", "Contacts");
    settingsTab = addTab("Settings", "Setting");
    refreshAction = new QAction(tr_("Refresh"), this);
    aboutButton = new QAction(tr_("About"), this);
}

QToolBar* MainWindow::buildToolbar() {
    QToolBar* bar = addToolBar("tabs");
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const std::pair<QAction*, const char*> icons[] = {{printerTab, "icon_printer"},
                                                      {contactsTab, "icon_profile01"},
                                                      {settingsTab, "icon_settings"},
                                                      {refreshAction, "icon_refresh"},
                                                      {aboutButton, "icon_about"}};
    for (const auto& [action, icon] : icons)
        action->setIcon(NBXImages::image(icon));
    bar->addActions({printerTab, contactsTab, settingsTab});
    auto* spacer = new QWidget;
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(spacer);
    bar->addActions({refreshAction, aboutButton});
    // A toolbar's buttons take no focus unless told, which leaves the tabs out of Tab's reach.
    for (const auto& [action, icon] : icons)
        bar->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);
    bar->hide();
    return bar;
}

QWidget* MainWindow::buildCentral() {
    auto* background = new NBXMainBGView(QColor(0xf7, 0xf8, 0xfa));
    titleView = new NBXTitleImageView;
    titleView->setPixmap(NBXImages::image("icon_printer").pixmap(28, 28));
    auto* title = new QLabel(tr_("Nimbrix 2.0"));
    title->setObjectName("heading");
    titleBar_ = new QWidget;
    auto* titleLayout = new QHBoxLayout(titleBar_);
    titleLayout->setContentsMargins(18, 12, 18, 0);
    titleLayout->addWidget(titleView);
    titleLayout->addWidget(title, 1);

    activeArea_ = new QStackedWidget;
    wizardCancel = new QPushButton(tr_("Cancel"));
    wizardNext = new QPushButton(tr_("Next"));
    wizardNext->setObjectName("primary");
    wizardNext->setDefault(true);
    wizardBar_ = new QWidget;
    auto* buttons = new QHBoxLayout(wizardBar_);
    buttons->setContentsMargins(18, 0, 18, 14);
    buttons->addStretch();
    buttons->addWidget(wizardCancel);
    buttons->addWidget(wizardNext);

    auto* layout = new QVBoxLayout(background);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(titleBar_);
    layout->addWidget(activeArea_, 1);
    layout->addWidget(wizardBar_);
    return background;
}

void MainWindow::selectDefaultCountry(const QString& region) {
    region_ = region;
    if (authScreen.isBuilt()) withDefaultCountry(authScreen->phoneEntry());
    if (printerScreen.isBuilt()) withDefaultCountry(printerScreen->friendEntry());
    if (profilePhoneSheet.isBuilt()) withDefaultCountry(profilePhoneSheet->phoneEntry());
}

void MainWindow::showScreen(QWidget* screen) {
    if (activeArea_->indexOf(screen) < 0) {
        activeArea_->addWidget(screen);
        // A screen joins the focus chain after the wizard's buttons, made earlier: Tab should
        // reach its fields before Cancel and Next, as they are read from top to bottom. The
        // order can only be set after a widget that takes focus.
        QWidget* last = nullptr;
        for (QWidget* w = nextInFocusChain(); w != this; w = w->nextInFocusChain())
            if (screen->isAncestorOf(w) && w->focusPolicy() != Qt::NoFocus) last = w;
        if (last) NBXAccessible::tabOrder({last, wizardCancel, wizardNext});
    }
    activeArea_->setCurrentWidget(screen);
}
QWidget* MainWindow::currentScreen() const {
    return activeArea_->currentWidget();
}

void MainWindow::selectTab(const QString& tab) {
    const bool setting = tab == "Setting";
    (setting ? settingsTab : printerTab)->setChecked(true);
    if (setting) {
        showScreen(settingScreen);
    } else {
        showScreen(printerScreen);
    }
}

void MainWindow::setWizardButtonsVisible(bool visible) {
    wizardBar_->setVisible(visible);
}
void MainWindow::setToolbarVisible(bool visible) {
    if (visible || toolbar.isBuilt()) toolbar->setVisible(visible);
}
void MainWindow::setSettingsTabVisible(bool visible) {
    settingsTab->setVisible(visible);
}
void MainWindow::setTitleViewVisible(bool visible) {
    titleBar_->setVisible(visible);
}
bool MainWindow::titleViewVisible() const {
    return !titleBar_->isHidden();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    emit windowWillClose();
    event->accept();
}

}  // namespace nbx
