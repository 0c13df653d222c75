#include "EmulatorFixture.h"

#include <algorithm>
#include <set>
#include <sstream>

#include "JSONKit.h"

namespace nbx::test {

PropertyValue fromJSON(std::string_view text) {
    return objectFromJSONData(text).value_or(PropertyValue());
}

void EmulatorFixture::SetUp() {
    ASSERT_TRUE(emulator.ok());
    lookup = std::make_unique<ScopedEnv>("NBX_LOOKUP_SERVER", emulator.hostPort());
    emulator.seed(fromJSON(R"({"users":[{"countryCode":"44","phoneNumber":"7700900123",
        "accessToken":"T1"}],"agents":[{"agentId":"a1","agentAlias":"Office",
        "agentMacAddress":"001b63aa0cff","owner":{"countryCode":"44","phoneNumber":"7700900123"}}]})"));
    PropertyValue error;
    cloud = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary(), nullptr, &error);
    ASSERT_TRUE(cloud) << error.description();
    wire().setAccessToken(kAccessToken);
    emulator.clearRequests();
}

PropertyValue EmulatorFixture::sender(std::string_view extra) {
    PropertyValue input = fromJSON(extra);
    input.set("senderCountryCode", kCountryCode);
    input.set("senderPhoneNumber", kPhoneNumber);
    return input;
}

void EmulatorFixture::injectFault(std::string_view json, const char* body) {
    PropertyValue fault = fromJSON(json);
    if (body) fault.set("body", body);
    emulator.injectFault(fault);
}

PropertyValue EmulatorFixture::upload(const std::string& fileName, const Bytes& document) {
    PropertyValue input = sender();
    input.set("fileName", fileName);
    input.set("pdfData", document);
    return input;
}

std::map<std::string, std::string> EmulatorFixture::expectedHeaders(const std::string& names) {
    const std::map<std::string, std::optional<std::string>> values = {
        {"appID", NBXCommunicationInterface::NBXD2AppID()},
        {"deviceId", wire().macAddress()},
        {"Content-Type", "application/json"},
        {"countryCode", kCountryCode},
        {"identifier", kPhoneNumber},
        {"accessToken", kAccessToken},
        {"clientVersionMajor", wire().kclientVersionMajorNum()},
        {"clientVersionMinor", wire().kclientVersionMinorNum()}};
    std::map<std::string, std::string> expected;
    std::istringstream words(names);
    for (std::string name; words >> name;)
        if (const auto& value = values.at(name); value && !value->empty()) expected[name] = *value;
    return expected;
}

PropertyValue EmulatorFixture::lastRequest() {
    const PropertyValue log = emulator.requests();
    return log.size() ? log.at(log.size() - 1) : PropertyValue();
}

std::map<std::string, std::string> EmulatorFixture::applicationHeaders(const PropertyValue& entry) {
    static const std::set<std::string> kTransport = {"host", "accept", "content-length"};
    std::map<std::string, std::string> headers;
    if (const auto* dict = entry["headers"].dictionaryPtr()) {
        for (const auto& [name, value] : *dict) {
            std::string lower = name;
            std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
            if (!kTransport.contains(lower)) headers[name] = value.string().value_or("");
        }
    }
    return headers;
}

}  // namespace nbx::test
