#include "Service.h"

namespace nbx::polling {

std::string textOf(const PropertyValue& value) {
    if (auto text = value.string()) return *text;
    if (auto number = value.integer()) return std::to_string(*number);
    return {};
}

std::unique_ptr<NBXCloudInterface> connectService(std::string* whyNot) {
    PropertyValue error;
    auto cloud = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary(), nullptr, &error);
    if (!cloud) {
        *whyNot = "the service lookup failed (" + textOf(error["errorCode"]) + " " +
                  error["ErrorDescription"].string().value_or("") + ")";
    }
    return cloud;
}

Outcome callService(NBXCloudInterface& cloud, CloudCall call, const PropertyValue& input) {
    Outcome outcome;
    PropertyValue error;
    if (!(cloud.*call)(input, &outcome.answer, &error)) {
        outcome.reason = "the service could not be reached or did not answer properly (" +
                         textOf(error["errorCode"]) + " " +
                         error["ErrorDescription"].string().value_or("") + ")";
        return outcome;
    }
    outcome.ok = isResponseASuccess(outcome.answer);
    if (!outcome.ok) {
        outcome.errorCode = textOf(outcome.answer["errorCode"]);
        outcome.reason = outcome.answer["errorReason"].string().value_or("the service refused");
    }
    return outcome;
}

}  // namespace nbx::polling
