#include "NBXCommunicationInterface.h"

#include <chrono>
#include <span>

#include "Configuration.h"
#include "DebugLine.h"
#include "JSONKit.h"
#include "MultipartUpload.h"

namespace nbx {

enum class CloudHeaderSet {
    Standard,
    Versioned,
    VerificationRequest,
    VerificationSubmit,
    PushRequest
};
enum class CloudBodySource { SendData, None, MessageType };

struct CloudOperation {
    const char* selector;
    const char* method;
    const char* path;
    CloudHeaderSet headers;
    CloudBodySource body = CloudBodySource::SendData;
};

namespace {

using H = CloudHeaderSet;

constexpr CloudOperation kGetSubsriberInformation{
    "getSubsriberInformation:subscriberReturnedData:", "PUT", "/idmmgtsvc/user", H::Standard};
constexpr CloudOperation kRequestAuthentication{"requestAuthentication:returnedData:", "POST",
                                                "/idmmgtsvc/user/verification",
                                                H::VerificationRequest, CloudBodySource::None};
constexpr CloudOperation kValidateIdentifier{"validateIdentifier:returnedData:", "PUT",
                                             "/idmmgtsvc/user/verification", H::VerificationSubmit};
constexpr CloudOperation kRequestToBindValmoraAccount{
    "requestToBindValmoraAccount:returnedData:", "PUT", "/idmmgtsvc/user/account/bind",
    H::Standard};
constexpr CloudOperation kRequestToBindAgent{"requestToBindAgent:returnedData:", "POST",
                                             "/printmgtsvc/agent/bind", H::Standard};
constexpr CloudOperation kRequestToReleaseAgent{"requestToReleaseAgent:returnedData:", "POST",
                                                "/printmgtsvc/agent/unbind", H::Standard};
constexpr CloudOperation kUpdateAgentAlias{"updateAgentAlias:returnedData:", "PUT",
                                           "/printmgtsvc/agent/bind", H::Standard};
constexpr CloudOperation kGetAgentState{"getAgentState:returnedData:", "PUT",
                                        "/printmgtsvc/agent/state", H::Standard};
constexpr CloudOperation kSendContentJobToMe{"sendContentJobToMe:returnedData:", "POST",
                                             "/printmgtsvc/job/content/send/me", H::Versioned};
constexpr CloudOperation kSendContentJobToOtherPerson{
    "sendContentJobToOtherPerson:returnedData:", "POST", "/printmgtsvc/job/content/send/other",
    H::Versioned};
constexpr CloudOperation kGetSupportedCapabilityListForAgent{
    "getSupportedCapabilityListForAgent:returnedData:", "POST", "/printmgtsvc/agent/capability",
    H::Standard};
constexpr CloudOperation kSendInvitationSMSToOtherPerson{
    "sendInvitationSMSToOtherPerson:returnedData:", "POST", "/idmmgtsvc/sms/invitation",
    H::Standard};
constexpr CloudOperation kGetInvalidMacAddressList{"getInvalidMacAddressList:returnedData:", "GET",
                                                   "/printmgtsvc/agent/blocklist", H::Versioned};
constexpr CloudOperation kGetValmoraAccountBindingInformation{
    "getValmoraAccountBindingInformation:returnedData:", "GET", "/idmmgtsvc/user/account",
    H::Standard};
constexpr CloudOperation kEulaAgreement{"eulaAgreement:returnedData:", "PUT",
                                        "/idmmgtsvc/user/nbxd2/eula", H::Standard};
constexpr CloudOperation kRequestToRegisterAgent{"requestToRegisterAgent:returnedData:", "POST",
                                                 "/printmgtsvc/agent/register", H::Versioned};
constexpr CloudOperation kRequestToUnRegisterAgent{"requestToUnRegisterAgent:returnedData:", "PUT",
                                                   "/printmgtsvc/agent/unregister", H::Versioned};
constexpr CloudOperation kRequestToGetUserAgentQuantity{
    "requestToGetUserAgentQuantity:returnedData:", "GET", "/idmmgtsvc/user/agent/quantity",
    H::Standard};
constexpr CloudOperation kGetLongPollingTimeoutInformation{
    "getLongPollingTimeoutInformation:returnedData:", "GET",
    "/printmgtsvc/policy?filter=longPollingSeconds", H::Standard};
constexpr CloudOperation kGetRegisteredPushNotificationIDInformation{
    "getRegisteredPushNotificationIDInformation:returnedData:", "GET",
    "/idmmgtsvc/user/register/pushid", H::Standard};
constexpr CloudOperation kRequestAuthenticationByPushMessage{
    "requestAuthenticationByPushMessage:returnedData:", "POST", "/idmmgtsvc/user/verification/push",
    H::PushRequest, CloudBodySource::MessageType};
constexpr CloudOperation kRegisterNbxd2information{"RegisterNbxd2information:returnedData:", "POST",
                                                   "/idmmgtsvc/user/nbxd2/clientInfo",
                                                   H::Versioned};
constexpr CloudOperation kGetNbxd2SettingInformation{
    "getNbxd2SettingInformation:returnedData:", "GET", "/idmmgtsvc/user/nbxd2/setting",
    H::Versioned};
constexpr CloudOperation kUpdateNbxd2SettingInformation{
    "updateNbxd2SettingInformation:returnedData:", "PUT", "/idmmgtsvc/user/nbxd2/setting",
    H::Versioned};
constexpr CloudOperation kUpdateMarketingEula{"updateMarketingEula:returnedData:", "PUT",
                                              "/idmmgtsvc/user/nbxd2/eula", H::Versioned};
constexpr CloudOperation kUninstallPCApp{"uninstallPCApp:returnedData:", "PUT",
                                         "/idmmgtsvc/user/nbxd2/uninstall", H::Versioned};
constexpr CloudOperation kUpdateJobProcessingStatus{
    "updateJobProcessingStatus:returnedData:", "POST", "/printmgtsvc/job/state/update",
    H::Versioned};

const char* kJSONType = "application/json";

std::optional<std::string> stringIn(const PropertyValue& request, const char* key) {
    return request[key].string();
}

std::optional<Bytes> bodyBytes(const PropertyValue& value) {
    if (const auto* data = value.data()) return *data;
    if (const auto* text = value.stringPtr()) return Bytes(text->begin(), text->end());
    return std::nullopt;
}

std::span<const std::uint8_t> asBytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

void NBXCommunicationInterface::beginOperation(const char* methodName) {
    clearError();
    if (debug_)
        writeDebugLine(std::string("NBX_COI: -[NBXCommunicationInterface ") + methodName + "]");
}

// A failure before the network must not report the previous call's status.
void NBXCommunicationInterface::clearError() {
    errorCodeNumber_ = PropertyValue();
    errorCodeDescription_.reset();
}

std::optional<std::string> NBXCommunicationInterface::endpointURL(const std::string& apiURL) const {
    return constructURLStringWithProtocol(resolvedProtocol_, resolvedDomain_, resolvedAPIServer_,
                                          apiURL);
}

bool NBXCommunicationInterface::execute(NBXWebServiceRequest& request, Bytes* returnedData) {
    if (request.executeRequest()) {
        if (returnedData) *returnedData = request.responseData();
        return true;
    }
    errorCodeNumber_ = request.httpStatusCode();
    errorCodeDescription_ = request.httpLocalizdStringForStatusCode();
    return false;
}

std::optional<Bytes> NBXCommunicationInterface::createJSONencodedData(const PropertyValue& object) {
    return JSONData(object);
}

// ---- lookup ----

bool NBXCommunicationInterface::queryLookUpServerAndConstructNBXURL(Bytes* responseData) {
    beginOperation("queryLookUpServerAndConstructNBXURL:");
    const auto base = constructURLStringWithProtocol("http://", Configuration::lookupServer(),
                                                     "/nbx/v2", "/svclookup/service");
    PropertyValue parameters =
        PropertyValue::dictionary({{"clientType", clientType_}, {"clientVender", clientVender_}});
    // The first absent value ends the list.
    if (clientVer_) {
        parameters.set("clientVer", *clientVer_);
        parameters.set("clientRegion", clientRegion_);
        parameters.set("serviceType", serviceType_);
    }
    const auto url = fillURL(base, parameters);
    if (!url) return false;
    NBXWebServiceRequest request(*url, requestTimeout_);
    request.setDebug(debug_);
    return execute(request, responseData);
}

bool NBXCommunicationInterface::constructNBXURLFromLookUpServerResponse(
    const PropertyValue& response) {
    clearError();
    if (!isResponseASuccess(response)) {
        errorCodeNumber_ = response["errorCode"];
        errorCodeDescription_ = response["errorReason"].string();
        if (debug_)
            writeDebugLine("NBX_COI: Fail! errorCode[" + toString(errorCodeNumber_) +
                           "] errorReason[" + errorCodeDescription_.value_or("(null)") + "]");
        return false;
    }
    resolvedProtocol_ = response["protocol"].string();
    resolvedDomain_ = response["domain"].string();
    resolvedAPIServer_ = response["path"].string();
    return resolvedProtocol_ && resolvedDomain_ && resolvedAPIServer_;
}

bool NBXCommunicationInterface::constructNBXURLFromLookUpServerResponse_V2(
    const PropertyValue& response) {
    clearError();
    if (debug_)
        writeSystemLogLine(
            "NBX_COI: -[NBXCommunicationInterface constructNBXURLFromLookUpServerResponse_V2:]");
    if (!isResponseASuccess(response)) {
        errorCodeNumber_ = response["errorCode"];
        errorCodeDescription_ = response["errorReason"].string();
        if (debug_)
            writeSystemLogLine("NBX_COI: Fail! errorCode[" + toString(errorCodeNumber_) +
                               "] errorReason[" + errorCodeDescription_.value_or("(null)") + "]");
        return false;
    }
    const auto* services = response["serviceList"].arrayPtr();
    if (!services) return false;
    std::optional<std::string> protocol, domain, path;
    for (const auto& entry : *services) {
        protocol = entry["protocol"].string();
        domain = entry["domain"].string();
        path = entry["path"].string();
    }
    resolvedProtocol_ = protocol;
    resolvedDomain_ = domain;
    resolvedAPIServer_ = path;
    if (debug_)
        writeSystemLogLine(
            "MoA:: Inside constructMoAServiceURLFromLookUpServerResponse Domain is::[" +
            domain.value_or("(null)") + "]");
    return resolvedAPIServer_ && resolvedDomain_ && resolvedProtocol_;
}

// ---- operations ----

void NBXCommunicationInterface::addHeaders(const CloudOperation& operation,
                                           const PropertyValue& request,
                                           NBXWebServiceRequest& web) const {
    const auto& appID = NBXD2AppID();
    switch (operation.headers) {
        case CloudHeaderSet::Standard:
        case CloudHeaderSet::Versioned:
            web.setValue(appID, "appID");
            web.setValue(kJSONType, "Content-Type");
            web.setValue(macAddress_, "deviceId");
            if (operation.headers == CloudHeaderSet::Versioned) {
                web.setValue(versionMajor_, "clientVersionMajor");
                web.setValue(versionMinor_, "clientVersionMinor");
            }
            web.setValue(stringIn(request, "senderCountryCode"), "countryCode");
            web.setValue(stringIn(request, "senderPhoneNumber"), "identifier");
            web.setValue(accessToken_, "accessToken");
            break;
        case CloudHeaderSet::VerificationRequest:
            web.setValue(appID, "appID");
            web.setValue(stringIn(request, "countryCode"), "countryCode");
            web.setValue(stringIn(request, "identifier"), "identifier");
            web.setValue(macAddress_, "deviceId");
            break;
        case CloudHeaderSet::VerificationSubmit:
            web.setValue(appID, "appID");
            web.setValue(stringIn(request, "countryCode"), "countryCode");
            web.setValue(stringIn(request, "senderPhoneNumber"), "identifier");
            web.setValue(macAddress_, "deviceId");
            web.setValue(kJSONType, "Content-Type");
            break;
        case CloudHeaderSet::PushRequest:
            web.setValue(appID, "appID");
            web.setValue(kJSONType, "Content-Type");
            web.setValue(stringIn(request, "countryCode"), "countryCode");
            web.setValue(stringIn(request, "identifier"), "identifier");
            web.setValue(macAddress_, "deviceId");
            web.setValue(accessToken_, "accessToken");
            break;
    }
}

bool NBXCommunicationInterface::send(const CloudOperation& operation, const PropertyValue& request,
                                     Bytes* returnedData) {
    beginOperation(operation.selector);
    const auto url = endpointURL(operation.path);
    if (!url) return false;
    NBXWebServiceRequest web(*url, requestTimeout_);
    web.setDebug(debug_);
    web.setHttpMethod(operation.method);
    addHeaders(operation, request, web);
    if (operation.body == CloudBodySource::SendData)
        web.setRequestData(bodyBytes(request["KEY_SendData"]));
    if (operation.body == CloudBodySource::MessageType)
        web.setRequestData(bodyBytes(request["messageType"]));
    return execute(web, returnedData);
}

bool NBXCommunicationInterface::getSubsriberInformation(const PropertyValue& request, Bytes* out) {
    return send(kGetSubsriberInformation, request, out);
}
bool NBXCommunicationInterface::requestAuthentication(const PropertyValue& request, Bytes* out) {
    return send(kRequestAuthentication, request, out);
}
bool NBXCommunicationInterface::validateIdentifier(const PropertyValue& request, Bytes* out) {
    Bytes answer;
    if (!send(kValidateIdentifier, request, &answer)) return false;
    const auto decoded = objectFromJSONData(&answer);
    accessToken_ = decoded ? (*decoded)["accessToken"].string() : std::nullopt;
    if (out) *out = std::move(answer);
    return true;
}
bool NBXCommunicationInterface::requestToBindValmoraAccount(const PropertyValue& request,
                                                            Bytes* out) {
    return send(kRequestToBindValmoraAccount, request, out);
}
bool NBXCommunicationInterface::requestGetAgentInformation(const PropertyValue& request,
                                                           Bytes* out) {
    // The values go into the path as they stand, unescaped.
    const std::string path =
        "/printmgtsvc/agent?filter=" + stringIn(request, "filter").value_or("ALL") +
        "&listid=" + stringIn(request, "listid").value_or("my,friend");
    const CloudOperation operation{"requestGetAgentInformation:returnedData:", "GET", path.c_str(),
                                   CloudHeaderSet::Versioned};
    return send(operation, request, out);
}
bool NBXCommunicationInterface::requestToBindAgent(const PropertyValue& request, Bytes* out) {
    return send(kRequestToBindAgent, request, out);
}
bool NBXCommunicationInterface::requestToReleaseAgent(const PropertyValue& request, Bytes* out) {
    return send(kRequestToReleaseAgent, request, out);
}
bool NBXCommunicationInterface::updateAgentAlias(const PropertyValue& request, Bytes* out) {
    return send(kUpdateAgentAlias, request, out);
}
bool NBXCommunicationInterface::getAgentState(const PropertyValue& request, Bytes* out) {
    return send(kGetAgentState, request, out);
}
bool NBXCommunicationInterface::sendContentJobToMe(const PropertyValue& request, Bytes* out) {
    if (debug_)
        writeSystemLogLine("major:[" + versionMajor_.value_or("(null)") + "]==>minor:[" +
                           versionMinor_.value_or("(null)") + "]");
    return send(kSendContentJobToMe, request, out);
}
bool NBXCommunicationInterface::sendContentJobToOtherPerson(const PropertyValue& request,
                                                            Bytes* out) {
    return send(kSendContentJobToOtherPerson, request, out);
}
bool NBXCommunicationInterface::getSupportedCapabilityListForAgent(const PropertyValue& request,
                                                                   Bytes* out) {
    return send(kGetSupportedCapabilityListForAgent, request, out);
}
bool NBXCommunicationInterface::sendInvitationSMSToOtherPerson(const PropertyValue& request,
                                                               Bytes* out) {
    return send(kSendInvitationSMSToOtherPerson, request, out);
}
bool NBXCommunicationInterface::getInvalidMacAddressList(const PropertyValue& request, Bytes* out) {
    return send(kGetInvalidMacAddressList, request, out);
}
bool NBXCommunicationInterface::getValmoraAccountBindingInformation1(const PropertyValue& request,
                                                                     Bytes* out) {
    beginOperation("getValmoraAccountBindingInformation1:returnedData:");
    // The printer's own web server, not the cloud endpoint: no headers, no body.
    const auto url = constructURLStringWithProtocol(
        "http://", stringIn(request, "printerIPAddress"),
        "/sws/app/settings/network/nbx/SCTStatus.json", std::nullopt);
    if (!url) return false;
    NBXWebServiceRequest web(*url, requestTimeout_);
    web.setDebug(debug_);
    return execute(web, out);
}
bool NBXCommunicationInterface::getValmoraAccountBindingInformation(const PropertyValue& request,
                                                                    Bytes* out) {
    return send(kGetValmoraAccountBindingInformation, request, out);
}
bool NBXCommunicationInterface::eulaAgreement(const PropertyValue& request, Bytes* out) {
    return send(kEulaAgreement, request, out);
}
bool NBXCommunicationInterface::requestToRegisterAgent(const PropertyValue& request, Bytes* out) {
    return send(kRequestToRegisterAgent, request, out);
}
bool NBXCommunicationInterface::requestToUnRegisterAgent(const PropertyValue& request, Bytes* out) {
    return send(kRequestToUnRegisterAgent, request, out);
}
bool NBXCommunicationInterface::requestToGetUserAgentQuantity(const PropertyValue& request,
                                                              Bytes* out) {
    return send(kRequestToGetUserAgentQuantity, request, out);
}
bool NBXCommunicationInterface::getLongPollingTimeoutInformation(const PropertyValue& request,
                                                                 Bytes* out) {
    writeDebugLine("#getLongPollingTimeoutInformation: returnedData:");
    return send(kGetLongPollingTimeoutInformation, request, out);
}
bool NBXCommunicationInterface::getRegisteredPushNotificationIDInformation(
    const PropertyValue& request, Bytes* out) {
    writeDebugLine("#getRegisteredPushNotificationIDInformation: returnedData:");
    return send(kGetRegisteredPushNotificationIDInformation, request, out);
}
bool NBXCommunicationInterface::requestAuthenticationByPushMessage(const PropertyValue& request,
                                                                   Bytes* out) {
    return send(kRequestAuthenticationByPushMessage, request, out);
}
bool NBXCommunicationInterface::RegisterNbxd2information(const PropertyValue& request, Bytes* out) {
    return send(kRegisterNbxd2information, request, out);
}
bool NBXCommunicationInterface::getNbxd2SettingInformation(const PropertyValue& request,
                                                           Bytes* out) {
    return send(kGetNbxd2SettingInformation, request, out);
}
bool NBXCommunicationInterface::updateNbxd2SettingInformation(const PropertyValue& request,
                                                              Bytes* out) {
    const bool ok = send(kUpdateNbxd2SettingInformation, request, out);
    if (debug_)
        writeSystemLogLine(ok ? "[COI 2] updateNbxd2SettingInformation PASS"
                              : "[COI 3] updateNbxd2SettingInformation FAIL");
    return ok;
}
bool NBXCommunicationInterface::updateMarketingEula(const PropertyValue& request, Bytes* out) {
    return send(kUpdateMarketingEula, request, out);
}
bool NBXCommunicationInterface::uninstallPCApp(const PropertyValue& request, Bytes* out) {
    return send(kUninstallPCApp, request, out);
}
bool NBXCommunicationInterface::updateJobProcessingStatus(const PropertyValue& request,
                                                          Bytes* out) {
    if (debug_)
        writeSystemLogLine("major:[" + versionMajor_.value_or("(null)") + "]==>minor:[" +
                           versionMinor_.value_or("(null)") + "]");
    return send(kUpdateJobProcessingStatus, request, out);
}

bool NBXCommunicationInterface::sendPCAgentServiceRequestToAPIURLPath(
    const std::string& apiURLPath, const std::string& httpMethod,
    const std::optional<Bytes>& requestData, Bytes* responseData) {
    beginOperation("sendPCAgentServiceRequestToAPIURLPath:httpMethod:requestData:responseData:");
    const auto url = endpointURL(apiURLPath);
    if (!url) return false;
    NBXWebServiceRequest web(*url, requestTimeout_);
    web.setDebug(debug_);
    web.setHttpMethod(httpMethod);
    web.setValue(nbxAgentAppID(), "appID");
    web.setValue(macAddress_, "identifier");
    web.setValue(kJSONType, "Content-Type");
    web.setRequestData(requestData);
    return execute(web, responseData);
}

// ---- content upload ----

bool NBXCommunicationInterface::uploadContentJob(const PropertyValue& request,
                                                 Bytes* subscriberReturnedData) {
    beginOperation("uploadContentJob:subscriberReturnedData:");
    const auto fileName = filterOutUnSupportedCharactersForFileName(stringIn(request, "fileName"));
    const auto url = endpointURL("/printmgtsvc/job/content");
    if (!url) return false;
    NBXWebServiceRequest web(*url, requestTimeout_);
    web.setDebug(debug_);
    web.setHttpMethod("POST");
    web.setValue(NBXD2AppID(), "appID");
    web.setValue(macAddress_, "deviceId");
    web.setValue(stringIn(request, "senderCountryCode"), "countryCode");
    web.setValue(stringIn(request, "senderPhoneNumber"), "identifier");
    web.setValue(accessToken_, "accessToken");

    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const MultipartUpload frame =
        MultipartUpload::around(std::chrono::duration<double>(now).count(), fileName.value_or(""));
    web.setValue(frame.contentType, "Content-Type");
    if (debug_) writeDebugLine("httpBodyString[" + frame.head + "]");
    // The document is streamed from the caller's buffer, never copied.
    const Bytes* document = request["pdfData"].data();
    std::span<const std::uint8_t> documentBytes;
    if (document) documentBytes = {document->data(), document->size()};
    web.setRequestBodyPieces({asBytes(frame.head), documentBytes, asBytes(frame.tail)});
    return execute(web, subscriberReturnedData);
}

}  // namespace nbx
