// Faults of the network and the server, and how they reach the caller.
#include <gtest/gtest.h>

#include <chrono>

#include "EmulatorFixture.h"
#include "LoopbackServer.h"

namespace nbx::test {
namespace {

using namespace std::chrono_literals;

PropertyValue agentStateInput() {
    return EmulatorFixture::sender({{"agentId", PropertyValue::array({"a1"})}});
}

struct FaultCase {
    const char* name;
    PropertyValue fault;
    bool result;
    PropertyValue errorCode;               // null: no error information expected
    std::optional<std::string> debugInfo;  // "ErrorDebugInformation"
};

class CloudFaultTest : public EmulatorFixture {};

TEST_F(CloudFaultTest, ServerFaultsBecomeResultsOrErrorCodes) {
    const auto f = [](std::initializer_list<PropertyDictionary::Entry> e) {
        PropertyValue fault = PropertyValue::dictionary({{"path", "/printmgtsvc/agent/state"}});
        for (const auto& [k, v] : e)
            fault.set(k, v);
        return fault;
    };
    const FaultCase cases[] = {
        {"500 with JSON", f({{"status", 500}, {"body", R"({"success":false,"errorCode":"1"})"}}),
         true, PropertyValue(), std::nullopt},
        {"204 empty", f({{"status", 204}, {"emptyBody", true}}), false, 204, std::nullopt},
        {"200 empty", f({{"status", 200}, {"emptyBody", true}}), false, 200, std::nullopt},
        {"not JSON", f({{"body", "<html>oops</html>"}}), false, 1005, "<html>oops</html>"},
        {"empty array", f({{"body", "[]"}}), false, 1005, "[]"},
        {"empty object", f({{"body", "{}"}}), false, 1005, "{}"},
        {"truncated JSON",
         f({{"body", R"({"success":true,"agentList":[1,2,3]})"}, {"truncate", true}}), false, 1005,
         R"({"success":true,"a)"},
        {"dropped", f({{"drop", true}}), false, 0, std::nullopt},
        {"never answers", f({{"delayMs", 5000}}), false, 0, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        emulator.clearFaults();
        emulator.injectFault(c.fault);
        PropertyValue returned, error;
        // Only the silent server gets a short limit, so a loaded machine cannot fail the rest.
        const bool silent = std::string_view(c.name) == "never answers";
        wire().setRequestTimeout(silent ? 500ms : NBXWebServiceRequest::kTimeout);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(cloud->getAgentState(agentStateInput(), &returned, &error), c.result);
        if (silent) {
            EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
        }
        if (c.result) {
            EXPECT_EQ(returned["success"], PropertyValue(false));
            EXPECT_TRUE(error.isNull());
            continue;
        }
        EXPECT_TRUE(returned.isNull());
        EXPECT_EQ(error["errorCode"], c.errorCode) << error.description();
        EXPECT_TRUE(error["ErrorDescription"].isString());
        if (c.debugInfo) {
            EXPECT_EQ(error["ErrorDebugInformation"], PropertyValue(*c.debugInfo));
        }
    }
}

TEST_F(CloudFaultTest, RedirectChainEndsInTheRealAnswer) {
    emulator.injectFault(
        PropertyValue::dictionary({{"path", "/printmgtsvc/agent/blocklist"}, {"redirects", 3}}));
    PropertyValue returned, error;
    EXPECT_TRUE(cloud->getInvalidMacAddressList(sender(), &returned, &error))
        << error.description();
    EXPECT_TRUE(returned["macAddressList"].isArray()) << returned.description();
}

TEST_F(CloudFaultTest, BadInputSendsNothing) {
    using I = NBXCloudInterface;
    using Op = bool (I::*)(const PropertyValue&, PropertyValue*, PropertyValue*);
    const auto agents = PropertyValue::array({"a1"});
    const std::tuple<const char*, Op, PropertyValue> cases[] = {
        {"empty agent list", &I::getAgentState, sender({{"agentId", PropertyValue::array()}})},
        {"agent id not a list", &I::getAgentState, sender({{"agentId", "a1"}})},
        {"no sender", &I::getAgentState, PropertyValue::dictionary({{"agentId", agents}})},
        {"empty phone", &I::getAgentState,
         PropertyValue::dictionary(
             {{"senderCountryCode", "44"}, {"senderPhoneNumber", ""}, {"agentId", agents}})},
        {"not a dictionary", &I::getInvalidMacAddressList, PropertyValue::array({"x"})},
        {"shared flag as number", &I::sendContentJobToMe,
         sender({{"isSharedDevice", 0}, {"contentKey", "k"}, {"agentId", "a1"}})},
        {"shared flag as text", &I::getSupportedCapabilityListForAgent,
         sender({{"isSharedDevice", "0"}, {"agentId", "a1"}})},
        {"person without country", &I::sendInvitationSMSToOtherPerson,
         sender({{"users", PropertyValue::array(
                               {PropertyValue::dictionary({{"phoneNumber", "5550100"}})})}})},
        {"empty person list", &I::getSubsriberInformation,
         sender({{"users", PropertyValue::array()}})},
        {"upload without document", &I::uploadContentJob, sender({{"fileName", "a.pdf"}})},
        {"upload with empty document", &I::uploadContentJob,
         sender({{"fileName", "a.pdf"}, {"pdfData", Bytes{}}})},
        {"pin without code", &I::validateIdentifier,
         PropertyValue::dictionary({{"senderPhoneNumber", kPhoneNumber}, {"countryCode", "44"}})},
        {"pin request without phone", &I::requestAuthentication,
         PropertyValue::dictionary({{"countryCode", "44"}})},
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
    emulator.injectFault(
        PropertyValue::dictionary({{"path", "*"}, {"body", "not json"}, {"times", 0}}));
    PropertyValue error;
    EXPECT_FALSE(cloud->requestAuthentication(
        PropertyValue::dictionary({{"identifier", kPhoneNumber}, {"countryCode", "44"}}), nullptr,
        &error));
    EXPECT_TRUE(error.isNull());
    EXPECT_FALSE(cloud->requestAuthenticationByPushMessage(
        PropertyValue::dictionary({{"identifier", kPhoneNumber}, {"countryCode", "44"}}), nullptr,
        &error));
    EXPECT_TRUE(error.isNull());
    EXPECT_FALSE(cloud->uploadContentJob(
        sender({{"fileName", "a.pdf"}, {"pdfData", Bytes{'%', 'P'}}}), nullptr, &error));
    EXPECT_TRUE(error.isNull());
    EXPECT_FALSE(cloud->getAgentState(agentStateInput(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1005));
}

// Answers the emulator cannot give: bytes that are not UTF-8.
TEST(CloudAnswerEncoding, BodyThatIsNotUtf8GivesParseErrorWithEmptyDebugText) {
    LoopbackServer server;
    server.server().Put("/api/printmgtsvc/agent/state", [](const auto&, auto& res) {
        res.set_content(std::string("{\"a\":\"\xFF\xFE\"}"), "application/json");
    });
    server.start();
    auto cloud = NBXCloudInterface::interfaceWithNBXServerInformation(
        "127.0.0.1:" + std::to_string(server.port()), "/api", "http://");
    ASSERT_TRUE(cloud);
    PropertyValue error;
    EXPECT_FALSE(cloud->getAgentState(agentStateInput(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1005));
    EXPECT_EQ(error["ErrorDebugInformation"], PropertyValue(""));
}

TEST(CloudConstruction, EmptyEndpointFailsEveryCallWithoutErrorInformation) {
    auto cloud = NBXCloudInterface::interfaceWithNBXServerInformation("", "/api", "http://");
    ASSERT_TRUE(cloud);
    PropertyValue error;
    EXPECT_FALSE(cloud->getAgentState(agentStateInput(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(1001));
    EXPECT_EQ(error["ErrorDescription"],
              PropertyValue("There is no Error information from Communication Interface"));
}

// The two calls that leave the usual endpoint or header set.
TEST(CloudSideDoors, PrinterStatusAndGenericRequestSendTheirOwnHeaders) {
    LoopbackServer server;
    httplib::Headers seen;
    std::string seenPath;
    const auto record = [&](const httplib::Request& req, httplib::Response& res) {
        seen = req.headers;
        seenPath = req.path;
        res.set_content(R"({"success":true})", "application/json");
    };
    server.server().Get(R"(/.*)", record);
    server.server().Post(R"(/.*)", record);
    server.start();
    const std::string host = "127.0.0.1:" + std::to_string(server.port());
    auto cloud = NBXCloudInterface::interfaceWithNBXServerInformation(host, "/api", "http://");
    ASSERT_TRUE(cloud);

    PropertyValue answer;
    EXPECT_TRUE(cloud->getValmoraAccountBindingInformation1(
        PropertyValue::dictionary({{"printerIPAddress", host}, {"senderPhoneNumber", "1"}}),
        &answer, nullptr));
    EXPECT_EQ(seenPath, "/sws/app/settings/network/nbx/SCTStatus.json");
    for (const char* absent : {"appID", "identifier", "Content-Type", "deviceId"})
        EXPECT_EQ(seen.count(absent), 0u) << absent;

    auto& wire = *cloud->communicationInterface();
    const std::string body = "{}";
    EXPECT_TRUE(wire.sendPCAgentServiceRequestToAPIURLPath(
        "/pcagent/ping", "POST", Bytes(body.begin(), body.end()), nullptr));
    EXPECT_EQ(seenPath, "/api/pcagent/ping");
    EXPECT_EQ(seen.find("appID")->second, NBXCommunicationInterface::nbxAgentAppID());
    EXPECT_EQ(seen.count("identifier"), wire.macAddress() ? 1u : 0u);
    for (const char* absent : {"deviceId", "countryCode", "accessToken"})
        EXPECT_EQ(seen.count(absent), 0u) << absent;
}

}  // namespace
}  // namespace nbx::test
