#include "PrinterList.h"

#include <QCheckBox>
#include <QListWidget>
#include <QPushButton>
#include <QString>

#include "AppDelegate.h"
#include "CloudCall.h"
#include "MainWindow.h"
#include "NBXCloudInterface.h"
#include "PhoneEntry.h"
#include "PrintTarget.h"
#include "PrinterScreen.h"
#include "ServiceSettings.h"
#include "SettingScreen.h"
#include "StateFiles.h"
#include "TonerStatus.h"

namespace nbx {

namespace {

PropertyValue marker(const char* type) {
    return PropertyValue::dictionary({{"agentType", type}});
}

std::string firstAddress(const std::string& macAddress) {
    return macAddress.substr(0, macAddress.find(','));
}

PropertyValue arrayOr(const PropertyValue& value) {
    return value.isArray() ? value : PropertyValue::array();
}

}  // namespace

void PrinterList::connectWindow(MainWindow* w) {
    w->printerScreen.whenBuilt([this, w](PrinterScreen* screen) {
        QObject::connect(screen->printerTable(), &QListWidget::clicked, &app_,
                         [this] { clickPrinterTableView(); });
        QObject::connect(screen->printerTable(), &QListWidget::itemSelectionChanged, &app_,
                         [w, screen] {
                             const int row = screen->selectedPrinterRow();
                             if (row >= 0) screen->friendEntry()->setVisible(false);
                             if (row < 1) return;
                             screen->popupCheckBox()->setEnabled(true);
                             w->settingScreen->printingPopupCheckBox()->setEnabled(true);
                         });
        QObject::connect(
            screen->friendTable(), &QListWidget::itemSelectionChanged, &app_,
            [screen] { screen->friendEntry()->setVisible(screen->selectedFriendRow() >= 0); });
        // A printer is added on the registration page.
        QObject::connect(screen, &PrinterScreen::addPrinterClicked, &app_, [this, w] {
            app_.actionClickToolbar("Setting");
            w->settingScreen->selectSection(0);
        });
    });
}

void PrinterList::reportFailure(const CloudAnswer& answer, bool manage) {
    if (answer.success) return;
    if (!answer.reached) {
        // No service at all: say so plainly rather than as a service error.
        NBXConnectManger::runAlertMSG("Connection failed.", app_.alertContext());
    } else if (!answer.errorCode.isNull()) {
        if (manage) {
            app_.manageErrCode(answer.errorCode);
        } else {
            NBXConnectManger::runAlertPanel(answer.errorCode, app_.alertContext());
        }
    }
}

bool PrinterList::getAgentQuantity() {
    const CloudAnswer answer = CloudAnswer::call(app_, "Cloud API - Get agent quantity",
                                                 &NBXCloudInterface::requestToGetUserAgentQuantity,
                                                 PropertyValue::dictionary());
    dicGetAgentQuantity.set(answer.success ? answer.information["user"] : PropertyValue());
    return answer.success;
}

bool PrinterList::getAgentPrinterList() {
    const CloudAnswer answer =
        CloudAnswer::call(app_, "Cloud API - Get agent printer list",
                          &NBXCloudInterface::getAgentInformation, PropertyValue::dictionary());
    const PropertyValue& info = answer.success ? answer.information : PropertyValue::null();
    const PropertyValue own = arrayOr(info["agentList"]);
    const PropertyValue friends = arrayOr(info["friendAgentList"]);
    nPrinterCount = static_cast<int>(own.size() + friends.size());
    nFriendCount = static_cast<int>(friends.size());
    const int agentCount =
        static_cast<int>(dicGetAgentQuantity.get()["agentCount"].integer().value_or(0));
    const PropertyValue rows = arrangeAgentRows(own, friends, agentCount);
    app_.shared().arrSaveAgentList.set(rows);
    app_.log("Registered printer count : " + std::to_string(nPrinterCount));
    if (!answer.success) {
        // The error's handling may drop the file first; the markers are written after it.
        app_.onMainThread([this, answer, rows] {
            reportFailure(answer, true);
            StateFiles::setAgentList(*rows.arrayPtr());
        });
        bFirstShow = false;
        return false;
    }
    StateFiles::setAgentList(*rows.arrayPtr());
    // After the write, so the offer sees this list rather than the one of the last run.
    offerToner();
    return true;
}

void PrinterList::offerToner() {
    if (!bFirstShow.exchange(false)) return;
    TonerStatus& toner = app_.toner();
    if (!toner.checkTonerInfoShowAgain()) return;
    const PropertyValue low = toner.getTonerInfo();
    if (low.size() >= 1) app_.onMainThread([this, low] { app_.toner().offerTonerWindow(low); });
}

PropertyValue PrinterList::arrangeAgentRows(const PropertyValue& agentList,
                                            const PropertyValue& friendAgentList, int agentCount) {
    PropertyValue rows = PropertyValue::array();
    if (agentCount > 0) rows.append(marker("My Drive"));
    for (std::size_t i = 0; i < agentList.size(); ++i)
        if (agentList.at(i)["agentType"].string() == "POST_AGENT") rows.append(agentList.at(i));
    rows.append(marker("TitleMyPrinter"));
    for (std::size_t i = 0; i < agentList.size(); ++i)
        if (agentList.at(i)["agentType"].string() != "POST_AGENT") rows.append(agentList.at(i));
    if (friendAgentList.size() > 0) rows.append(marker("TitleFriendPrinter"));
    for (std::size_t i = 0; i < friendAgentList.size(); ++i)
        rows.append(friendAgentList.at(i));
    return rows;
}

void PrinterList::refreshPrinter() {
    app_.shared().arrSaveAgentList.set(PropertyValue::array());
    nPrinterCount = 0;
    app_.onMainThread([this] { setPlusbtn(true); });
    if (!app_.checkMyInfoPlist()) return;
    if (getAgentQuantity()) {
        const PropertyValue quantity = dicGetAgentQuantity.get();
        if (quantity["agentCount"].integer().value_or(0) >=
            quantity["maxAgentCount"].integer().value_or(0)) {
            app_.onMainThread([this] { setPlusbtn(false); });
        }
    }
    getAgentPrinterList();
}

bool PrinterList::getSupportCapabilitySelectPrinter() {
    const auto sendInfo = StateFiles::sendInfo();
    if (!app_.checkNBXSaveInfoPlist(true) || !sendInfo ||
        (*sendInfo)["Type"].string() != "Printer") {
        return false;
    }
    const PropertyArray rows = StateFiles::agentList().value_or(PropertyArray());
    std::optional<std::size_t> match;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const PropertyValue& row = rows[i];
        if (!row["agentMacAddress"].isNull()) {
            if (row["agentMacAddress"] == (*sendInfo)["MACAddress"]) match = i;
        } else if (!row["friendUserId"].isNull() &&
                   row["friendUserId"] == (*sendInfo)["FriendUserId"]) {
            match = i;
        }
    }
    if (!match) return false;
    const PropertyValue& agent = rows[*match];
    PropertyValue request = PropertyValue::dictionary({{"agentId", agent["agentId"]}});
    const bool shared = !agent["friendUserId"].isNull();
    request.set("isSharedDevice", shared ? 1 : 0);
    if (shared) request.set("friendUserId", agent["friendUserId"]);
    const CloudAnswer answer =
        CloudAnswer::call(app_, "Cloud API - Get support capability",
                          &NBXCloudInterface::getSupportedCapabilityListForAgent, request);
    PropertyValue list = app_.shared().arrSaveAgentList.get();
    if (answer.success && *match < list.size()) {
        PropertyValue merged = agent;
        for (const auto& [key, value] : *answer.information.dictionaryPtr())
            merged.set(key, value);
        (*list.arrayPtr())[*match] = std::move(merged);
        app_.shared().arrSaveAgentList.set(list);
    } else if (!answer.success) {
        app_.log("getSupportedCapability err : " + answer.information.description());
    }
    StateFiles::setAgentList(*list.arrayPtr());
    return answer.success;
}

void PrinterList::setPlusbtn(bool enable) {
    app_.window()->printerScreen->setPlusButton(
        enable, app_.localized(enable ? "Select Add Printer Tooltip"
                                      : "Select Add Printer Max Reached Tooltip"));
}

PropertyValue PrinterList::getSelectedRowInfo() const {
    PropertyValue info = PropertyValue::dictionary();
    const auto list = StateFiles::agentList();
    const int row = app_.window()->printerScreen->selectedPrinterRow();
    if (!list || row < 0 || static_cast<std::size_t>(row) >= list->size()) {
        info.set("MACAddress", "");
        return info;
    }
    const PropertyValue& record = (*list)[row];
    for (const auto& [from, to] : {std::pair{"agentAlias", "PrinterName"},
                                   {"agentModelName", "ModelName"},
                                   {"agentId", "AgentId"}}) {
        if (!record[from].isNull()) info.set(to, record[from]);
    }
    if (const auto mac = record["agentMacAddress"].string()) {
        info.set("MACAddress", firstAddress(*mac));
    }
    return info;
}

bool PrinterList::isOwnAgent(const std::string& macAddress) const {
    const PropertyValue agent = app_.shared().dicGetAgentInfo.get();
    const std::string own = firstAddress(
        agent["agentMacAddress"].string().value_or(agent["Mac address"].string().value_or("")));
    return !own.empty() &&
           QString::fromStdString(own).compare(QString::fromStdString(firstAddress(macAddress)),
                                               Qt::CaseInsensitive) == 0;
}

void PrinterList::updateAgentAlias(const std::string& alias) {
    const int row = app_.window()->printerScreen->selectedPrinterRow();
    const PropertyValue request = PropertyValue::dictionary(
        {{"agentId", getSelectedRowInfo()["AgentId"]}, {"agentAlias", alias}});
    app_.inBackground(
        [this, request] {
            return CloudAnswer::call(app_, "Cloud API - Update alias",
                                     &NBXCloudInterface::updateAgentAlias, request);
        },
        [this, row, alias](const CloudAnswer& answer) {
            auto list = StateFiles::agentList();
            if (!answer.success) {
                app_.log("updateAgentAlias err : " + answer.information.description());
                reportFailure(answer, false);
            } else if (list && row >= 0 && static_cast<std::size_t>(row) < list->size()) {
                (*list)[row].set("agentAlias", alias);
                app_.shared().arrSaveAgentList.set(*list);
                app_.window()->printerScreen->reloadPrinters(*list);
                app_.settings().settingGetPrinterInfo();
                StateFiles::setAgentList(*list);
            }
            app_.showRefreshWindow("STOP", false);
        });
}

void PrinterList::requestToReleaseAgent() {
    const int row = app_.window()->printerScreen->selectedPrinterRow();
    const PropertyValue request = PropertyValue::dictionary(
        {{"agentId", PropertyValue::array({getSelectedRowInfo()["AgentId"]})}});
    app_.inBackground(
        [this, request] {
            return CloudAnswer::call(app_, "Cloud API - Release agent",
                                     &NBXCloudInterface::requestToReleaseAgent, request);
        },
        [this, row](const CloudAnswer& answer) {
            PropertyValue list = app_.shared().arrSaveAgentList.get();
            if (!answer.success) {
                app_.log("requestToReleaseAgent err : " + answer.information.description());
                reportFailure(answer, false);
            } else if (row >= 0 && static_cast<std::size_t>(row) < list.size()) {
                list.arrayPtr()->erase(list.arrayPtr()->begin() + row);
                app_.shared().arrSaveAgentList.set(list);
                app_.window()->printerScreen->reloadPrinters(list);
                selectPrinterListTableRow(0, "Printer");
                app_.settings().settingGetPrinterInfo();
                StateFiles::setAgentList(*list.arrayPtr());
                if (app_.shared().dicGetAgentInfo.get().size() > 0) {
                    app_.window()->settingScreen->registrationCheckBox()->setChecked(false);
                }
                setPlusbtn(true);
            }
            app_.showRefreshWindow("STOP", false);
        });
}

void PrinterList::clickPrinterTableView() {
    PrinterScreen* screen = app_.window()->printerScreen;
    const int row = screen->selectedPrinterRow();
    if (row < 0) {
        screen->friendTable()->setFocus();
        return;
    }
    if (row == 0 && app_.checkPrintLaterAgain()) app_.showPrintLaterSheet();
    screen->friendTable()->clearSelection();
    if (!app_.printTarget().isPrintLaunch()) return;
    const PropertyValue list = app_.shared().arrSaveAgentList.get();
    const bool post = static_cast<std::size_t>(row) < list.size() &&
                      list.at(row)["agentType"].string() == "POST_AGENT";
    screen->nextButton()->setText(app_.localized(post ? "Send Job" : "Print Job"));
    screen->nextButton()->setEnabled(app_.checkMyInfoPlist());
}

void PrinterList::selectPrinterListTableRow(int row, const std::string& table) {
    PrinterScreen* screen = app_.window()->printerScreen;
    const bool friendTable = table == "Friend";
    (friendTable ? screen->printerTable() : screen->friendTable())->clearSelection();
    screen->friendEntry()->setVisible(friendTable);
    (friendTable ? screen->friendTable() : screen->printerTable())->setCurrentRow(row);
}

std::string PrinterList::convertToSendRename(const std::string& name) {
    std::string result;
    for (char c : name) {
        if (c == ' ' && (result.empty() || result.back() == ' ')) continue;
        result += c;
    }
    if (!result.empty() && result.back() == ' ') result.pop_back();
    return result;
}

std::string PrinterList::uniqueAlias(std::string name, const PropertyValue& agents) {
    QString base = QString::fromStdString(name);
    for (int n = 0;; ++n) {
        const int limit = 42 - static_cast<int>(QString::number(n).size());
        if (n > 0 && base.size() > limit) base.truncate(limit);
        const QString candidate = n == 0 ? base : QStringLiteral("%1 (%2)").arg(base).arg(n);
        bool taken = false;
        for (std::size_t i = 0; i < agents.size() && !taken; ++i) {
            const QString alias =
                QString::fromStdString(agents.at(i)["agentAlias"].string().value_or(""));
            taken = !alias.isEmpty() && alias.toLower() == candidate.toLower();
        }
        if (!taken) return candidate.toStdString();
    }
}

}  // namespace nbx
