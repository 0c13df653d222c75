#include "NBXCloudInterface.h"

#include "DebugLine.h"
#include "JSONKit.h"

namespace nbx {

// How the request handed to the communication layer is formed.
enum class FacadeRequestForm {
    InputAndBody,   // the caller's input plus the encoded body
    SenderAndBody,  // only the encoded body and the two sender keys
    Input,          // the caller's input itself, no body
};

using Verifier = bool (*)(const PropertyValue&);
using WireCall = bool (NBXCommunicationInterface::*)(const PropertyValue&, Bytes*);
using BodyMaker = PropertyValue (*)(const PropertyValue&);

struct FacadeOperation {
    Verifier verify;
    WireCall call;
    std::vector<std::string_view> bodyKeys;
    FacadeRequestForm form = FacadeRequestForm::InputAndBody;
    bool silentWhenUnparsable = false;
    BodyMaker makeBody = nullptr;
};

namespace {

PropertyValue errorDictionary(int code, const char* description) {
    return PropertyValue::dictionary({{"errorCode", code}, {"ErrorDescription", description}});
}

PropertyValue bodyFromKeys(const PropertyValue& input, const std::vector<std::string_view>& keys) {
    PropertyDictionary body;
    for (const auto key : keys)
        setObjectFromDictionary(body, input, key);
    return body;
}

// None when the body cannot be encoded: better no call than one without its body.
std::optional<PropertyDictionary> requestFor(const FacadeOperation& operation,
                                             const PropertyValue& input) {
    const PropertyValue body =
        operation.makeBody ? operation.makeBody(input) : bodyFromKeys(input, operation.bodyKeys);
    auto json = JSONData(body);
    if (!json) return std::nullopt;
    PropertyDictionary request;
    if (operation.form == FacadeRequestForm::InputAndBody) {
        if (const auto* dict = input.dictionaryPtr()) request = *dict;
    }
    request.set("KEY_SendData", std::move(*json));
    if (operation.form == FacadeRequestForm::SenderAndBody) {
        setObjectFromDictionary(request, input, "senderCountryCode");
        setObjectFromDictionary(request, input, "senderPhoneNumber");
    }
    return request;
}

// Text reads as its leading integer, like a loose numeric conversion; absence reads as 0.
std::int64_t integerValue(const PropertyValue& value) {
    if (const auto* text = value.stringPtr()) {
        std::int64_t result = 0;
        std::size_t i = text->find_first_not_of(" \t\n");
        if (i == std::string::npos) return 0;
        const bool negative = (*text)[i] == '-';
        if ((*text)[i] == '-' || (*text)[i] == '+') ++i;
        for (; i < text->size() && std::isdigit(static_cast<unsigned char>((*text)[i])); ++i) {
            if (result > (INT64_MAX - 9) / 10) break;
            result = result * 10 + ((*text)[i] - '0');
        }
        return negative ? -result : result;
    }
    if (const auto real = value.real()) {
        if (*real >= 9.2e18 || *real <= -9.2e18) return *real > 0 ? INT64_MAX : INT64_MIN;
        return static_cast<std::int64_t>(*real);
    }
    return 0;
}

double doubleValue(const PropertyValue& value) {
    if (const auto* text = value.stringPtr()) {
        char* end = nullptr;
        const double result = std::strtod(text->c_str(), &end);
        return end == text->c_str() ? 0.0 : result;
    }
    return value.real().value_or(0.0);
}

PropertyValue jobProcessingStatusBody(const PropertyValue& input) {
    PropertyDictionary body;
    body.set("errorCode", integerValue(input["errorCode"]));
    body.set("jobHistoryId", doubleValue(input["jobHistoryId"]));
    setObjectFromDictionary(body, input, "isPaidDevice");
    return body;
}

}  // namespace

// ---- construction ----

std::unique_ptr<NBXCloudInterface> NBXCloudInterface::interfaceWithNBXServerInformation(
    const std::string& domain, const std::string& path, const std::string& protocol) {
    std::unique_ptr<NBXCloudInterface> cloud(new NBXCloudInterface());
    const auto information = PropertyValue::dictionary(
        {{"domain", domain}, {"path", path}, {"protocol", protocol}, {"success", true}});
    if (!cloud->initializeWithServerInformation(information)) return nullptr;
    return cloud;
}

bool NBXCloudInterface::initializeWithServerInformation(const PropertyValue& serverInformation) {
    auto communication = std::make_unique<NBXCommunicationInterface>();
    if (!communication->constructNBXURLFromLookUpServerResponse(serverInformation)) return false;
    communicationInterface_ = std::move(communication);
    return true;
}

std::unique_ptr<NBXCloudInterface>
NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
    const PropertyValue& configuration, PropertyValue* returnedInformation,
    PropertyValue* errorInformation) {
    std::unique_ptr<NBXCloudInterface> cloud(new NBXCloudInterface());
    if (!cloud->initializeCommunicationInterfaceWithConfiguration(
            configuration, returnedInformation, errorInformation))
        return nullptr;
    return cloud;
}

bool NBXCloudInterface::initializeCommunicationInterfaceWithConfiguration(
    const PropertyValue& configuration, PropertyValue* returnedInformation,
    PropertyValue* errorInformation) {
    auto communication = std::make_unique<NBXCommunicationInterface>();
    debug_ = configuration["Debug"].isTrue();
    communication->setDebug(debug_);
    const auto text = [&](const char* key) { return configuration[key].string(); };
    if (auto v = text("clientType"); v && !v->empty()) communication->setClientType(*v);
    if (auto v = text("clientVender"); v && !v->empty()) communication->setClientVender(*v);
    if (auto v = text("clientVer"); v && !v->empty()) communication->setClientVer(*v);
    if (auto v = text("clientRegion"); v && !v->empty()) communication->setClientRegion(*v);
    if (auto v = text("serviceType"); v && !v->empty()) communication->setServiceType(*v);

    Bytes answer;
    if (!communication->queryLookUpServerAndConstructNBXURL(&answer)) {
        if (errorInformation)
            *errorInformation =
                extractErrorInformationFromNBXCommunicationInterface(*communication);
        return false;
    }
    const auto decoded = objectFromJSONData(&answer);
    if (!decoded || !VerifyIfObjectIsOfType(*decoded, PropertyValue::Type::Dictionary)) {
        warn("NBX_CI: unable to interpret the JSON response from Lookup server");
        if (errorInformation) {
            *errorInformation = errorDictionary(kUnparsableAnswerCode,
                                                "Unable to parse the JSON response from Server");
            errorInformation->set("ErrorDebugInformation", SafeStringFromNSData(&answer));
        }
        return false;
    }
    if (!communication->constructNBXURLFromLookUpServerResponse_V2(*decoded)) {
        if (errorInformation)
            *errorInformation =
                extractErrorInformationFromNBXCommunicationInterface(*communication);
        return false;
    }
    communicationInterface_ = std::move(communication);
    if (returnedInformation) *returnedInformation = *decoded;
    return true;
}

PropertyValue NBXCloudInterface::extractErrorInformationFromNBXCommunicationInterface(
    const NBXCommunicationInterface& communication) const {
    if (communication.errorCodeNumber().isNull())
        return errorDictionary(kNoErrorInformationCode,
                               "There is no Error information from Communication Interface");
    PropertyValue error =
        PropertyValue::dictionary({{"errorCode", communication.errorCodeNumber()}});
    if (const auto& description = communication.errorCodeDescription()) {
        error.set("ErrorDescription", *description);
    } else {
        warn("NBX_CI: No Error description from Error for Communication Error.");
    }
    return error;
}

void NBXCloudInterface::warn(const std::string& message) const {
    if (debug_) writeDebugLine(message);
}

// ---- the common pattern ----

bool NBXCloudInterface::perform(const FacadeOperation& operation, const PropertyValue& input,
                                PropertyValue* returnedInformation,
                                PropertyValue* errorInformation) {
    const auto inputError = [&] {
        if (errorInformation)
            *errorInformation = errorDictionary(kInputErrorCode,
                                                "Input Parameters Passed are not proper Correctly");
        return false;
    };
    if (operation.verify && !operation.verify(input)) return inputError();
    // The input goes on as it is when no body is built, so a document is never copied.
    std::optional<PropertyDictionary> request;
    if (operation.form != FacadeRequestForm::Input) {
        request = requestFor(operation, input);
        if (!request) return inputError();
    }
    auto& communication = *communicationInterface_;
    Bytes answer;
    const bool sent = request ? (communication.*operation.call)(std::move(*request), &answer)
                              : (communication.*operation.call)(input, &answer);
    if (!sent) {
        if (errorInformation)
            *errorInformation = extractErrorInformationFromNBXCommunicationInterface(communication);
        return false;
    }
    return decodeAnswer(answer, operation.silentWhenUnparsable, returnedInformation,
                        errorInformation);
}

bool NBXCloudInterface::decodeAnswer(const Bytes& answer, bool silentWhenUnparsable,
                                     PropertyValue* returnedInformation,
                                     PropertyValue* errorInformation) const {
    auto decoded = objectFromJSONData(&answer);
    if (!decoded || !VerifyIfObjectIsOfType(*decoded, PropertyValue::Type::Dictionary)) {
        if (errorInformation && !silentWhenUnparsable) {
            *errorInformation = errorDictionary(kUnparsableAnswerCode,
                                                "Unable to parse the JSON response from Server");
            errorInformation->set("ErrorDebugInformation", SafeStringFromNSData(&answer));
        }
        return false;
    }
    if (returnedInformation) *returnedInformation = std::move(*decoded);
    return true;
}

// ---- operations ----

using C = NBXCommunicationInterface;
using F = FacadeRequestForm;

bool NBXCloudInterface::getSubsriberInformation(const PropertyValue& input, PropertyValue* ri,
                                                PropertyValue* ei) {
    return perform(
        {&verifySubsriberInformation, &C::getSubsriberInformation, {"users"}, F::SenderAndBody},
        input, ri, ei);
}

bool NBXCloudInterface::requestToReleaseAgent(const PropertyValue& input, PropertyValue* ri,
                                              PropertyValue* ei) {
    return perform({&verifyReleaseAgentInformation, &C::requestToReleaseAgent, {"agentId"}}, input,
                   ri, ei);
}

bool NBXCloudInterface::updateAgentAlias(const PropertyValue& input, PropertyValue* ri,
                                         PropertyValue* ei) {
    return perform({&verifyAgentAliasInformation, &C::updateAgentAlias, {"agentId", "agentAlias"}},
                   input, ri, ei);
}

bool NBXCloudInterface::getAgentState(const PropertyValue& input, PropertyValue* ri,
                                      PropertyValue* ei) {
    return perform({&verifyGetAgentStateInformation, &C::getAgentState, {"agentId"}}, input, ri,
                   ei);
}

bool NBXCloudInterface::uploadContentJob(const PropertyValue& input, PropertyValue* ri,
                                         PropertyValue* ei) {
    return perform({&verifyUploadContentJobInformation, &C::uploadContentJob, {}, F::Input, true},
                   input, ri, ei);
}

bool NBXCloudInterface::sendContentJobToMe(const PropertyValue& input, PropertyValue* ri,
                                           PropertyValue* ei) {
    return perform({&verifySendContentJobToMeInformation,
                    &C::sendContentJobToMe,
                    {"isSharedDevice", "contentKey", "agentId", "printRange", "friendUserId",
                     "totalPages", "isPaidDevice", "isPostDevice", "printOption"}},
                   input, ri, ei);
}

bool NBXCloudInterface::sendContentJobToOtherPerson(const PropertyValue& input, PropertyValue* ri,
                                                    PropertyValue* ei) {
    return perform({&verifySendContentJobToOtherPersonInformation,
                    &C::sendContentJobToOtherPerson,
                    {"contentKey", "receivers"},
                    F::SenderAndBody},
                   input, ri, ei);
}

bool NBXCloudInterface::getSupportedCapabilityListForAgent(const PropertyValue& input,
                                                           PropertyValue* ri, PropertyValue* ei) {
    return perform({&verifySupportedCapabilityListInformation,
                    &C::getSupportedCapabilityListForAgent,
                    {"agentId", "isSharedDevice", "friendUserId"}},
                   input, ri, ei);
}

bool NBXCloudInterface::sendInvitationSMSToOtherPerson(const PropertyValue& input,
                                                       PropertyValue* ri, PropertyValue* ei) {
    return perform({&verifyInvitationSMSInformation, &C::sendInvitationSMSToOtherPerson, {"users"}},
                   input, ri, ei);
}

bool NBXCloudInterface::getInvalidMacAddressList(const PropertyValue& input, PropertyValue* ri,
                                                 PropertyValue* ei) {
    return perform({&verifySenderInformation, &C::getInvalidMacAddressList, {}, F::Input}, input,
                   ri, ei);
}

bool NBXCloudInterface::getValmoraAccountBindingInformation(const PropertyValue& input,
                                                            PropertyValue* ri, PropertyValue* ei) {
    return perform(
        {&verifySenderInformation, &C::getValmoraAccountBindingInformation, {}, F::Input}, input,
        ri, ei);
}

bool NBXCloudInterface::getValmoraAccountBindingInformation1(const PropertyValue& input,
                                                             PropertyValue* ri, PropertyValue* ei) {
    return perform({nullptr, &C::getValmoraAccountBindingInformation1, {}, F::Input}, input, ri,
                   ei);
}

bool NBXCloudInterface::eulaAgreement(const PropertyValue& input, PropertyValue* ri,
                                      PropertyValue* ei) {
    return perform({&verifySenderInformation,
                    &C::eulaAgreement,
                    {"isAgreedSuppliesMarketEULA", "isAgreedSuppliesDeviceEULA"}},
                   input, ri, ei);
}

bool NBXCloudInterface::requestToRegisterAgent(const PropertyValue& input, PropertyValue* ri,
                                               PropertyValue* ei) {
    return perform({&verifySenderInformation,
                    &C::requestToRegisterAgent,
                    {"agentMacAddress", "printerOnID"},
                    F::SenderAndBody},
                   input, ri, ei);
}

bool NBXCloudInterface::requestToUnRegisterAgent(const PropertyValue& input, PropertyValue* ri,
                                                 PropertyValue* ei) {
    return perform({&verifySenderInformation, &C::requestToUnRegisterAgent, {}, F::Input}, input,
                   ri, ei);
}

bool NBXCloudInterface::requestToGetUserAgentQuantity(const PropertyValue& input, PropertyValue* ri,
                                                      PropertyValue* ei) {
    return perform({&verifySenderInformation, &C::requestToGetUserAgentQuantity, {}, F::Input},
                   input, ri, ei);
}

bool NBXCloudInterface::requestAuthentication(const PropertyValue& input, PropertyValue* ri,
                                              PropertyValue* ei) {
    return perform(
        {&verifyAuthenticationInformation, &C::requestAuthentication, {}, F::Input, true}, input,
        ri, ei);
}

bool NBXCloudInterface::validateIdentifier(const PropertyValue& input, PropertyValue* ri,
                                           PropertyValue* ei) {
    return perform({&verifyValidateIdentifierInformation, &C::validateIdentifier, {"pinCode"}},
                   input, ri, ei);
}

bool NBXCloudInterface::requestToBindValmoraAccount(const PropertyValue& input, PropertyValue* ri,
                                                    PropertyValue* ei) {
    return perform({&verifyBindValmoraAccountInformation,
                    &C::requestToBindValmoraAccount,
                    {"valmoraAccount", "valmoraAccessToken"}},
                   input, ri, ei);
}

bool NBXCloudInterface::getAgentInformation(const PropertyValue& input, PropertyValue* ri,
                                            PropertyValue* ei) {
    PropertyValue answer;
    if (!perform({&verifySenderInformation, &C::requestGetAgentInformation, {}, F::Input}, input,
                 &answer, ei))
        return false;
    warn("NBX_CI: getAgentInformation responseDictionary is:[" + answer.description() + "]");
    if (ri) *ri = std::move(answer);
    return true;
}

bool NBXCloudInterface::requestToBindAgent(const PropertyValue& input, PropertyValue* ri,
                                           PropertyValue* ei) {
    return perform({&verifyBindAgentInformation,
                    &C::requestToBindAgent,
                    {"agentMacAddress", "agentAlias"},
                    F::SenderAndBody},
                   input, ri, ei);
}

bool NBXCloudInterface::getLongPollingTimeoutInformation(const PropertyValue& input,
                                                         PropertyValue* ri, PropertyValue* ei) {
    writeDebugLine("#getLongPollingTimeoutInformation: returnedInformation: errorInformation:");
    return perform({&verifySenderInformation, &C::getLongPollingTimeoutInformation, {}, F::Input},
                   input, ri, ei);
}

bool NBXCloudInterface::getRegisteredPushNotificationIDInformation(const PropertyValue& input,
                                                                   PropertyValue* ri,
                                                                   PropertyValue* ei) {
    writeDebugLine(
        "#getRegisteredPushNotificationIDInformation: returnedInformation: errorInformation:");
    return perform(
        {&verifySenderInformation, &C::getRegisteredPushNotificationIDInformation, {}, F::Input},
        input, ri, ei);
}

bool NBXCloudInterface::requestAuthenticationByPushMessage(const PropertyValue& input,
                                                           PropertyValue* ri, PropertyValue* ei) {
    return perform({&verifyAuthenticationInformation,
                    &C::requestAuthenticationByPushMessage,
                    {"messageType"},
                    F::InputAndBody,
                    true},
                   input, ri, ei);
}

bool NBXCloudInterface::RegisterNbxd2information(const PropertyValue& input, PropertyValue* ri,
                                                 PropertyValue* ei) {
    return perform({&verifyNbxd2Information,
                    &C::RegisterNbxd2information,
                    {"clientOS", "clientOSVersion", "clientOSLanguage", "clientSysLocation"}},
                   input, ri, ei);
}

bool NBXCloudInterface::getNbxd2SettingInformation(const PropertyValue& input, PropertyValue* ri,
                                                   PropertyValue* ei) {
    return perform({&verifySenderInformation, &C::getNbxd2SettingInformation, {}, F::Input}, input,
                   ri, ei);
}

bool NBXCloudInterface::updateNbxd2SettingInformationForPushNoti(const PropertyValue& input,
                                                                 PropertyValue* ri,
                                                                 PropertyValue* ei) {
    return perform({&verifyNbxd2SettingPushNotiInformation,
                    &C::updateNbxd2SettingInformation,
                    {"clientPushNoti"}},
                   input, ri, ei);
}

bool NBXCloudInterface::updateMarketingEula(const PropertyValue& input, PropertyValue* ri,
                                            PropertyValue* ei) {
    return perform(
        {&verifyMarketingEulaInformation, &C::updateMarketingEula, {"clientMarketingEula"}}, input,
        ri, ei);
}

bool NBXCloudInterface::uninstallPCApp(const PropertyValue& input, PropertyValue* ri,
                                       PropertyValue* ei) {
    return perform({&verifySenderInformation, &C::uninstallPCApp, {}, F::Input}, input, ri, ei);
}

bool NBXCloudInterface::updateJobProcessingStatus(const PropertyValue& input, PropertyValue* ri,
                                                  PropertyValue* ei) {
    // The check exists but is deliberately not run here.
    return perform({nullptr,
                    &C::updateJobProcessingStatus,
                    {},
                    F::InputAndBody,
                    false,
                    &jobProcessingStatusBody},
                   input, ri, ei);
}

}  // namespace nbx
