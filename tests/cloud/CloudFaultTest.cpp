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
        {"not JSON", R"("status":200)", "<html>oops</html>", 1005, "<html>oops</html>"},
        {"empty array", R"("status":200)", "[]", 1005, "[]"},
        {"empty object", R"("status":200)", "{}", 1005, "{}"},
        {"truncated JSON", R"("truncate":true)", R"({"success":true,"agentList":[1,2,3]})", 1005,
         R"({"success":true,"a)"},
        {"dropped mid-body", R"("drop":true)", nullptr, 0},
        {"204 empty", R"("status":204,"emptyBody":true)", nullptr, 204},
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
    // A call that fails before reaching the network (no URL) reports no status of the last one.
    PropertyValue error;
    EXPECT_FALSE(cloud->getAgentInformation(sender(R"({"filter":"A B"})"), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1001)) << error.description();
}

TEST_F(CloudFaultTest, BadInputSendsNothing) {
    const std::tuple<const char*, Operation, PropertyValue> cases[] = {
        {"empty agent list", &I::getAgentState, sender(R"({"agentId":[]})")},
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
        {"upload with empty document", &I::uploadContentJob, upload("a.pdf", Bytes{})},
        {"pin without code", &I::validateIdentifier,
         fromJSON(R"({"senderPhoneNumber":"7700900123","countryCode":"44"})")},
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

// What the emulator cannot do: answer bytes that are not UTF-8; and no endpoint at all.
TEST(CloudLoopback, UndecodableTextAndNoEndpoint) {
    LoopbackServer server;
    server.server().Put("/api/printmgtsvc/agent/state", [](const auto&, auto& res) {
        res.set_content(std::string("{\"a\":\"\xFF\xFE\"}"), "application/json");
    });
    server.start();
    auto cloud = I::interfaceWithNBXServerInformation(server.hostPort(), "/api", "http://");
    PropertyValue error;
    EXPECT_FALSE(cloud->getAgentState(stateInput(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1005));
    EXPECT_EQ(error["ErrorDebugInformation"], PropertyValue(""));

    cloud = I::interfaceWithNBXServerInformation("", "/api", "http://");
    EXPECT_FALSE(cloud->getAgentState(stateInput(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1001));
    EXPECT_EQ(error["ErrorDescription"],
              PropertyValue("There is no Error information from Communication Interface"));
}

}  // namespace
}  // namespace nbx::test
