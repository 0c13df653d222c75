// Faults of the network and the server, and how they reach the caller.
#include <gtest/gtest.h>

#include "EmulatorFixture.h"
#include "LoopbackServer.h"

namespace nbx::test {
namespace {

using I = NBXCloudInterface;

PropertyValue with(PropertyValue input, const char* key, PropertyValue value) {
    input.set(key, std::move(value));
    return input;
}

PropertyValue stateInput() {
    return EmulatorFixture::sender(R"({"agentId":["a1"]})");
}

class CloudFaultTest : public EmulatorFixture {};

TEST_F(CloudFaultTest, ServerFaultsBecomeResultsOrErrorCodes) {
    const struct {
        const char* name;
        const char* fault;  // JSON keys added to the fault on the agent state path
        const char* body;
        PropertyValue errorCode;          // null: the exchange succeeds
        const char* debugInfo = nullptr;  // "ErrorDebugInformation"
    } cases[] = {
        {"500 with JSON", R"("status":500)", R"({"success":false,"errorCode":"1"})", {}},
        {"204 empty", R"("status":204,"emptyBody":true)", nullptr, 204},
        {"200 empty", R"("status":200,"emptyBody":true)", nullptr, 200},
        {"not JSON", R"("status":200)", "<html>oops</html>", 1005, "<html>oops</html>"},
        {"empty array", R"("status":200)", "[]", 1005, "[]"},
        {"empty object", R"("status":200)", "{}", 1005, "{}"},
        {"truncated JSON", R"("truncate":true)", R"({"success":true,"agentList":[1,2,3]})", 1005,
         R"({"success":true,"a)"},
        {"dropped mid-body", R"("drop":true)", nullptr, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        emulator.clearFaults();
        injectFault(std::string(R"({"path":"/printmgtsvc/agent/state",)") + c.fault + "}", c.body);
        PropertyValue returned, error;
        EXPECT_EQ(cloud->getAgentState(stateInput(), &returned, &error), c.errorCode.isNull());
        if (c.errorCode.isNull()) {
            EXPECT_EQ(returned["success"], PropertyValue(false));
            EXPECT_TRUE(error.isNull());
            continue;
        }
        EXPECT_TRUE(returned.isNull());
        EXPECT_EQ(error["errorCode"], c.errorCode) << error.description();
        EXPECT_TRUE(error["ErrorDescription"].isString());
        if (c.debugInfo) {
            EXPECT_EQ(error["ErrorDebugInformation"], PropertyValue(c.debugInfo));
        }
    }
}

// A call that fails before reaching the network reports no status of an earlier call.
TEST_F(CloudFaultTest, FailureBeforeTheNetworkReportsNoEarlierStatus) {
    injectFault(R"({"path":"/printmgtsvc/agent/state","status":503,"emptyBody":true,"times":0})");
    const std::pair<Operation, PropertyValue> early[] = {
        {&I::getValmoraAccountBindingInformation1, fromJSON("{}")},
        {&I::getAgentInformation, sender(R"({"filter":"A B"})")}};
    for (const auto& [op, input] : early) {
        PropertyValue error;
        EXPECT_FALSE(cloud->getAgentState(stateInput(), nullptr, &error));
        EXPECT_EQ(error["errorCode"], PropertyValue(503));
        EXPECT_FALSE(((*cloud).*op)(input, nullptr, &error));
        EXPECT_EQ(error["errorCode"], PropertyValue(1001)) << error.description();
    }
}

TEST_F(CloudFaultTest, BadInputSendsNothing) {
    const std::tuple<const char*, Operation, PropertyValue> cases[] = {
        {"empty agent list", &I::getAgentState, sender(R"({"agentId":[]})")},
        {"agent id not a list", &I::getAgentState, sender(R"({"agentId":"a1"})")},
        {"no sender", &I::getAgentState, fromJSON(R"({"agentId":["a1"]})")},
        {"empty phone", &I::getAgentState,
         fromJSON(R"({"senderCountryCode":"44","senderPhoneNumber":"","agentId":["a1"]})")},
        {"not a dictionary", &I::getInvalidMacAddressList, fromJSON(R"(["x"])")},
        {"shared flag as number", &I::sendContentJobToMe,
         sender(R"({"isSharedDevice":0,"contentKey":"k","agentId":"a1"})")},
        {"shared flag as text", &I::getSupportedCapabilityListForAgent,
         sender(R"({"isSharedDevice":"0","agentId":"a1"})")},
        {"person without country", &I::sendInvitationSMSToOtherPerson,
         sender(R"({"users":[{"phoneNumber":"5550100"}]})")},
        {"empty person list", &I::getSubsriberInformation, sender(R"({"users":[]})")},
        {"upload without document", &I::uploadContentJob, sender(R"({"fileName":"a.pdf"})")},
        {"upload with empty document", &I::uploadContentJob, upload("a.pdf", Bytes{})},
        {"pin without code", &I::validateIdentifier,
         fromJSON(R"({"senderPhoneNumber":"7700900123","countryCode":"44"})")},
        {"pin request without phone", &I::requestAuthentication,
         fromJSON(R"({"countryCode":"44"})")},
        // Bodies that cannot be encoded are not left out: the call is not made.
        {"date in the body", &I::sendContentJobToMe,
         with(sender(R"({"isSharedDevice":"0","contentKey":"k","agentId":"a1"})"), "printOption",
              Date{})},
        {"data deep in the body", &I::getSubsriberInformation,
         with(sender(), "users",
              PropertyValue::array({with(fromJSON(R"({"phoneNumber":"1","countryCode":"1"})"),
                                         "photo", Bytes{1})}))},
        {"not a number", &I::updateJobProcessingStatus, sender(R"({"jobHistoryId":"nan"})")},
        {"not UTF-8", &I::eulaAgreement, with(sender(), "isAgreedSuppliesMarketEULA", "\xC3")},
    };
    for (const auto& [name, op, input] : cases) {
        SCOPED_TRACE(name);
        PropertyValue returned, error;
        EXPECT_FALSE(((*cloud).*op)(input, &returned, &error));
        EXPECT_EQ(error["errorCode"], PropertyValue(1010));
        EXPECT_EQ(error["ErrorDescription"],
                  PropertyValue("Input Parameters Passed are not proper Correctly"));
        EXPECT_TRUE(returned.isNull());
        EXPECT_FALSE(((*cloud).*op)(input, nullptr, nullptr));
    }
    EXPECT_EQ(emulator.requests().size(), 0u);
}

TEST_F(CloudFaultTest, SomeOperationsFailSilentlyOnUndecodableAnswers) {
    injectFault(R"({"path":"*","times":0})", "not json");
    const std::pair<Operation, PropertyValue> silent[] = {
        {&I::requestAuthentication, fromJSON(R"({"identifier":"7700900123","countryCode":"44"})")},
        {&I::requestAuthenticationByPushMessage,
         fromJSON(R"({"identifier":"7700900123","countryCode":"44"})")},
        {&I::uploadContentJob, upload("a.pdf", Bytes{'%', 'P'})}};
    for (const auto& [op, input] : silent) {
        PropertyValue error;
        EXPECT_FALSE(((*cloud).*op)(input, nullptr, &error));
        EXPECT_TRUE(error.isNull()) << error.description();
    }
}

// What the emulator cannot do: answer bytes that are not UTF-8, take calls that leave the usual
// endpoint or header set; and no endpoint at all.
TEST(CloudLoopback, UndecodableTextSideDoorsAndNoEndpoint) {
    LoopbackServer server;
    httplib::Request seen;
    const auto record = [&](const httplib::Request& req, httplib::Response& res) {
        seen = req;
        res.set_content(R"({"success":true})", "application/json");
    };
    server.server().Get(R"(/.*)", record);
    server.server().Post(R"(/.*)", record);
    server.server().Put("/api/printmgtsvc/agent/state", [](const auto&, auto& res) {
        res.set_content(std::string("{\"a\":\"\xFF\xFE\"}"), "application/json");
    });
    server.start();
    const std::string host = server.hostPort();
    auto cloud = I::interfaceWithNBXServerInformation(host, "/api", "http://");
    PropertyValue error;
    EXPECT_FALSE(cloud->getAgentState(stateInput(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1005));
    EXPECT_EQ(error["ErrorDebugInformation"], PropertyValue(""));

    PropertyValue answer;
    EXPECT_TRUE(cloud->getValmoraAccountBindingInformation1(
        PropertyValue::dictionary({{"printerIPAddress", host}, {"senderPhoneNumber", "1"}}),
        &answer, nullptr));
    EXPECT_EQ(seen.path, "/sws/app/settings/network/nbx/SCTStatus.json");
    for (const char* absent : {"appID", "identifier", "Content-Type", "deviceId"})
        EXPECT_FALSE(seen.has_header(absent)) << absent;

    auto& wire = *cloud->communicationInterface();
    EXPECT_TRUE(wire.sendPCAgentServiceRequestToAPIURLPath("/pcagent/ping", "POST", Bytes{'{', '}'},
                                                           nullptr));
    EXPECT_EQ(seen.path, "/api/pcagent/ping");
    EXPECT_EQ(seen.get_header_value("appID"), NBXCommunicationInterface::nbxAgentAppID());
    EXPECT_EQ(seen.has_header("identifier"), wire.macAddress().has_value());
    for (const char* absent : {"deviceId", "countryCode", "accessToken"})
        EXPECT_FALSE(seen.has_header(absent)) << absent;

    cloud = I::interfaceWithNBXServerInformation("", "/api", "http://");
    EXPECT_FALSE(cloud->getAgentState(stateInput(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1001));
    EXPECT_EQ(error["ErrorDescription"],
              PropertyValue("There is no Error information from Communication Interface"));
}

}  // namespace
}  // namespace nbx::test
