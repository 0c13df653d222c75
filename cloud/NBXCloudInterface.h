#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "NBXCommunicationInterface.h"
#include "PropertyValue.h"

namespace nbx {

struct FacadeOperation;

// The one object the application talks to the cloud through: checks the caller's input,
// builds the request, calls the communication layer and decodes the answer. Every operation
// returns whether it worked; the decoded answer or an error dictionary goes to the out-slots
// the caller gave (either may be null).
class NBXCloudInterface {
public:
    static constexpr int kInputErrorCode = 1010;
    static constexpr int kUnparsableAnswerCode = 1005;
    static constexpr int kNoErrorInformationCode = 1001;

    // An interface bound to a known endpoint; null when the endpoint is incomplete.
    static std::unique_ptr<NBXCloudInterface> interfaceWithNBXServerInformation(
        const std::string& domain, const std::string& path, const std::string& protocol);
    // An interface whose endpoint comes from the lookup server; null when the lookup fails.
    static std::unique_ptr<NBXCloudInterface> interfaceCreatedFromLookUpServerWithConfiguration(
        const PropertyValue& configuration, PropertyValue* returnedInformation,
        PropertyValue* errorInformation);

    bool initializeWithServerInformation(const PropertyValue& serverInformation);
    bool initializeCommunicationInterfaceWithConfiguration(const PropertyValue& configuration,
                                                           PropertyValue* returnedInformation,
                                                           PropertyValue* errorInformation);
    PropertyValue extractErrorInformationFromNBXCommunicationInterface(
        const NBXCommunicationInterface& communication) const;

    NBXCommunicationInterface* communicationInterface() { return communicationInterface_.get(); }
    bool debug() const { return debug_; }
    void setDebug(bool debug) { debug_ = debug; }

    bool getSubsriberInformation(const PropertyValue& input, PropertyValue* returnedInformation,
                                 PropertyValue* errorInformation);
    bool requestToReleaseAgent(const PropertyValue& input, PropertyValue* returnedInformation,
                               PropertyValue* errorInformation);
    bool updateAgentAlias(const PropertyValue& input, PropertyValue* returnedInformation,
                          PropertyValue* errorInformation);
    bool getAgentState(const PropertyValue& input, PropertyValue* returnedInformation,
                       PropertyValue* errorInformation);
    bool uploadContentJob(const PropertyValue& input, PropertyValue* returnedInformation,
                          PropertyValue* errorInformation);
    bool sendContentJobToMe(const PropertyValue& input, PropertyValue* returnedInformation,
                            PropertyValue* errorInformation);
    bool sendContentJobToOtherPerson(const PropertyValue& input, PropertyValue* returnedInformation,
                                     PropertyValue* errorInformation);
    bool getSupportedCapabilityListForAgent(const PropertyValue& input,
                                            PropertyValue* returnedInformation,
                                            PropertyValue* errorInformation);
    bool sendInvitationSMSToOtherPerson(const PropertyValue& input,
                                        PropertyValue* returnedInformation,
                                        PropertyValue* errorInformation);
    bool getInvalidMacAddressList(const PropertyValue& input, PropertyValue* returnedInformation,
                                  PropertyValue* errorInformation);
    bool getValmoraAccountBindingInformation(const PropertyValue& input,
                                             PropertyValue* returnedInformation,
                                             PropertyValue* errorInformation);
    bool getValmoraAccountBindingInformation1(const PropertyValue& input,
                                              PropertyValue* returnedInformation,
                                              PropertyValue* errorInformation);
    bool eulaAgreement(const PropertyValue& input, PropertyValue* returnedInformation,
                       PropertyValue* errorInformation);
    bool requestToRegisterAgent(const PropertyValue& input, PropertyValue* returnedInformation,
                                PropertyValue* errorInformation);
    bool requestToUnRegisterAgent(const PropertyValue& input, PropertyValue* returnedInformation,
                                  PropertyValue* errorInformation);
    bool requestToGetUserAgentQuantity(const PropertyValue& input,
                                       PropertyValue* returnedInformation,
                                       PropertyValue* errorInformation);
    bool requestAuthentication(const PropertyValue& input, PropertyValue* returnedInformation,
                               PropertyValue* errorInformation);
    bool validateIdentifier(const PropertyValue& input, PropertyValue* returnedInformation,
                            PropertyValue* errorInformation);
    bool requestToBindValmoraAccount(const PropertyValue& input, PropertyValue* returnedInformation,
                                     PropertyValue* errorInformation);
    bool getAgentInformation(const PropertyValue& input, PropertyValue* returnedInformation,
                             PropertyValue* errorInformation);
    bool requestToBindAgent(const PropertyValue& input, PropertyValue* returnedInformation,
                            PropertyValue* errorInformation);
    bool getLongPollingTimeoutInformation(const PropertyValue& input,
                                          PropertyValue* returnedInformation,
                                          PropertyValue* errorInformation);
    bool getRegisteredPushNotificationIDInformation(const PropertyValue& input,
                                                    PropertyValue* returnedInformation,
                                                    PropertyValue* errorInformation);
    bool requestAuthenticationByPushMessage(const PropertyValue& input,
                                            PropertyValue* returnedInformation,
                                            PropertyValue* errorInformation);
    bool RegisterNbxd2information(const PropertyValue& input, PropertyValue* returnedInformation,
                                  PropertyValue* errorInformation);
    bool getNbxd2SettingInformation(const PropertyValue& input, PropertyValue* returnedInformation,
                                    PropertyValue* errorInformation);
    bool updateNbxd2SettingInformationForPushNoti(const PropertyValue& input,
                                                  PropertyValue* returnedInformation,
                                                  PropertyValue* errorInformation);
    bool updateMarketingEula(const PropertyValue& input, PropertyValue* returnedInformation,
                             PropertyValue* errorInformation);
    bool uninstallPCApp(const PropertyValue& input, PropertyValue* returnedInformation,
                        PropertyValue* errorInformation);
    bool updateJobProcessingStatus(const PropertyValue& input, PropertyValue* returnedInformation,
                                   PropertyValue* errorInformation);
    // Wrappers: build their own input and answer YES only for an answer with "success" true.
    bool registerNbxd2InformationToServer(const PropertyValue& input,
                                          PropertyValue* returnedInformation,
                                          PropertyValue* errorInformation);
    bool updateNbxd2SettingInformation(const PropertyValue& input,
                                       PropertyValue* returnedInformation,
                                       PropertyValue* errorInformation);
    bool updateEULAForSuppliesToServer(const PropertyValue& input,
                                       PropertyValue* returnedInformation,
                                       PropertyValue* errorInformation);
    bool updateMarketingEULAToServer(const PropertyValue& input, PropertyValue* returnedInformation,
                                     PropertyValue* errorInformation);

    // ---- input checks ----
    static bool verifySubsriberInformation(const PropertyValue& input);
    static bool verifyReleaseAgentInformation(const PropertyValue& input);
    static bool verifyAgentAliasInformation(const PropertyValue& input);
    static bool verifyGetAgentStateInformation(const PropertyValue& input);
    static bool verifyUploadContentJobInformation(const PropertyValue& input);
    static bool verifySendContentJobToMeInformation(const PropertyValue& input);
    static bool verifySendContentJobToOtherPersonInformation(const PropertyValue& input);
    static bool verifySupportedCapabilityListInformation(const PropertyValue& input);
    static bool verifyInvitationSMSInformation(const PropertyValue& input);
    static bool verifySenderInformation(const PropertyValue& input);
    static bool verifyAuthenticationInformation(const PropertyValue& input);
    static bool verifyValidateIdentifierInformation(const PropertyValue& input);
    static bool verifyBindValmoraAccountInformation(const PropertyValue& input);
    static bool verifyBindAgentInformation(const PropertyValue& input);
    static bool verifyNbxd2Information(const PropertyValue& input);
    static bool verifyNbxd2SettingPushNotiInformation(const PropertyValue& input);
    static bool verifyMarketingEulaInformation(const PropertyValue& input);
    static bool verifyJobProcessingStatusInformation(const PropertyValue& input);

    // The distribution's version, or none when it cannot be read.
    static std::optional<std::string> MacOSVersionString();
    // The region of the user's locale: everything after the first "_".
    static std::string systemLocationString();
    static std::string systemLocationString(std::string_view localeIdentifier);
    // Where the installer leaves the user's choices.
    static std::string installerSettingsFile();

private:
    NBXCloudInterface() = default;

    bool perform(const FacadeOperation& operation, const PropertyValue& input,
                 PropertyValue* returnedInformation, PropertyValue* errorInformation);
    bool decodeAnswer(const Bytes& answer, bool silentWhenUnparsable,
                      PropertyValue* returnedInformation, PropertyValue* errorInformation) const;
    bool succeeded(bool (NBXCloudInterface::*operation)(const PropertyValue&, PropertyValue*,
                                                        PropertyValue*),
                   const PropertyValue& input);
    void warn(const std::string& message) const;

    std::unique_ptr<NBXCommunicationInterface> communicationInterface_;
    bool debug_ = false;
};

}  // namespace nbx
