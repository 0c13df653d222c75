#include "AppDelegate.h"

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QThread>
#include <thread>

#include "AboutSheet.h"
#include "AccountLink.h"
#include "AlertSheet.h"
#include "BackendLink.h"
#include "CIButton.h"
#include "FriendsProfile.h"
#include "MainWindow.h"
#include "NBXWebServiceRequest.h"
#include "PhoneRegistration.h"
#include "PrintLaterSheet.h"
#include "PrintTarget.h"
#include "PrinterActions.h"
#include "PrinterList.h"
#include "PrinterScreen.h"
#include "PrinterSharing.h"
#include "SendToFriend.h"
#include "ServiceSettings.h"
#include "SettingScreen.h"
#include "TonerStatus.h"

namespace nbx {

AppDelegate::AppDelegate(AppPlatform platform, QObject* parent)
    : QObject(parent),
      platform_(std::move(platform)),
      registration_(std::make_unique<PhoneRegistration>(*this)),
      backend_(std::make_unique<BackendLink>(*this)),
      printers_(std::make_unique<PrinterList>(*this)),
      printerActions_(std::make_unique<PrinterActions>(*this)),
      sharing_(std::make_unique<PrinterSharing>(*this)),
      printTarget_(std::make_unique<PrintTarget>(*this)),
      settings_(std::make_unique<ServiceSettings>(*this)),
      profile_(std::make_unique<FriendsProfile>(*this)),
      friends_(std::make_unique<SendToFriend>(*this)),
      account_(std::make_unique<AccountLink>(*this)),
      toner_(std::make_unique<TonerStatus>(*this)) {}

AppDelegate::~AppDelegate() {
    // Nobody waits for an answer any more: transfers in flight end within a second.
    NBXWebServiceRequest::setAbortTransfers(true);
    registration_->stopTimer();
    backend_->stop();
    // Workers first: one of them may still start the countdown.
    waitForWorkers();
    registration_->stopTimer();
    registration_->joinTimer();
    NBXWebServiceRequest::setAbortTransfers(false);
}

void AppDelegate::onMainThread(std::function<void()> work) {
    if (QThread::currentThread() == thread()) {
        work();
        return;
    }
    laterOnMainThread(std::move(work));
}

// The work crosses threads in our own queue under our own lock, which ThreadSanitizer sees; the
// queued call only says that one item waits.
void AppDelegate::laterOnMainThread(std::function<void()> work) {
    {
        std::lock_guard lock(mainQueue_.mutex);
        mainQueue_.work.push_back(std::move(work));
    }
    QMetaObject::invokeMethod(this, "runQueuedWork", Qt::QueuedConnection);
}

void AppDelegate::runQueuedWork() {
    std::function<void()> work;
    {
        std::lock_guard lock(mainQueue_.mutex);
        if (mainQueue_.work.empty()) return;
        work = std::move(mainQueue_.work.front());
        mainQueue_.work.pop_front();
    }
    work();
}

void AppDelegate::detachNewThread(std::function<void()> work) {
    {
        std::lock_guard lock(workers_->mutex);
        ++workers_->running;
    }
    auto counted = [workers = workers_, work = std::move(work)] {
        work();
        std::lock_guard lock(workers->mutex);
        --workers->running;
        workers->ended.notify_all();
    };
    if (platform_.detach) {
        platform_.detach(std::move(counted));
        return;
    }
    std::thread(std::move(counted)).detach();
}

void AppDelegate::waitForWorkers() {
    std::unique_lock lock(workers_->mutex);
    workers_->ended.wait(lock, [this] { return workers_->running == 0; });
}

QString AppDelegate::localized(const QString& key) const {
    if (!langCtrl) return key;
    return QString::fromStdString(langCtrl->getLocalizedStringWithKey(key.toStdString()));
}

Localizer AppDelegate::localizer() const {
    return [this](const QString& key) { return localized(key); };
}

void AppDelegate::log(const std::string& line) const {
    if (logger) logger->log(line);
}

void AppDelegate::terminate() {
    quitting_ = true;
    if (platform_.quit) platform_.quit();
}

// Wires the window's controls to the controller and the flows; every handler runs on the main
// thread.
void AppDelegate::connectWindow() {
    MainWindow* w = window_.get();
    connect(w->aboutAction, &QAction::triggered, this, &AppDelegate::clickAbout);
    connect(w->aboutButton, &QAction::triggered, this, &AppDelegate::clickAbout);
    connect(w->quitAction, &QAction::triggered, this, &AppDelegate::terminate);
    connect(w->refreshAction, &QAction::triggered, this, &AppDelegate::clickRefreshbtnOnMain);
    connect(w, &MainWindow::tabClicked, this, &AppDelegate::actionClickToolbar);
    connect(w, &MainWindow::windowWillClose, this, &AppDelegate::windowWillClose);
    connect(w->wizardNext, &QPushButton::clicked, this, &AppDelegate::nextAction);
    connect(w->wizardCancel, &QPushButton::clicked, this, &AppDelegate::cancelAction);
    w->printerScreen.whenBuilt([this](PrinterScreen* screen) {
        // The print window's own buttons show only when the agent runs for a job.
        screen->popupCheckBox()->hide();
        screen->nextButton()->hide();
        screen->cancelButton()->hide();
        connect(screen->nextButton(), &QPushButton::clicked, this, &AppDelegate::nextAction);
        connect(screen->cancelButton(), &QPushButton::clicked, this, &AppDelegate::cancelAction);
    });
    w->settingScreen.whenBuilt([this](SettingScreen* screen) {
        connect(screen->applyButton(), &QPushButton::clicked, this, &AppDelegate::nextAction);
        connect(screen->searchButton(), &QPushButton::clicked, this,
                [this] { sharing_->clickSelectPrinter(); });
        connect(screen->registrationCheckBox(), &QCheckBox::toggled, this, [this](bool ticked) {
            sharing_->clickSharingPrinterCheckBox(ticked);
            sharing_->ManagedPrinterRegistrationBtn();
        });
        // Cancel puts back what is registered.
        connect(screen->cancelButton(), &QPushButton::clicked, this,
                [this] { sharing_->updateAgentInfo(); });
        connect(screen->authenticateButton(), &QPushButton::clicked, this,
                [this] { profile_->clickProfileAuthenticate(); });
        connect(screen->moreInfoLink(), &QPushButton::clicked, this, &AppDelegate::clickMoreInfo);
    });
    profile_->connectWindow(w);
    w->aboutSheet.whenBuilt([this](AboutSheet* sheet) {
        connect(sheet->okButton(), &QPushButton::clicked, this, &AppDelegate::clickAbout_OKBtn);
        connect(sheet->diagnoseButton(), &QPushButton::clicked, this, &AppDelegate::clickDiagnose);
        connect(sheet->siteLink(), &QLabel::linkActivated, this, &AppDelegate::clickWebLink);
    });
    w->alertSheet.whenBuilt([this](AlertSheet* sheet) {
        connect(sheet->okButton(), &QPushButton::clicked, this, &AppDelegate::closeAlertWindow);
    });
    w->printLaterSheet.whenBuilt([this](PrintLaterSheet* sheet) {
        connect(sheet->okButton(), &QPushButton::clicked, this,
                &AppDelegate::clickPrinterLaterOKBtn);
    });
    registration_->connectWindow(w);
    toner_->connectWindow(w);
    printers_->connectWindow(w);
    printerActions_->connectWindow(w);
    settings_->connectWindow(w);
    friends_->connectWindow(w);
    account_->connectWindow(w);
}

}  // namespace nbx
