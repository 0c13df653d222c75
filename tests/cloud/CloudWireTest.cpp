// What every operation puts on the wire, as the emulator logged it.
#include <gtest/gtest.h>

#include <regex>

#include "EmulatorFixture.h"

namespace nbx::test {
namespace {

using I = NBXCloudInterface;

const std::string kPlain = "appID deviceId Content-Type countryCode identifier accessToken";
const std::string kVersioned = kPlain + " clientVersionMajor clientVersionMinor";
const char* kSame = "=";  // the body is the input without the sender keys

struct WireCase {
    Operation operation;
    const char* request;  // method, path and query
    bool versioned;
    const char* input;              // JSON merged into the sender keys, unless `headers` is given
    const char* body;               // JSON or plain text; nullptr: no body at all
    const char* headers = nullptr;  // header names for calls made without a sender
};

const char* kAgents = R"({"agentId":["a1"]})";
const char* kPeople = R"({"users":[{"phoneNumber":"5550100","countryCode":"1"}]})";
const char* kClient =
    R"({"clientOS":"Mac","clientOSVersion":"12","clientOSLanguage":"en","clientSysLocation":"US"})";

const WireCase kCases[] = {
    {&I::getSubsriberInformation, "PUT /idmmgtsvc/user", false,
     R"({"users":[{"phoneNumber":"5550100","countryCode":"1"}],"noise":1})", kPeople},
    {&I::requestToReleaseAgent, "POST /printmgtsvc/agent/unbind", false, kAgents, kSame},
    {&I::updateAgentAlias, "PUT /printmgtsvc/agent/bind", false,
     R"({"agentId":"a1","agentAlias":"Desk"})", kSame},
    {&I::getAgentState, "PUT /printmgtsvc/agent/state", false, kAgents, kSame},
    {&I::sendContentJobToMe, "POST /printmgtsvc/job/content/send/me", true,
     R"({"isSharedDevice":"0","contentKey":"k1","agentId":"a1","printRange":"1-2","x":"y"})",
     R"({"isSharedDevice":"0","contentKey":"k1","agentId":"a1","printRange":"1-2"})"},
    {&I::sendContentJobToOtherPerson, "POST /printmgtsvc/job/content/send/other", true,
     R"({"contentKey":"k1","receivers":[{"phoneNumber":"5550100","countryCode":"1"}]})", kSame},
    {&I::getSupportedCapabilityListForAgent, "POST /printmgtsvc/agent/capability", false,
     R"({"isSharedDevice":0,"agentId":"a1"})", R"({"agentId":"a1","isSharedDevice":0})"},
    {&I::sendInvitationSMSToOtherPerson, "POST /idmmgtsvc/sms/invitation", false, kPeople, kSame},
    {&I::getInvalidMacAddressList, "GET /printmgtsvc/agent/blocklist", true, "{}", nullptr},
    {&I::getValmoraAccountBindingInformation, "GET /idmmgtsvc/user/account", false, "{}", nullptr},
    {&I::eulaAgreement, "PUT /idmmgtsvc/user/nbxd2/eula", false,
     R"({"isAgreedSuppliesMarketEULA":"false","isAgreedSuppliesDeviceEULA":"true"})", kSame},
    {&I::requestToRegisterAgent, "POST /printmgtsvc/agent/register", true,
     R"({"agentMacAddress":"001b63aa0cfe","printerOnID":"p1"})", kSame},
    {&I::requestToUnRegisterAgent, "PUT /printmgtsvc/agent/unregister", true, "{}", nullptr},
    {&I::requestToGetUserAgentQuantity, "GET /idmmgtsvc/user/agent/quantity", false, "{}", nullptr},
    {&I::requestToBindValmoraAccount, "PUT /idmmgtsvc/user/account/bind", false,
     R"({"valmoraAccount":"ann@example.com","valmoraAccessToken":"vat"})", kSame},
    {&I::getAgentInformation, "GET /printmgtsvc/agent?filter=ALL&listid=my,friend", true, "{}",
     nullptr},
    {&I::getAgentInformation, "GET /printmgtsvc/agent?filter=MY&listid=my", true,
     R"({"filter":"MY","listid":"my"})", nullptr},
    {&I::requestToBindAgent, "POST /printmgtsvc/agent/bind", false,
     R"({"agentMacAddress":"001b63aa0cfd","agentAlias":"Home"})", kSame},
    {&I::getLongPollingTimeoutInformation, "GET /printmgtsvc/policy?filter=longPollingSeconds",
     false, "{}", nullptr},
    {&I::getRegisteredPushNotificationIDInformation, "GET /idmmgtsvc/user/register/pushid", false,
     "{}", nullptr},
    {&I::RegisterNbxd2information, "POST /idmmgtsvc/user/nbxd2/clientInfo", true, kClient, kSame},
    {&I::getNbxd2SettingInformation, "GET /idmmgtsvc/user/nbxd2/setting", true, "{}", nullptr},
    {&I::updateNbxd2SettingInformationForPushNoti, "PUT /idmmgtsvc/user/nbxd2/setting", true,
     R"({"clientPushNoti":"true"})", kSame},
    {&I::updateMarketingEula, "PUT /idmmgtsvc/user/nbxd2/eula", true,
     R"({"clientMarketingEula":"true"})", kSame},
    {&I::uninstallPCApp, "PUT /idmmgtsvc/user/nbxd2/uninstall", true, "{}", nullptr},
    {&I::updateJobProcessingStatus, "POST /printmgtsvc/job/state/update", true,
     R"({"errorCode":"17","jobHistoryId":"1234.5","isPaidDevice":false})",
     R"({"errorCode":17,"jobHistoryId":1234.5,"isPaidDevice":false})"},
    // Calls without sender keys: identity headers come from other keys, or are left out.
    {&I::updateJobProcessingStatus, "POST /printmgtsvc/job/state/update", true, "{}",
     R"({"errorCode":0,"jobHistoryId":0})",
     "appID deviceId Content-Type accessToken clientVersionMajor clientVersionMinor"},
    {&I::requestAuthentication, "POST /idmmgtsvc/user/verification", false,
     R"({"identifier":"7700900123","countryCode":"44"})", nullptr,
     "appID deviceId countryCode identifier"},
    {&I::validateIdentifier, "PUT /idmmgtsvc/user/verification", false,
     R"({"senderPhoneNumber":"7700900123","countryCode":"44","pinCode":"1234"})",
     R"({"pinCode":"1234"})", "appID deviceId Content-Type countryCode identifier"},
    {&I::requestAuthenticationByPushMessage, "POST /idmmgtsvc/user/verification/push", false,
     R"({"identifier":"7700900123","countryCode":"44","messageType":"sms"})", "sms",
     kPlain.c_str()},
};

class CloudWireTest : public EmulatorFixture {};

TEST_F(CloudWireTest, EveryOperationSendsItsMethodPathHeadersAndBody) {
    for (const auto& c : kCases) {
        SCOPED_TRACE(std::string(c.request) + " " + c.input);
        wire().setAccessToken(kAccessToken);
        emulator.clearRequests();
        PropertyValue returned, error;
        const PropertyValue input = c.headers ? fromJSON(c.input) : sender(c.input);
        EXPECT_TRUE(((*cloud).*(c.operation))(input, &returned, &error)) << error.description();
        const PropertyValue sent = lastRequest();
        const std::string request = c.request, query = sent["query"].string().value_or("");
        const auto space = request.find(' ');
        EXPECT_EQ(sent["method"].string().value_or("") + " " + sent["path"].string().value_or("") +
                      (query.empty() ? "" : "?" + query),
                  request.substr(0, space + 1) + "/nbx/v2" + request.substr(space + 1));
        EXPECT_EQ(applicationHeaders(sent), expectedHeaders(c.headers     ? c.headers
                                                            : c.versioned ? kVersioned
                                                                          : kPlain));
        // JSON bodies compare as values, anything else as text.
        const std::string body = sent["body"].string().value_or("");
        const std::string expected = c.body == kSame ? c.input : c.body ? c.body : "";
        if (fromJSON(expected).isNull())
            EXPECT_EQ(body, expected);
        else
            EXPECT_EQ(fromJSON(body), fromJSON(expected)) << body;
    }
}

// The multipart upload, compared byte for byte with what the service must receive.
TEST_F(CloudWireTest, UploadBodyIsExactlyOnePartWithTheCleanedFileName) {
    std::string document(70000, '\0');
    for (std::size_t i = 0; i < document.size(); ++i)
        document[i] = static_cast<char>(i * 7 % 128);
    const std::pair<std::string, std::string> names[] = {
        {"Re\\port/*|\"Q1\":<x>?.pdf", "Re-port----Q1---x--.pdf"},
        {"R\xC3\xA9sum\xC3\xA9.pdf", "R\xC3\xA9sum\xC3\xA9.pdf"},
        {"Two\r\nlines\n.pdf", "Two--lines-.pdf"}};  // a line break would end the header
    for (const auto& [name, cleaned] : names) {
        SCOPED_TRACE(name);
        PropertyValue returned, error;
        EXPECT_TRUE(cloud->uploadContentJob(upload(name, Bytes(document.begin(), document.end())),
                                            &returned, &error))
            << error.description();
        EXPECT_TRUE(returned["contentKey"].isString()) << returned.description();
        const PropertyValue sent = lastRequest();
        EXPECT_EQ(sent["method"], PropertyValue("POST"));
        EXPECT_EQ(sent["path"], PropertyValue("/nbx/v2/printmgtsvc/job/content"));
        auto headers = applicationHeaders(sent);
        std::smatch match;
        ASSERT_TRUE(std::regex_match(
            headers["Content-Type"], match,
            std::regex("multipart/form-data; boundary=(AJAX-{23}[0-9]+\\.[0-9]{6})")))
            << headers["Content-Type"];
        const std::string boundary = match[1];
        headers.erase("Content-Type");
        EXPECT_EQ(headers, expectedHeaders("appID deviceId countryCode identifier accessToken"));
        EXPECT_TRUE(
            sent["body"] ==
            PropertyValue("--" + boundary +
                          "\r\nContent-Disposition: form-data; name=\"content\"; filename=\"" +
                          cleaned + "\"\r\nContent-Type: application/x-bittorrent\r\n\r\n" +
                          document + "\r\n--" + boundary + "--\r\n"));
    }
}

}  // namespace
}  // namespace nbx::test
