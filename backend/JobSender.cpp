#include "JobSender.h"

#include <fstream>
#include <iterator>
#include <set>

#include "NBXAuthenticationManger.h"
#include "NBXCloudInterface.h"

namespace nbx::backend {

namespace {

using Operation = bool (NBXCloudInterface::*)(const PropertyValue&, PropertyValue*, PropertyValue*);

// Answers that only the user can mend by signing in again; the job waits for that.
const std::set<std::string> kIdentityCodes = {"13000", "61000", "63000", "64000"};
constexpr int kInputErrorCode = NBXCloudInterface::kInputErrorCode;

struct Answer {
    bool success = false;
    std::string errorCode;  // the service's own code; empty when it was not reached
    PropertyValue information;
};

Answer call(NBXCloudInterface& cloud, Operation operation, const PropertyValue& input) {
    PropertyValue returned, error;
    Answer answer;
    answer.success = (cloud.*operation)(input, &returned, &error) && returned["success"].isTrue() &&
                     returned["errorCode"].isNull();
    answer.information = returned;
    // The service's own refusal, or the interface's refusal of what we would send; anything
    // else means the service was not reached.
    const PropertyValue& code =
        returned["errorCode"].isNull() && error["errorCode"].integer() == kInputErrorCode
            ? error["errorCode"]
            : returned["errorCode"];
    if (!answer.success && !code.isNull())
        answer.errorCode = code.string().value_or(std::to_string(code.integer().value_or(0)));
    return answer;
}

JobSender::Result failure(const Answer& answer, std::string target) {
    using O = JobSender::Outcome;
    if (answer.errorCode.empty()) return {O::Waiting, "", std::move(target)};
    const O outcome = kIdentityCodes.count(answer.errorCode) ? O::NotSignedIn : O::Refused;
    return {outcome, answer.errorCode, std::move(target)};
}

std::optional<Bytes> readDocument(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

const char* colorMode(const PropertyValue& target) {
    return target["Color"].string() == "MONOCHORME" ? "MONO" : "COLOR";
}

const char* sides(const PropertyValue& target) {
    const auto duplex = target["Duplex"].string();
    if (duplex == "DuplexNoTumble") return "DUPLEX_LONG";
    if (duplex == "DuplexTumble") return "DUPLEX_SHORT";
    return "SIMPLEX";
}

PropertyValue printOption(const PropertyValue& entry) {
    const PropertyValue& target = entry["target"];
    return PropertyValue::dictionary({{"copies", entry["copies"]},
                                      {"colorMode", colorMode(target)},
                                      {"sides", sides(target)},
                                      {"mediaSize", target["PageSize"].string().value_or("A4")}});
}

// The dispatch call and its input for the job's target.
std::pair<Operation, PropertyValue> dispatchFor(const PropertyValue& entry,
                                                const std::string& contentKey) {
    const PropertyValue& target = entry["target"];
    PropertyValue input = PropertyValue::dictionary({{"contentKey", contentKey}});
    // A phone, the user's own included, is reached by its number; only printers have ids.
    if (target["TargetType"].string() == "Phone") {
        input.set("receivers", PropertyValue::array({PropertyValue::dictionary(
                                   {{"countryCode", target["TargetCountryCode"]},
                                    {"phoneNumber", target["TargetPhoneNumber"]}})}));
        return {&NBXCloudInterface::sendContentJobToOtherPerson, input};
    }
    input.set("agentId", target["agentId"].string().value_or(""));
    input.set("isSharedDevice", target["isSharedDevice"].string().value_or("false"));
    if (!target["friendUserId"].isNull()) input.set("friendUserId", target["friendUserId"]);
    input.set("totalPages", entry["totalPages"]);
    input.set("printOption", printOption(entry));
    return {&NBXCloudInterface::sendContentJobToMe, input};
}

}  // namespace

std::string JobSender::describeTarget(const PropertyValue& entry) {
    const PropertyValue& target = entry["target"];
    if (target["TargetType"].string() == "Phone") {
        return "+" + target["TargetCountryCode"].string().value_or("") + " " +
               target["TargetPhoneNumber"].string().value_or("");
    }
    return "the printer " +
           entry["targetName"].string().value_or(target["agentId"].string().value_or(""));
}

JobSender::Result JobSender::send(const std::string& key) {
    std::optional<PropertyValue> entry = outbox_.entry(key);
    if (!entry || outbox_.wasSent(key)) return {Outcome::Sent, "", ""};
    const std::string target = describeTarget(*entry);
    const auto identity = NBXAuthenticationManger::returnAuthInfo();
    if (!identity) return {Outcome::NotSignedIn, "", target};
    const auto cloud = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary({{"Debug", false}}), nullptr, nullptr);
    if (!cloud) return {Outcome::Waiting, "", target};
    const PropertyValue sender = PropertyValue::dictionary(
        {{"senderCountryCode", (*identity)[0]}, {"senderPhoneNumber", (*identity)[1]}});

    std::string contentKey = (*entry)["contentKey"].string().value_or("");
    if (contentKey.empty()) {
        std::optional<Bytes> document = readDocument(outbox_.document(key));
        if (!document) return {Outcome::Refused, "", target};
        PropertyValue upload = sender;
        upload.set("pdfData", std::move(*document));
        upload.set("fileName", (*entry)["title"].string().value_or("document") + ".pdf");
        const Answer uploaded = call(*cloud, &NBXCloudInterface::uploadContentJob, upload);
        contentKey = uploaded.information["contentKey"].string().value_or("");
        if (!uploaded.success || contentKey.empty()) return failure(uploaded, target);
        // A later run sends the uploaded copy instead of uploading again.
        entry->set("contentKey", contentKey);
        outbox_.saveEntry(key, *entry);
    }
    auto [operation, input] = dispatchFor(*entry, contentKey);
    for (const auto& [name, value] : *sender.dictionaryPtr())
        input.set(name, value);
    const Answer sent = call(*cloud, operation, input);
    if (!sent.success) return failure(sent, target);
    outbox_.markSent(key);
    return {Outcome::Sent, "", target};
}

}  // namespace nbx::backend
