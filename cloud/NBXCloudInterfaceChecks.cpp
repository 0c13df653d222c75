// The input checks of the cloud interface: each lists the keys an operation needs.
#include <initializer_list>

#include "NBXCloudInterface.h"

namespace nbx {

namespace {

enum class Need { String, Number, Data, Array, People };
struct Check {
    const char* key;
    Need need;
};

constexpr Check kSenderCountryCode{"senderCountryCode", Need::String};
constexpr Check kSenderPhoneNumber{"senderPhoneNumber", Need::String};

// A non-empty array of non-empty dictionaries, each with a phone number and a country code.
bool isListOfPeople(const PropertyValue& value) {
    if (!VerifyIfObjectIsOfType(value, PropertyValue::Type::Array)) return false;
    for (const auto& person : *value.arrayPtr()) {
        if (!VerifyIfObjectIsOfType(person, PropertyValue::Type::Dictionary) ||
            !VerifyIfObjectIsOfType(person["phoneNumber"], PropertyValue::Type::String) ||
            !VerifyIfObjectIsOfType(person["countryCode"], PropertyValue::Type::String))
            return false;
    }
    return true;
}

bool meets(const PropertyValue& value, Need need) {
    using T = PropertyValue::Type;
    switch (need) {
        case Need::String:
            return VerifyIfObjectIsOfType(value, T::String);
        case Need::Number:
            return VerifyIfObjectIsOfType(value, T::Real);
        case Need::Data:
            return VerifyIfObjectIsOfType(value, T::Data);
        case Need::Array:
            return VerifyIfObjectIsOfType(value, T::Array);
        case Need::People:
            return isListOfPeople(value);
    }
    return false;
}

bool passes(const PropertyValue& input, std::initializer_list<Check> checks,
            bool dictionaryTest = true) {
    if (dictionaryTest && !VerifyIfObjectIsOfType(input, PropertyValue::Type::Dictionary))
        return false;
    for (const auto& check : checks) {
        if (!meets(input[check.key], check.need)) return false;
    }
    return true;
}

}  // namespace

bool NBXCloudInterface::verifySenderInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode, kSenderPhoneNumber});
}

bool NBXCloudInterface::verifySubsriberInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode, kSenderPhoneNumber, {"users", Need::People}});
}

bool NBXCloudInterface::verifyReleaseAgentInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode, kSenderPhoneNumber, {"agentId", Need::Array}});
}

bool NBXCloudInterface::verifyAgentAliasInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode,
                          kSenderPhoneNumber,
                          {"agentId", Need::String},
                          {"agentAlias", Need::String}});
}

bool NBXCloudInterface::verifyGetAgentStateInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode, kSenderPhoneNumber, {"agentId", Need::Array}});
}

bool NBXCloudInterface::verifyUploadContentJobInformation(const PropertyValue& input) {
    return passes(input, {{"pdfData", Need::Data},
                          kSenderCountryCode,
                          kSenderPhoneNumber,
                          {"fileName", Need::String}});
}

bool NBXCloudInterface::verifySendContentJobToMeInformation(const PropertyValue& input) {
    return passes(input,
                  {kSenderCountryCode,
                   kSenderPhoneNumber,
                   {"isSharedDevice", Need::String},
                   {"contentKey", Need::String},
                   {"agentId", Need::String}},
                  false);
}

bool NBXCloudInterface::verifySendContentJobToOtherPersonInformation(const PropertyValue& input) {
    return passes(input, {{"contentKey", Need::String},
                          kSenderCountryCode,
                          kSenderPhoneNumber,
                          {"receivers", Need::People}});
}

bool NBXCloudInterface::verifySupportedCapabilityListInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode,
                          kSenderPhoneNumber,
                          {"isSharedDevice", Need::Number},
                          {"agentId", Need::String}});
}

bool NBXCloudInterface::verifyInvitationSMSInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode, kSenderPhoneNumber, {"users", Need::People}});
}

bool NBXCloudInterface::verifyAuthenticationInformation(const PropertyValue& input) {
    return passes(input, {{"identifier", Need::String}, {"countryCode", Need::String}});
}

bool NBXCloudInterface::verifyValidateIdentifierInformation(const PropertyValue& input) {
    return passes(input,
                  {kSenderPhoneNumber, {"countryCode", Need::String}, {"pinCode", Need::String}});
}

bool NBXCloudInterface::verifyBindValmoraAccountInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode,
                          kSenderPhoneNumber,
                          {"valmoraAccount", Need::String},
                          {"valmoraAccessToken", Need::String}});
}

bool NBXCloudInterface::verifyBindAgentInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode,
                          kSenderPhoneNumber,
                          {"agentMacAddress", Need::String},
                          {"agentAlias", Need::String}});
}

bool NBXCloudInterface::verifyNbxd2Information(const PropertyValue& input) {
    return passes(input,
                  {kSenderCountryCode,
                   kSenderPhoneNumber,
                   {"clientOS", Need::String},
                   {"clientOSVersion", Need::String},
                   {"clientOSLanguage", Need::String},
                   {"clientSysLocation", Need::String}},
                  false);
}

bool NBXCloudInterface::verifyNbxd2SettingPushNotiInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode, kSenderPhoneNumber, {"clientPushNoti", Need::String}},
                  false);
}

bool NBXCloudInterface::verifyMarketingEulaInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode, kSenderPhoneNumber}, false);
}

bool NBXCloudInterface::verifyJobProcessingStatusInformation(const PropertyValue& input) {
    return passes(input, {kSenderCountryCode,
                          kSenderPhoneNumber,
                          {"errorCode", Need::String},
                          {"errorReason", Need::String},
                          {"jobHistoryId", Need::String},
                          {"transactionKey", Need::String},
                          {"printedPages", Need::String}});
}

}  // namespace nbx
