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
    connect(w->printerScreen->nextButton(), &QPushButton::clicked, this, &AppDelegate::nextAction);
    connect(w->printerScreen->cancelButton(), &QPushButton::clicked, this,
            &AppDelegate::cancelAction);
    connect(w->settingScreen->applyButton(), &QPushButton::clicked, this, &AppDelegate::nextAction);
    connect(w->settingScreen->searchButton(), &QPushButton::clicked, this,
            [this] { sharing_->clickSelectPrinter(); });
    connect(w->settingScreen->registrationCheckBox(), &QCheckBox::toggled, this,
            [this](bool ticked) {
                sharing_->clickSharingPrinterCheckBox(ticked);
                sharing_->ManagedPrinterRegistrationBtn();
            });
    // Cancel puts back what is registered.
    connect(w->settingScreen->cancelButton(), &QPushButton::clicked, this,
            [this] { sharing_->updateAgentInfo(); });
    connect(w->settingScreen->authenticateButton(), &QPushButton::clicked, this,
            [this] { profile_->clickProfileAuthenticate(); });
    profile_->connectWindow(w);
    connect(w->aboutSheet->okButton(), &QPushButton::clicked, this, &AppDelegate::clickAbout_OKBtn);
    connect(w->aboutSheet->diagnoseButton(), &QPushButton::clicked, this,
            &AppDelegate::clickDiagnose);
    connect(w->aboutSheet->siteLink(), &QLabel::linkActivated, this, &AppDelegate::clickWebLink);
    connect(w->alertSheet->okButton(), &QPushButton::clicked, this, &AppDelegate::closeAlertWindow);
    connect(w->printLaterSheet->okButton(), &QPushButton::clicked, this,
            &AppDelegate::clickPrinterLaterOKBtn);
    connect(w->settingScreen->moreInfoLink(), &QPushButton::clicked, this,
            &AppDelegate::clickMoreInfo);
    registration_->connectWindow(w);
    toner_->connectWindow(w);
    printers_->connectWindow(w);
    printerActions_->connectWindow(w);
    settings_->connectWindow(w);
    friends_->connectWindow(w);
    account_->connectWindow(w);
}

}  // namespace nbx
