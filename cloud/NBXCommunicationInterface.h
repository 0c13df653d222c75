#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "NBXWebServiceRequest.h"
#include "PropertyValue.h"

namespace nbx {

struct CloudOperation;

// The wire side of the cloud service: lookup, URLs, headers and bodies of every REST call.
// Answers are handed back raw; judging them is the caller's task.
class NBXCommunicationInterface {
public:
    // Gathers the client identity: version, stored access token, MAC address.
    NBXCommunicationInterface();

    // ---- lookup and endpoint ----
    bool queryLookUpServerAndConstructNBXURL(Bytes* responseData);
    // Endpoint fields at the top level.
    bool constructNBXURLFromLookUpServerResponse(const PropertyValue& response);
    // Endpoint fields inside "serviceList"; the last entry wins.
    bool constructNBXURLFromLookUpServerResponse_V2(const PropertyValue& response);

    // ---- string helpers ----
    static std::optional<std::string> constructURLStringWithProtocol(
        const std::optional<std::string>& protocol, const std::optional<std::string>& domain,
        const std::optional<std::string>& apiServer, const std::optional<std::string>& apiURL);
    static std::optional<std::string> fillURL(const std::optional<std::string>& url,
                                              const PropertyValue& parameters);
    static std::string urlEncode(const PropertyValue& value);
    static std::string toString(const PropertyValue& value);
    static std::string createXwwwformurlencodedString(const PropertyValue& parameters);
    static std::optional<PropertyValue> parseXwwwFormURLEncodedResponseData(const Bytes& data);
    static std::optional<Bytes> createJSONencodedData(const PropertyValue& object);
    static std::optional<std::string> filterOutUnSupportedCharactersForFileName(
        const std::optional<std::string>& fileName);

    // ---- identity ----
    static std::optional<std::string> getMACAddress();
    void getClientMajorAndMinorVersionStrings();
    std::optional<std::string> lookUpClientVersion() const;

    // ---- cloud operations: (request dictionary, out: response bytes) ----
    bool getSubsriberInformation(const PropertyValue& request, Bytes* subscriberReturnedData);
    bool requestAuthentication(const PropertyValue& request, Bytes* returnedData);
    bool validateIdentifier(const PropertyValue& request, Bytes* returnedData);
    bool requestToBindValmoraAccount(const PropertyValue& request, Bytes* returnedData);
    bool requestGetAgentInformation(const PropertyValue& request, Bytes* returnedData);
    bool requestToBindAgent(const PropertyValue& request, Bytes* returnedData);
    bool requestToReleaseAgent(const PropertyValue& request, Bytes* returnedData);
    bool updateAgentAlias(const PropertyValue& request, Bytes* returnedData);
    bool getAgentState(const PropertyValue& request, Bytes* returnedData);
    bool uploadContentJob(const PropertyValue& request, Bytes* subscriberReturnedData);
    bool sendContentJobToMe(const PropertyValue& request, Bytes* returnedData);
    bool sendContentJobToOtherPerson(const PropertyValue& request, Bytes* returnedData);
    bool getSupportedCapabilityListForAgent(const PropertyValue& request, Bytes* returnedData);
    bool sendInvitationSMSToOtherPerson(const PropertyValue& request, Bytes* returnedData);
    bool getInvalidMacAddressList(const PropertyValue& request, Bytes* returnedData);
    bool getValmoraAccountBindingInformation1(const PropertyValue& request, Bytes* returnedData);
    bool getValmoraAccountBindingInformation(const PropertyValue& request, Bytes* returnedData);
    bool eulaAgreement(const PropertyValue& request, Bytes* returnedData);
    bool requestToRegisterAgent(const PropertyValue& request, Bytes* returnedData);
    bool requestToUnRegisterAgent(const PropertyValue& request, Bytes* returnedData);
    bool requestToGetUserAgentQuantity(const PropertyValue& request, Bytes* returnedData);
    bool getLongPollingTimeoutInformation(const PropertyValue& request, Bytes* returnedData);
    bool getRegisteredPushNotificationIDInformation(const PropertyValue& request,
                                                    Bytes* returnedData);
    bool requestAuthenticationByPushMessage(const PropertyValue& request, Bytes* returnedData);
    bool RegisterNbxd2information(const PropertyValue& request, Bytes* returnedData);
    bool getNbxd2SettingInformation(const PropertyValue& request, Bytes* returnedData);
    bool updateNbxd2SettingInformation(const PropertyValue& request, Bytes* returnedData);
    bool updateMarketingEula(const PropertyValue& request, Bytes* returnedData);
    bool uninstallPCApp(const PropertyValue& request, Bytes* returnedData);
    bool updateJobProcessingStatus(const PropertyValue& request, Bytes* returnedData);
    bool sendPCAgentServiceRequestToAPIURLPath(const std::string& apiURLPath,
                                               const std::string& httpMethod,
                                               const std::optional<Bytes>& requestData,
                                               Bytes* responseData);

    // ---- properties ----
    const std::string& clientType() const { return clientType_; }
    void setClientType(std::string v) { clientType_ = std::move(v); }
    const std::string& clientVender() const { return clientVender_; }
    void setClientVender(std::string v) { clientVender_ = std::move(v); }
    const std::optional<std::string>& clientVer() const { return clientVer_; }
    void setClientVer(std::string v) { clientVer_ = std::move(v); }
    const std::string& clientRegion() const { return clientRegion_; }
    void setClientRegion(std::string v) { clientRegion_ = std::move(v); }
    const std::string& serviceType() const { return serviceType_; }
    void setServiceType(std::string v) { serviceType_ = std::move(v); }
    const std::optional<std::string>& nbxResolvedProtocol() const { return resolvedProtocol_; }
    const std::optional<std::string>& nbxResolvedDomain() const { return resolvedDomain_; }
    const std::optional<std::string>& nbxResolvedAPIServer() const { return resolvedAPIServer_; }
    // A lookup "errorCode" value or an HTTP status number; null when none.
    const PropertyValue& errorCodeNumber() const { return errorCodeNumber_; }
    const std::optional<std::string>& errorCodeDescription() const { return errorCodeDescription_; }
    const std::optional<std::string>& macAddress() const { return macAddress_; }
    const std::optional<std::string>& accessToken() const { return accessToken_; }
    void setAccessToken(std::optional<std::string> token) { accessToken_ = std::move(token); }
    const std::optional<std::string>& kclientVersionMajorNum() const { return versionMajor_; }
    const std::optional<std::string>& kclientVersionMinorNum() const { return versionMinor_; }
    static const std::string& pcDriverAppId();
    static const std::string& NBXD2AppID();
    static const std::string& nbxAgentAppID();
    bool debug() const { return debug_; }
    void setDebug(bool debug) { debug_ = debug; }
    // Per-exchange timeout; tests shorten it.
    std::chrono::milliseconds requestTimeout() const { return requestTimeout_; }
    void setRequestTimeout(std::chrono::milliseconds t) { requestTimeout_ = t; }

private:
    bool send(const CloudOperation& operation, const PropertyValue& request, Bytes* returnedData);
    bool execute(NBXWebServiceRequest& request, Bytes* returnedData);
    void addHeaders(const CloudOperation& operation, const PropertyValue& request,
                    NBXWebServiceRequest& webRequest) const;
    std::optional<std::string> endpointURL(const std::string& apiURL) const;
    // Every operation starts here: the error fields describe only its own failure.
    void beginOperation(const char* methodName);
    void clearError();

    std::string clientType_ = "nbxPCAgent_MAC";
    std::string clientVender_ = "valmora";
    std::optional<std::string> clientVer_;
    std::string clientRegion_ = "us-east";
    std::string serviceType_ = "nbxCrtSvc";
    std::optional<std::string> resolvedProtocol_;
    std::optional<std::string> resolvedDomain_;
    std::optional<std::string> resolvedAPIServer_;
    PropertyValue errorCodeNumber_;
    std::optional<std::string> errorCodeDescription_;
    std::optional<std::string> macAddress_;
    std::optional<std::string> accessToken_;
    std::optional<std::string> versionMajor_;
    std::optional<std::string> versionMinor_;
    bool debug_ = false;
    std::chrono::milliseconds requestTimeout_ = NBXWebServiceRequest::kTimeout;
};

// True when the decoded answer's "success" is true (a true number, or text reading as yes).
bool isResponseASuccess(const PropertyValue& response);

}  // namespace nbx
