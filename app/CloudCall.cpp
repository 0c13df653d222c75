#include "CloudCall.h"

#include "AppDelegate.h"
#include "NBXCloudInterface.h"

namespace nbx {

CloudAnswer CloudAnswer::call(AppDelegate& app, const std::string& startLine, Operation operation,
                              const PropertyValue& request) {
    app.log(startLine);
    CloudAnswer answer;
    PropertyValue returned, error;
    app.checkMyInfoPlist();
    const SenderIdentity user = app.shared().arrGetuserInfo.get();
    const auto cloud = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary({{"Debug", true}}), nullptr, &error);
    answer.reached = cloud != nullptr;
    if (cloud && user) {
        PropertyValue input = PropertyValue::dictionary(
            {{"senderCountryCode", (*user)[0]}, {"senderPhoneNumber", (*user)[1]}});
        for (const auto& [key, value] : *request.dictionaryPtr())
            input.set(key, value);
        answer.success = ((*cloud).*operation)(input, &returned, &error) &&
                         !returned["success"].isNull() && returned["errorCode"].isNull();
    }
    if (!returned.isNull()) app.log("ReturnedInformation : " + returned.description());
    if (!error.isNull()) app.log("ErrorInformation : " + error.description());
    answer.information = answer.success || error.isNull() ? returned : error;
    if (!answer.success) {
        answer.errorCode =
            returned["errorCode"].isNull() ? error["errorCode"] : returned["errorCode"];
    }
    return answer;
}

}  // namespace nbx
