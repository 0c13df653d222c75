#include <QAction>

#include "AlertSheet.h"
#include "AppDelegate.h"
#include "MainWindow.h"
#include "NBXRefreshView.h"
#include "PrintTarget.h"
#include "PrinterList.h"
#include "StateFiles.h"

namespace nbx {

NBXConnectManger::Context AppDelegate::alertContext() {
    return {*platform_.alerts, false};
}

NBXConnectManger::Context AppDelegate::postingAlertContext() {
    return {*platform_.alerts, false,
            [this](std::function<void()> work) { laterOnMainThread(std::move(work)); }};
}

void AppDelegate::manageErrCode(const PropertyValue& code) {
    const std::string text = NBXConnectManger::codeText(code);
    if (text == "13002") {
        StateFiles::removeAgentList();
        if (setupApplicationExists()) {
            const int answer = platform_.alerts->runModal(
                {localized("Authentication Confirmation").toStdString(),
                 localized("Phone is not registered. Please, register your phone again.")
                     .toStdString(),
                 {localized("Yes").toStdString(), localized("No").toStdString()}});
            if (answer == 0) {
                runNBXSetup("userchange");
            } else {
                terminate();
            }
        }
    } else {
        NBXConnectManger::runAlertPanel(text, alertContext());
        if (text == "16000") {
            StateFiles::removeAgentList();
            // A direct print has no window to show it in.
            if (window_) {
                showSetting();
                printers_->setPlusbtn(true);
            }
        }
    }
    showRefreshWindow("STOP", false);
    if (!printTarget_->bCapabilityCheckCompleted && printTarget_->isPrintLaunch()) terminate();
}

// Any thread: the change itself is handed to the main thread.
void AppDelegate::showRefreshWindow(const std::string& word, bool showProgress) {
    if (word != "START" && word != "STOP") {
        onMainThread([this] { refreshMainWin(); });
        return;
    }
    const bool start = word == "START";
    onMainThread([this, start, showProgress] {
        if (!window_) return;
        window_->aboutButton->setEnabled(!start);
        window_->aboutAction->setEnabled(!start);
        window_->refreshAction->setEnabled(!start);
        if (!start) {
            window_->refreshView->hideOverlay();
        } else if (window_->refreshView->isHidden()) {
            window_->refreshView->showOverlay(showProgress);
        }
        refreshMainWin();
    });
}

void AppDelegate::refreshMainWin() {
    if (window_) window_->update();
}

void AppDelegate::showAlertSheet(const std::string& messageKey) {
    window_->alertSheet->setMessage(localized(QString::fromStdString(messageKey)));
    window_->alertSheet->open();
}

void AppDelegate::closeAlertWindow() {
    window_->alertSheet->hide();
}

void AppDelegate::showOnlyAlertMSG(const std::string& messageKey) {
    laterOnMainThread(
        [this, messageKey] { NBXConnectManger::runAlertMSG(messageKey, alertContext()); });
}

}  // namespace nbx
