#include "EmulatorFixture.h"

#include <algorithm>
#include <set>

namespace nbx::test {

void EmulatorFixture::SetUp() {
    ASSERT_TRUE(emulator.ok());
    lookup = std::make_unique<ScopedEnv>("NBX_LOOKUP_SERVER", emulator.hostPort());
    emulator.seed(PropertyValue::dictionary(
        {{"users",
          PropertyValue::array({PropertyValue::dictionary({{"countryCode", kCountryCode},
                                                           {"phoneNumber", kPhoneNumber},
                                                           {"accessToken", kAccessToken}})})},
         {"agents",
          PropertyValue::array({PropertyValue::dictionary(
              {{"agentId", "a1"},
               {"agentAlias", "Office"},
               {"agentMacAddress", "001b63aa0cff"},
               {"owner", PropertyValue::dictionary({{"countryCode", kCountryCode},
                                                    {"phoneNumber", kPhoneNumber}})}})})}}));
    PropertyValue error;
    cloud = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary(), nullptr, &error);
    ASSERT_TRUE(cloud) << error.description();
    wire().setAccessToken(kAccessToken);
    emulator.clearRequests();
}

PropertyValue EmulatorFixture::sender(std::initializer_list<PropertyDictionary::Entry> extra) {
    PropertyValue input = PropertyValue::dictionary(
        {{"senderCountryCode", kCountryCode}, {"senderPhoneNumber", kPhoneNumber}});
    for (const auto& [key, value] : extra)
        input.set(key, value);
    return input;
}

PropertyValue EmulatorFixture::lastRequest() {
    const PropertyValue log = emulator.requests();
    const auto* requests = log.arrayPtr();
    return requests && !requests->empty() ? requests->back() : PropertyValue();
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

Bytes base64Decoded(const std::string& text) {
    static const std::string kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Bytes out;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const auto index = kAlphabet.find(c);
        if (index == std::string::npos) continue;
        bits = (bits << 6) | static_cast<std::uint32_t>(index);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out.push_back(static_cast<std::uint8_t>((bits >> count) & 0xff));
        }
    }
    return out;
}

}  // namespace nbx::test
