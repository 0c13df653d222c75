#include "CloudOperations.h"

#include <algorithm>

namespace nbx::cloudcli {

const std::vector<NamedOperation>& cloudOperations() {
    using I = NBXCloudInterface;
    static const std::vector<NamedOperation> operations = {
        {"getSubsriberInformation", &I::getSubsriberInformation},
        {"requestToReleaseAgent", &I::requestToReleaseAgent},
        {"updateAgentAlias", &I::updateAgentAlias},
        {"getAgentState", &I::getAgentState},
        {"uploadContentJob", &I::uploadContentJob},
        {"sendContentJobToMe", &I::sendContentJobToMe},
        {"sendContentJobToOtherPerson", &I::sendContentJobToOtherPerson},
        {"getSupportedCapabilityListForAgent", &I::getSupportedCapabilityListForAgent},
        {"sendInvitationSMSToOtherPerson", &I::sendInvitationSMSToOtherPerson},
        {"getInvalidMacAddressList", &I::getInvalidMacAddressList},
        {"getValmoraAccountBindingInformation", &I::getValmoraAccountBindingInformation},
        {"getValmoraAccountBindingInformation1", &I::getValmoraAccountBindingInformation1},
        {"eulaAgreement", &I::eulaAgreement},
        {"requestToRegisterAgent", &I::requestToRegisterAgent},
        {"requestToUnRegisterAgent", &I::requestToUnRegisterAgent},
        {"requestToGetUserAgentQuantity", &I::requestToGetUserAgentQuantity},
        {"requestAuthentication", &I::requestAuthentication},
        {"validateIdentifier", &I::validateIdentifier},
        {"requestToBindValmoraAccount", &I::requestToBindValmoraAccount},
        {"getAgentInformation", &I::getAgentInformation},
        {"requestToBindAgent", &I::requestToBindAgent},
        {"getLongPollingTimeoutInformation", &I::getLongPollingTimeoutInformation},
        {"getRegisteredPushNotificationIDInformation",
         &I::getRegisteredPushNotificationIDInformation},
        {"requestAuthenticationByPushMessage", &I::requestAuthenticationByPushMessage},
        {"RegisterNbxd2information", &I::RegisterNbxd2information},
        {"getNbxd2SettingInformation", &I::getNbxd2SettingInformation},
        {"updateNbxd2SettingInformationForPushNoti", &I::updateNbxd2SettingInformationForPushNoti},
        {"updateMarketingEula", &I::updateMarketingEula},
        {"uninstallPCApp", &I::uninstallPCApp},
        {"updateJobProcessingStatus", &I::updateJobProcessingStatus},
        {"registerNbxd2InformationToServer", &I::registerNbxd2InformationToServer},
        {"updateNbxd2SettingInformation", &I::updateNbxd2SettingInformation},
        {"updateEULAForSuppliesToServer", &I::updateEULAForSuppliesToServer},
        {"updateMarketingEULAToServer", &I::updateMarketingEULAToServer},
    };
    return operations;
}

const NamedOperation* findCloudOperation(std::string_view name) {
    const auto& all = cloudOperations();
    const auto it = std::find_if(all.begin(), all.end(),
                                 [&](const NamedOperation& op) { return op.name == name; });
    return it == all.end() ? nullptr : &*it;
}

}  // namespace nbx::cloudcli
