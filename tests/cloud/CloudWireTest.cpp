// What every operation puts on the wire, as the emulator logged it.
#include <gtest/gtest.h>

#include "EmulatorFixture.h"
#include "JSONKit.h"

namespace nbx::test {
namespace {

using Operation = bool (NBXCloudInterface::*)(const PropertyValue&, PropertyValue*, PropertyValue*);
using I = NBXCloudInterface;

// Which headers a request must carry.
enum class Headers { Standard, Versioned, AskPin, SubmitPin, PushPin };

struct WireCase {
    const char* name;
    Operation operation;
    PropertyValue input;
    const char* method;
    const char* path;
    const char* query;
    Headers headers;
    std::optional<PropertyValue> body;  // none: no body at all
    bool rawBody = false;               // the body is text, not JSON
};

class CloudWireTest : public EmulatorFixture {
protected:
    std::map<std::string, std::string> expectedHeaders(Headers set, const PropertyValue& input) {
        std::map<std::string, std::string> expected;
        const auto add = [&](const char* name, const std::optional<std::string>& value) {
            if (value && !value->empty()) expected[name] = *value;
        };
        add("appID", NBXCommunicationInterface::NBXD2AppID());
        add("deviceId", wire().macAddress());
        switch (set) {
            case Headers::Versioned:
                add("clientVersionMajor", wire().kclientVersionMajorNum());
                add("clientVersionMinor", wire().kclientVersionMinorNum());
                [[fallthrough]];
            case Headers::Standard:
                add("Content-Type", "application/json");
                add("countryCode", input["senderCountryCode"].string());
                add("identifier", input["senderPhoneNumber"].string());
                add("accessToken", kAccessToken);
                break;
            case Headers::AskPin:
                add("countryCode", input["countryCode"].string());
                add("identifier", input["identifier"].string());
                break;
            case Headers::SubmitPin:
                add("Content-Type", "application/json");
                add("countryCode", input["countryCode"].string());
                add("identifier", input["senderPhoneNumber"].string());
                break;
            case Headers::PushPin:
                add("Content-Type", "application/json");
                add("countryCode", input["countryCode"].string());
                add("identifier", input["identifier"].string());
                add("accessToken", kAccessToken);
                break;
        }
        return expected;
    }
};

std::vector<WireCase> wireCases() {
    const auto people = PropertyValue::array(
        {PropertyValue::dictionary({{"phoneNumber", "5550100"}, {"countryCode", "1"}})});
    const auto s = [](std::initializer_list<PropertyDictionary::Entry> extra = {}) {
        return EmulatorFixture::sender(extra);
    };
    const auto d = [](std::initializer_list<PropertyDictionary::Entry> e) {
        return PropertyValue::dictionary(e);
    };
    const auto H = Headers::Standard;
    const auto V = Headers::Versioned;
    return {
        {"subscribers", &I::getSubsriberInformation, s({{"users", people}, {"noise", 1}}), "PUT",
         "/idmmgtsvc/user", "", H, d({{"users", people}})},
        {"release", &I::requestToReleaseAgent, s({{"agentId", PropertyValue::array({"a1"})}}),
         "POST", "/printmgtsvc/agent/unbind", "", H,
         d({{"agentId", PropertyValue::array({"a1"})}})},
        {"alias", &I::updateAgentAlias, s({{"agentId", "a1"}, {"agentAlias", "Desk"}}), "PUT",
         "/printmgtsvc/agent/bind", "", H, d({{"agentId", "a1"}, {"agentAlias", "Desk"}})},
        {"state", &I::getAgentState, s({{"agentId", PropertyValue::array({"a1"})}}), "PUT",
         "/printmgtsvc/agent/state", "", H, d({{"agentId", PropertyValue::array({"a1"})}})},
        {"send to me", &I::sendContentJobToMe,
         s({{"isSharedDevice", "0"},
            {"contentKey", "k1"},
            {"agentId", "a1"},
            {"printRange", "1-2"},
            {"unrelated", "x"}}),
         "POST", "/printmgtsvc/job/content/send/me", "", V,
         d({{"isSharedDevice", "0"},
            {"contentKey", "k1"},
            {"agentId", "a1"},
            {"printRange", "1-2"}})},
        {"send to other", &I::sendContentJobToOtherPerson,
         s({{"contentKey", "k1"}, {"receivers", people}}), "POST",
         "/printmgtsvc/job/content/send/other", "", V,
         d({{"contentKey", "k1"}, {"receivers", people}})},
        {"capability", &I::getSupportedCapabilityListForAgent,
         s({{"isSharedDevice", 0}, {"agentId", "a1"}}), "POST", "/printmgtsvc/agent/capability", "",
         H, d({{"agentId", "a1"}, {"isSharedDevice", 0}})},
        {"invitation", &I::sendInvitationSMSToOtherPerson, s({{"users", people}}), "POST",
         "/idmmgtsvc/sms/invitation", "", H, d({{"users", people}})},
        {"blocklist", &I::getInvalidMacAddressList, s(), "GET", "/printmgtsvc/agent/blocklist", "",
         V, std::nullopt},
        {"account", &I::getValmoraAccountBindingInformation, s(), "GET", "/idmmgtsvc/user/account",
         "", H, std::nullopt},
        {"eula", &I::eulaAgreement,
         s({{"isAgreedSuppliesMarketEULA", "false"}, {"isAgreedSuppliesDeviceEULA", "true"}}),
         "PUT", "/idmmgtsvc/user/nbxd2/eula", "", H,
         d({{"isAgreedSuppliesMarketEULA", "false"}, {"isAgreedSuppliesDeviceEULA", "true"}})},
        {"register", &I::requestToRegisterAgent,
         s({{"agentMacAddress", "001b63aa0cfe"}, {"printerOnID", "p1"}}), "POST",
         "/printmgtsvc/agent/register", "", V,
         d({{"agentMacAddress", "001b63aa0cfe"}, {"printerOnID", "p1"}})},
        {"unregister", &I::requestToUnRegisterAgent, s({{"agentId", "a1"}}), "PUT",
         "/printmgtsvc/agent/unregister", "", V, std::nullopt},
        {"quantity", &I::requestToGetUserAgentQuantity, s(), "GET",
         "/idmmgtsvc/user/agent/quantity", "", H, std::nullopt},
        {"ask pin", &I::requestAuthentication,
         d({{"identifier", kPhoneNumber}, {"countryCode", kCountryCode}}), "POST",
         "/idmmgtsvc/user/verification", "", Headers::AskPin, std::nullopt},
        {"submit pin", &I::validateIdentifier,
         d({{"senderPhoneNumber", kPhoneNumber},
            {"countryCode", kCountryCode},
            {"pinCode", "1234"}}),
         "PUT", "/idmmgtsvc/user/verification", "", Headers::SubmitPin, d({{"pinCode", "1234"}})},
        {"bind account", &I::requestToBindValmoraAccount,
         s({{"valmoraAccount", "ann@example.com"}, {"valmoraAccessToken", "vat"}}), "PUT",
         "/idmmgtsvc/user/account/bind", "", H,
         d({{"valmoraAccount", "ann@example.com"}, {"valmoraAccessToken", "vat"}})},
        {"agent list", &I::getAgentInformation, s(), "GET", "/printmgtsvc/agent",
         "filter=ALL&listid=my,friend", V, std::nullopt},
        {"agent list filtered", &I::getAgentInformation, s({{"filter", "MY"}, {"listid", "my"}}),
         "GET", "/printmgtsvc/agent", "filter=MY&listid=my", V, std::nullopt},
        {"bind agent", &I::requestToBindAgent,
         s({{"agentMacAddress", "001b63aa0cfd"}, {"agentAlias", "Home"}}), "POST",
         "/printmgtsvc/agent/bind", "", H,
         d({{"agentMacAddress", "001b63aa0cfd"}, {"agentAlias", "Home"}})},
        {"polling", &I::getLongPollingTimeoutInformation, s(), "GET", "/printmgtsvc/policy",
         "filter=longPollingSeconds", H, std::nullopt},
        {"push id", &I::getRegisteredPushNotificationIDInformation, s(), "GET",
         "/idmmgtsvc/user/register/pushid", "", H, std::nullopt},
        {"push pin", &I::requestAuthenticationByPushMessage,
         d({{"identifier", kPhoneNumber}, {"countryCode", kCountryCode}, {"messageType", "sms"}}),
         "POST", "/idmmgtsvc/user/verification/push", "", Headers::PushPin, PropertyValue("sms"),
         true},
        {"client info", &I::RegisterNbxd2information,
         s({{"clientOS", "Mac"},
            {"clientOSVersion", "12"},
            {"clientOSLanguage", "en"},
            {"clientSysLocation", "US"}}),
         "POST", "/idmmgtsvc/user/nbxd2/clientInfo", "", V,
         d({{"clientOS", "Mac"},
            {"clientOSVersion", "12"},
            {"clientOSLanguage", "en"},
            {"clientSysLocation", "US"}})},
        {"settings", &I::getNbxd2SettingInformation, s(), "GET", "/idmmgtsvc/user/nbxd2/setting",
         "", V, std::nullopt},
        {"push setting", &I::updateNbxd2SettingInformationForPushNoti,
         s({{"clientPushNoti", "true"}}), "PUT", "/idmmgtsvc/user/nbxd2/setting", "", V,
         d({{"clientPushNoti", "true"}})},
        {"marketing", &I::updateMarketingEula, s({{"clientMarketingEula", "true"}}), "PUT",
         "/idmmgtsvc/user/nbxd2/eula", "", V, d({{"clientMarketingEula", "true"}})},
        {"uninstall", &I::uninstallPCApp, s(), "PUT", "/idmmgtsvc/user/nbxd2/uninstall", "", V,
         std::nullopt},
        {"job status", &I::updateJobProcessingStatus,
         s({{"errorCode", "17"}, {"jobHistoryId", "1234.5"}, {"isPaidDevice", false}}), "POST",
         "/printmgtsvc/job/state/update", "", V,
         d({{"errorCode", 17}, {"jobHistoryId", 1234.5}, {"isPaidDevice", false}})},
        {"job status empty", &I::updateJobProcessingStatus, PropertyValue::dictionary(), "POST",
         "/printmgtsvc/job/state/update", "", V, d({{"errorCode", 0}, {"jobHistoryId", 0}})},
    };
}

TEST_F(CloudWireTest, EveryOperationSendsItsMethodPathHeadersAndBody) {
    for (const auto& c : wireCases()) {
        SCOPED_TRACE(c.name);
        wire().setAccessToken(kAccessToken);
        emulator.clearRequests();
        PropertyValue returned, error;
        EXPECT_TRUE(((*cloud).*(c.operation))(c.input, &returned, &error)) << error.description();
        EXPECT_TRUE(returned["success"].isBoolean() || returned["success"].isString())
            << returned.description();
        const PropertyValue sent = lastRequest();
        EXPECT_EQ(sent["method"], PropertyValue(c.method));
        EXPECT_EQ(sent["path"], PropertyValue(std::string("/nbx/v2") + c.path));
        EXPECT_EQ(sent["query"], PropertyValue(c.query));
        EXPECT_EQ(applicationHeaders(sent), expectedHeaders(c.headers, c.input));
        const std::string body = sent["body"].string().value_or("");
        if (!c.body) {
            EXPECT_EQ(body, "");
        } else if (c.rawBody) {
            EXPECT_EQ(PropertyValue(body), *c.body);
        } else {
            const auto decoded = objectFromJSONData(std::string_view(body));
            ASSERT_TRUE(decoded) << body;
            EXPECT_EQ(*decoded, *c.body) << body;
        }
    }
}

}  // namespace
}  // namespace nbx::test
