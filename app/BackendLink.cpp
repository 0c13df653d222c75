#include "BackendLink.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <algorithm>

#include "AppDelegate.h"
#include "DistributedNotificationCenter.h"
#include "MainWindow.h"
#include "PrinterList.h"
#include "PrinterScreen.h"
#include "PrinterSharing.h"
#include "RenameSheet.h"
#include "ServiceSettings.h"
#include "SettingScreen.h"
#include "StateFiles.h"
#include "Text.h"

namespace nbx {

namespace {

const char* kSilence = "The Nimbrix service is currently not available. Please try again later.";

PropertyValue marker(const char* type) {
    return PropertyValue::dictionary({{"agentType", type}});
}

}  // namespace

BackendLink::BackendLink(AppDelegate& app) : app_(app) {}

BackendLink::~BackendLink() {
    stop();
}

void BackendLink::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    ++request_;
    // The center itself lives on until the workers that may still unsubscribe are gone.
    unsubscribe();
}

void BackendLink::stopListening() {
    ++request_;
    unsubscribe();
    wake_.notify_all();
}

void BackendLink::post(PropertyValue request) {
    dicUpdateInfo_ = std::move(request);
    connectDistributedNotificatiion();
}

void BackendLink::connectDistributedNotificatiion() {
    const std::string command = dicUpdateInfo_["Command"].string().value_or("");
    app_.log("Request to agent[" + command + "]");
    app_.shared().isSendPostNotification = false;
    app_.shared().isObserverExist = false;
    const int request = ++request_;
    std::string whyNot;
    if (!center_) center_ = DistributedNotificationCenter::connectSessionBus(&whyNot);
    if (center_) {
        subscribe(request);
        if (center_->postNotificationName(kRequestName, dicUpdateInfo_)) {
            const int steps = command == "UpdatePolling" ? kUpdateLimitSteps : kLimitSteps;
            app_.detachNewThread(
                [this, request, steps] { waitReceiveNotification(request, steps); });
            return;
        }
        whyNot = "the request could not be sent";
    }
    // Nobody can answer: no use waiting for the limit.
    app_.log("Request to agent failed: " + whyNot);
    giveUp(request);
}

void BackendLink::subscribe(int request) {
    unsubscribe();
    const int token = center_->addObserver(
        kReplyName, [this, request](const std::string&, const PropertyValue& userInfo) {
            app_.laterOnMainThread([this, request, userInfo] {
                if (request == request_) receivedNotificationSelector(userInfo);
            });
        });
    std::lock_guard lock(mutex_);
    observer_ = token;
}

void BackendLink::unsubscribe() {
    int token = 0;
    {
        std::lock_guard lock(mutex_);
        std::swap(token, observer_);
    }
    if (token && center_) center_->removeObserver(token);
}

void BackendLink::waitReceiveNotification(int request, int steps) {
    SharedState& shared = app_.shared();
    std::unique_lock lock(mutex_);
    for (int step = 0; step < steps && !shared.isObserverExist; ++step) {
        if (wake_.wait_for(lock, app_.platform().backendTick,
                           [&] { return stopping_ || request != request_; }))
            return;
    }
    lock.unlock();
    if (shared.isObserverExist) {
        if (request != request_) return;
        unsubscribe();
        shared.isObserverExist = false;
        app_.showRefreshWindow("STOP", false);
        return;
    }
    // The reply and the limit meet on the main thread, so only one of them acts.
    app_.laterOnMainThread([this, request] {
        if (request == request_ && !app_.shared().isObserverExist) giveUp(request);
    });
}

void BackendLink::giveUp(int request) {
    if (request != request_) return;
    ++request_;
    unsubscribe();
    app_.shared().isObserverExist = false;
    app_.showRefreshWindow("STOP", false);
    app_.showOnlyAlertMSG(kSilence);
}

void BackendLink::receivedNotificationSelector(const PropertyValue& userInfo) {
    app_.log("Received notification information : " + userInfo.description());
    unsubscribe();
    SharedState& shared = app_.shared();
    const std::string command = userInfo["Command"].string().value_or("");
    const bool success = userInfo["Result"].string() == "SUCCESS";
    if (command == "UpdatePolling") {
        shared.isSendPostNotification = success;
        if (success) {
            const auto printers = StateFiles::printerInfoList();
            if (printers && !printers->empty())
                app_.sharing().dicRegistSelectPrint.set(printers->front());
            app_.window()->settingScreen->modelField()->setText(
                QString::fromStdString(dicUpdateInfo_["MDL"].string().value_or("")));
        } else if (!userInfo["ErrorCode"].isNull()) {
            app_.manageErrCode(userInfo["ErrorCode"]);
        } else {
            app_.showOnlyAlertMSG(kSilence);
            shared.isObserverExist = true;
            app_.detachNewThread([this] { refreshThread(); });
            return;
        }
    } else if (command == "StopPolling") {
        shared.isSendPostNotification = success;
        if (success)
            app_.printers().selectPrinterListTableRow(0, "Printer");
        else
            app_.log("Error reason : " + userInfo["Reason"].description());
    } else if (command == "GetPolling") {
        replyToGetPolling(userInfo);
        return;
    } else if (command == "ChangeAlias") {
        replyToChangeAlias(userInfo);
        return;
    }
    shared.isObserverExist = true;
    app_.detachNewThread([this] { refreshThread(); });
}

void BackendLink::replyToGetPolling(const PropertyValue& userInfo) {
    SharedState& shared = app_.shared();
    PrinterScreen* screen = app_.window()->printerScreen;
    const bool success = userInfo["Result"].string() == "SUCCESS";
    shared.dicGetAgentInfo.set(success ? userInfo : PropertyValue::dictionary());
    shared.isSendPostNotification = success;
    const bool empty = shared.arrSaveAgentList.get().size() == 0;
    if (success && empty && !userInfo["Alias"].isNull()) {
        StateFiles::removeAgentList();
        const PropertyValue list =
            PropertyValue::array({marker("My Drive"), marker("TitleMyPrinter"),
                                  agentRecordFrom(userInfo), marker("TitleFriendPrinter")});
        shared.arrSaveAgentList.set(list);
        screen->reloadPrinters(list);
        app_.settings().settingGetPrinterInfo();
        StateFiles::setAgentList(*list.arrayPtr());
    } else if (!success) {
        app_.window()->settingScreen->registrationCheckBox()->setChecked(false);
        app_.log("Error reason : " + userInfo["Reason"].description());
        if (empty) {
            const PropertyValue titles =
                PropertyValue::array({marker("TitleMyPrinter"), marker("TitleFriendPrinter")});
            shared.arrSaveAgentList.set(titles);
            StateFiles::setAgentList(*titles.arrayPtr());
        }
        screen->reloadPrinters(shared.arrSaveAgentList.get());
    }
    app_.sharing().updateAgentInfo();
    if (checkPrinterRegistration()) {
        shared.isObserverExist = true;
        app_.showRefreshWindow("STOP", false);
    }
    app_.printers().bFirstShow = false;
}

void BackendLink::replyToChangeAlias(const PropertyValue& userInfo) {
    const int row = app_.window()->printerScreen->selectedPrinterRow();
    auto list = StateFiles::agentList();
    if (userInfo["Result"].string() == "SUCCESS" && row >= 0 && list &&
        static_cast<std::size_t>(row) < list->size()) {
        const std::string name = PrinterList::convertToSendRename(
            app_.window()->renameSheet->nameField()->text().toStdString());
        (*list)[row].set("agentAlias", name);
        app_.shared().arrSaveAgentList.set(*list);
        app_.window()->printerScreen->reloadPrinters(*list);
        app_.settings().settingGetPrinterInfo();
        StateFiles::setAgentList(*list);
    }
    app_.shared().isObserverExist = true;
    app_.showRefreshWindow("STOP", false);
}

PropertyValue BackendLink::agentRecordFrom(const PropertyValue& userInfo) {
    PropertyValue record = PropertyValue::dictionary();
    const auto copy = [&](const char* from, const char* to) {
        if (!userInfo[from].isNull()) record.set(to, userInfo[from]);
    };
    copy("Alias", "agentAlias");
    copy(userInfo["agentMacAddress"].isNull() ? "Mac address" : "agentMacAddress",
         "agentMacAddress");
    copy("agentId", "agentId");
    copy("ModelName", "agentModelName");
    copy("PaidDevice", "isPaidDevice");
    copy("Black", "currKTonerLevel");
    copy("Cyan", "currCTonerLevel");
    copy("Magenta", "currMTonerLevel");
    copy("Yellow", "currYTonerLevel");
    copy("OrderURL", "tonerOrderingURL");
    return record;
}

void BackendLink::refreshThread() {
    unsubscribe();
    if (!app_.shared().isSendPostNotification) {
        app_.showRefreshWindow("STOP", false);
        return;
    }
    app_.clickRefreshbtn(false);
    if (app_.shared().nCrtFunctionNum != kSettingTab) return;
    app_.laterOnMainThread([this] {
        app_.platform().alerts->runModal(
            {app_.localized("Information").toStdString(),
             app_.localized("Settings updated successfully").toStdString(),
             {app_.localized("OK").toStdString()}});
    });
}

bool BackendLink::checkPrinterRegistration() {
    const PropertyValue own = app_.shared().dicGetAgentInfo.get();
    const auto agents = StateFiles::agentList();
    if (own.size() == 0 || !agents) return true;
    // The same fallback as the record's: an agent that names its address only the older way
    // is still recognised, instead of ending in the silence alert.
    const auto address = own["agentMacAddress"].string().has_value()
                             ? own["agentMacAddress"].string()
                             : own["Mac address"].string();
    if (!address) return false;
    for (const PropertyValue& agent : *agents) {
        if (asciiUpper(agent["agentMacAddress"].string().value_or("")) == asciiUpper(*address))
            return true;
    }
    app_.onMainThread([this] {
        app_.window()->settingScreen->registrationCheckBox()->setChecked(false);
        app_.window()->settingScreen->modelField()->clear();
        app_.sharing().ManagedPrinterRegistrationBtn();
        post(PropertyValue::dictionary({{"Command", "StopPolling"}}));
    });
    return false;
}

}  // namespace nbx
