#include "BackendLink.h"

#include <QCheckBox>
#include <QLineEdit>
#include <algorithm>
#include <cctype>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "SettingScreen.h"
#include "StateFiles.h"

namespace nbx {

namespace {

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

}  // namespace

void BackendLink::post(PropertyValue request) {
    dicUpdateInfo_ = std::move(request);
    connectDistributedNotificatiion();
}

// Nothing carries requests to a polling agent yet, so no reply or watchdog will end the
// caller's busy overlay: it ends here.
void BackendLink::connectDistributedNotificatiion() {
    app_.log("Request to agent[" + dicUpdateInfo_["Command"].string().value_or("") + "]");
    app_.shared().isSendPostNotification = false;
    app_.shared().isObserverExist = false;
    app_.showRefreshWindow("STOP", false);
}

bool BackendLink::makeSPInfoDic() {
    return false;
}

bool BackendLink::checkPrinterRegistration() {
    const PropertyValue own = app_.shared().dicGetAgentInfo.get();
    const auto agents = StateFiles::agentList();
    if (own.size() == 0 || !agents) return true;
    const auto address = own["agentMacAddress"].string();
    if (!address) return false;
    for (const PropertyValue& agent : *agents) {
        if (upper(agent["agentMacAddress"].string().value_or("")) == upper(*address)) return true;
    }
    app_.onMainThread([this] {
        app_.window()->settingScreen->registrationCheckBox()->setChecked(false);
        app_.window()->settingScreen->modelField()->clear();
        ManagedPrinterRegistrationBtn();
        post(PropertyValue::dictionary({{"Command", "StopPolling"}}));
    });
    return false;
}

void BackendLink::ManagedPrinterRegistrationBtn() {}

}  // namespace nbx
