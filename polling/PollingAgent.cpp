#include "PollingAgent.h"

#include <algorithm>
#include <cctype>

#include "HardwareAddress.h"
#include "NBXAuthenticationManger.h"
#include "PrintQueue.h"
#include "Service.h"

namespace nbx::polling {

namespace {

std::string trimmed(const std::string& value) {
    const auto first = value.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return value.substr(first, value.find_last_not_of(" \t\r\n") - first + 1);
}

// The service keeps phone numbers without their leading zeros.
std::string withoutLeadingZeros(const std::string& phone) {
    const auto first = phone.find_first_not_of('0');
    return first == std::string::npos ? std::string() : phone.substr(first);
}

PropertyValue success() {
    return PropertyValue::dictionary({{"Result", "SUCCESS"}});
}

PropertyValue failure(const std::string& reason, const std::string& errorCode = {}) {
    PropertyValue reply = PropertyValue::dictionary({{"Result", "FAIL"}});
    if (!errorCode.empty()) reply.set("ErrorCode", errorCode);
    if (!reason.empty()) reply.set("Reason", reason);
    return reply;
}

PropertyValue failure(const Outcome& outcome) {
    return failure(outcome.reason, outcome.errorCode);
}

PropertyValue sender(const Registration& registration) {
    return PropertyValue::dictionary({{"senderCountryCode", registration.countryCode},
                                      {"senderPhoneNumber", registration.phoneNumber}});
}

const char* kNotRegistered = "no printer is shared through the service";

}  // namespace

PollingAgent::PollingAgent(Reply reply, Log log)
    : reply_(std::move(reply)), log_(std::move(log)), poller_(state_, log_) {}

PollingAgent::~PollingAgent() {
    stop();
}

void PollingAgent::start() {
    if (auto registration = PollingFiles::loadRegistration()) {
        log_("serving agent " + registration->agentId + " on queue " + registration->queue);
        state_.setRegistration(std::move(registration));
    }
    worker_ = std::thread([this] { work(); });
    polling_ = std::thread([this] { poller_.run(); });
}

void PollingAgent::submit(const PropertyValue& request) {
    std::lock_guard lock(mutex_);
    commands_.push_back(request);
    queued_.notify_one();
}

void PollingAgent::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        queued_.notify_all();
    }
    state_.requestStop();
    if (worker_.joinable()) worker_.join();
    if (polling_.joinable()) polling_.join();
}

void PollingAgent::work() {
    for (;;) {
        PropertyValue request;
        {
            std::unique_lock lock(mutex_);
            queued_.wait(lock, [this] { return stopping_ || !commands_.empty(); });
            if (stopping_) return;
            request = std::move(commands_.front());
            commands_.pop_front();
        }
        reply_(handle(request));
    }
}

PropertyValue PollingAgent::handle(const PropertyValue& request) {
    const std::string command = textOf(request["Command"]);
    log_("command \"" + command + "\"");
    PropertyValue reply;
    if (command == "UpdatePolling") {
        reply = updatePolling(request);
    } else if (command == "StopPolling") {
        reply = stopPolling();
    } else if (command == "GetPolling") {
        reply = getPolling();
    } else if (command == "ChangeAlias") {
        reply = changeAlias(request);
    } else {
        reply = failure("unknown command \"" + command + "\"");
    }
    reply.set("Command", command);
    if (reply["Result"] != PropertyValue("SUCCESS")) {
        log_(command + " failed: " + textOf(reply["ErrorCode"]) + " " + textOf(reply["Reason"]));
    }
    return reply;
}

PropertyValue PollingAgent::updatePolling(const PropertyValue& request) {
    Registration registration;
    registration.queue = textOf(request["Address"]);
    registration.alias = textOf(request["Alias"]);
    registration.modelName = textOf(request["ModelName"]);
    registration.mdl = textOf(request["MDL"]);
    if (registration.queue.empty()) return failure("no print queue was named (\"Address\")");
    const auto queue = PrintQueue::inspect(registration.queue);
    if (queue.reach != PrintQueue::Reach::Known) return failure(queue.message);

    registration.countryCode = textOf(request["BindPhone_CountryCode"]);
    registration.phoneNumber = withoutLeadingZeros(textOf(request["BindPhone_Number"]));
    if (registration.countryCode.empty() || registration.phoneNumber.empty()) {
        if (const auto signedIn = NBXAuthenticationManger::returnAuthInfo()) {
            registration.countryCode = (*signedIn)[0];
            registration.phoneNumber = (*signedIn)[1];
        }
    }
    if (registration.countryCode.empty() || registration.phoneNumber.empty())
        return failure("no phone number to register the printer with");

    std::string whyNot;
    const auto cloud = connectService(&whyNot);
    if (!cloud) return failure(whyNot);
    const std::string given = trimmed(textOf(request["Mac address"]));
    registration.agentMacAddress = given.empty()
                                       ? cloud->communicationInterface()->macAddress().value_or("")
                                       : compactHardwareAddress(given).value_or(given);
    if (registration.agentMacAddress.empty())
        return failure("the hardware address of this computer is unknown");

    PropertyValue input = sender(registration);
    input.set("agentMacAddress", registration.agentMacAddress);
    input.set("agentAlias", registration.alias);
    input.set("agentModelName", registration.modelName);
    const Outcome registered =
        callService(*cloud, &NBXCloudInterface::requestToRegisterAgent, input);
    if (!registered.ok) return failure(registered);
    registration.agentId = textOf(registered.answer["agentId"]);
    if (registration.agentId.empty()) return failure("the service answered no agent id");

    // Registering sends only the hardware address, so the service learns the name apart.
    if (!registration.alias.empty()) {
        PropertyValue rename = sender(registration);
        rename.set("agentId", registration.agentId);
        rename.set("agentAlias", registration.alias);
        const Outcome renamed = callService(*cloud, &NBXCloudInterface::updateAgentAlias, rename);
        if (!renamed.ok) log_("the alias was not sent: " + renamed.reason);
    }
    if (!PollingFiles::saveRegistration(registration))
        return failure("the registration could not be stored");
    state_.setRegistration(registration);
    PropertyValue reply = success();
    reply.set("agentId", registration.agentId);
    return reply;
}

PropertyValue PollingAgent::stopPolling() {
    const auto registration = state_.registration();
    if (!registration) return failure(kNotRegistered);
    state_.setRegistration(std::nullopt);
    std::string whyNot;
    if (const auto cloud = connectService(&whyNot)) {
        PropertyValue input = sender(*registration);
        input.set("agentMacAddress", registration->agentMacAddress);
        const Outcome outcome =
            callService(*cloud, &NBXCloudInterface::requestToUnRegisterAgent, input);
        if (!outcome.ok) whyNot = outcome.errorCode + " " + outcome.reason;
    }
    if (!whyNot.empty()) log_("the service did not unregister the printer: " + whyNot);
    PollingFiles::removeRegistration();
    return success();
}

PropertyValue PollingAgent::getPolling() {
    const auto registration = state_.registration();
    if (!registration) return failure(kNotRegistered);
    PropertyValue reply = success();
    reply.set("Alias", registration->alias);
    reply.set("agentMacAddress", registration->agentMacAddress);
    reply.set("agentId", registration->agentId);
    reply.set("ModelName", registration->modelName);
    reply.set("PaidDevice", false);
    reply.set("OrderURL", "");
    for (const auto& [colour, level] : PrintQueue::inspect(registration->queue).toner)
        reply.set(colour, level);
    return reply;
}

PropertyValue PollingAgent::changeAlias(const PropertyValue& request) {
    const std::string alias = trimmed(textOf(request["Alias"]));
    if (alias.empty()) return failure("no alias was given");
    auto registration = state_.registration();
    if (!registration) return failure(kNotRegistered);
    std::string whyNot;
    const auto cloud = connectService(&whyNot);
    if (!cloud) return failure(whyNot);
    PropertyValue input = sender(*registration);
    input.set("agentId", registration->agentId);
    input.set("agentAlias", alias);
    const Outcome outcome = callService(*cloud, &NBXCloudInterface::updateAgentAlias, input);
    if (!outcome.ok) return failure(outcome);
    registration->alias = alias;
    if (!PollingFiles::saveRegistration(*registration)) log_("the new alias could not be stored");
    state_.setRegistration(registration);
    return success();
}

}  // namespace nbx::polling
