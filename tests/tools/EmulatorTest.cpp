#include <httplib.h>
#include <signal.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "CloudEmulator.h"
#include "JSONKit.h"
#include "ScopedEnv.h"

namespace nbx::test {
namespace {

const std::string kAppId(128, 'A');
constexpr const char* kPrefix = "/nbx/v2";

PropertyValue decode(const httplib::Result& result) {
    if (!result) return {};
    return objectFromJSONData(result->body).value_or(PropertyValue());
}

// A client that sends what the agent sends: the standard headers and a JSON body.
struct Client {
    explicit Client(int port) : http("127.0.0.1", port) {}

    httplib::Headers headers(const std::string& token = "") const {
        httplib::Headers all{{"appID", appId},
                             {"deviceId", "001b63aa0cff"},
                             {"countryCode", countryCode},
                             {"identifier", phone}};
        if (!token.empty()) all.emplace("accessToken", token);
        return all;
    }
    PropertyValue call(const std::string& method, const std::string& path,
                       const PropertyValue& body = PropertyValue::dictionary(),
                       const std::string& token = "") {
        auto bytes = body.isNull() ? std::nullopt : JSONData(body);
        std::string text = bytes ? std::string(bytes->begin(), bytes->end()) : "";
        std::string full = kPrefix + path;
        if (method == "GET") return decode(http.Get(full, headers(token)));
        if (method == "PUT")
            return decode(http.Put(full, headers(token), text, "application/json"));
        return decode(http.Post(full, headers(token), text, "application/json"));
    }
    std::string verify(CloudEmulator& emulator) {
        call("POST", "/idmmgtsvc/user/verification/push",
             PropertyValue::dictionary({{"messageType", "sms"}}));
        auto pin = emulator.latestPin(countryCode, phone);
        if (!pin) return "";
        PropertyValue answer = call("PUT", "/idmmgtsvc/user/verification",
                                    PropertyValue::dictionary({{"pinCode", *pin}}));
        return answer["accessToken"].string().value_or("");
    }

    httplib::Client http;
    std::string appId = kAppId;
    std::string countryCode = "44";
    std::string phone = "7700900123";
};

PropertyValue person(const char* countryCode, const char* phone) {
    return PropertyValue::dictionary({{"countryCode", countryCode}, {"phoneNumber", phone}});
}

PropertyValue seedUser(const char* countryCode, const char* phone, const char* token,
                       const char* firstName = "") {
    return PropertyValue::dictionary({{"countryCode", countryCode},
                                      {"phoneNumber", phone},
                                      {"accessToken", token},
                                      {"firstName", firstName}});
}

class EmulatorTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(emulator.ok()); }
    CloudEmulator emulator;
    Client client{emulator.port()};
};

TEST_F(EmulatorTest, LookupPointsBackAtTheEmulator) {
    PropertyValue answer = decode(
        client.http.Get("/nbx/v2/svclookup/"
                        "service?clientType=nbxPCAgent_MAC&clientVender=valmora&clientVer=2.00.125"
                        "&clientRegion=us-east&serviceType=nbxCrtSvc"));
    ASSERT_TRUE(answer["success"].isTrue()) << answer.description();
    const PropertyValue& service = answer["serviceList"].at(0);
    EXPECT_EQ(service["protocol"].string(), "http://");
    EXPECT_EQ(service["domain"].string(), emulator.hostPort());
    EXPECT_EQ(service["path"].string(), kPrefix);

    PropertyValue refused = decode(client.http.Get("/nbx/v2/svclookup/service?clientType=x"));
    EXPECT_FALSE(refused["success"].isTrue());
    EXPECT_TRUE(refused["errorCode"].isString());
}

TEST_F(EmulatorTest, PinRequestsInEveryFormIssueAPin) {
    struct Case {
        const char* path;
        std::string body;
        const char* messageType;
    } cases[] = {
        {"/idmmgtsvc/user/verification/push", R"({"messageType":"sms"})", "sms"},
        {"/idmmgtsvc/user/verification/push", R"({"messageType":"push"})", "push"},
        {"/idmmgtsvc/user/verification/push", "sms", "sms"},
        {"/idmmgtsvc/user/verification/push", "", "push"},
        {"/idmmgtsvc/user/verification", "", "sms"},
    };
    for (const auto& c : cases) {
        auto result = client.http.Post(std::string(kPrefix) + c.path, client.headers(), c.body,
                                       "application/json");
        EXPECT_TRUE(decode(result)["success"].isTrue()) << c.path << " " << c.body;
        PropertyValue pins = emulator.admin("GET", "/__admin/pins")["pins"];
        const PropertyValue& last = pins.at(pins.size() - 1);
        EXPECT_EQ(last["messageType"].string(), c.messageType) << c.body;
        std::string pin = last["pin"].string().value_or("");
        EXPECT_TRUE(pin.size() >= 4 && pin.size() <= 6) << pin;
    }
}

TEST_F(EmulatorTest, VerifiedPinIssuesAWorkingTokenOnce) {
    client.call("POST", "/idmmgtsvc/user/verification/push");
    auto pin = emulator.latestPin("44", "7700900123");
    ASSERT_TRUE(pin);
    // The agent sends the PIN as its integer value: leading zeros are gone.
    std::string sent = std::to_string(std::stoll(*pin));
    PropertyValue wrong = client.call("PUT", "/idmmgtsvc/user/verification",
                                      PropertyValue::dictionary({{"pinCode", sent + "1"}}));
    EXPECT_EQ(wrong["errorCode"].string(), "14000");
    PropertyValue answer = client.call("PUT", "/idmmgtsvc/user/verification",
                                       PropertyValue::dictionary({{"pinCode", sent}}));
    std::string token = answer["accessToken"].string().value_or("");
    ASSERT_FALSE(token.empty()) << answer.description();
    PropertyValue reused = client.call("PUT", "/idmmgtsvc/user/verification",
                                       PropertyValue::dictionary({{"pinCode", sent}}));
    EXPECT_EQ(reused["errorCode"].string(), "14000");
    PropertyValue quantity = client.call("GET", "/idmmgtsvc/user/agent/quantity", {}, token);
    EXPECT_EQ(quantity["user"]["agentCount"].integer(), 0) << quantity.description();
    EXPECT_NE(emulator.console().find("PIN for +44 7700900123: " + *pin), std::string::npos);
}

TEST_F(EmulatorTest, HeaderChecksGiveTheServiceCodes) {
    emulator.seed(PropertyValue::dictionary(
        {{"users", PropertyValue::array({seedUser("44", "7700900123", "good"),
                                         seedUser("1", "5550100", "other")})}}));
    struct Case {
        const char* name;
        std::string appId;
        std::string countryCode;
        std::string phone;
        std::string token;
        const char* errorCode;  // null: success
    } cases[] = {
        {"all good", kAppId, "44", "7700900123", "good", nullptr},
        {"no appID", "", "44", "7700900123", "good", "62000"},
        {"short appID", kAppId.substr(1), "44", "7700900123", "good", "62000"},
        {"appID with a blank", std::string(127, 'A') + " ", "44", "7700900123", "good", "62000"},
        {"letters in phone", kAppId, "44", "77009a", "good", "12000"},
        {"leading zero", kAppId, "44", "07700900123", "good", "12000"},
        {"no phone", kAppId, "44", "", "good", "12000"},
        {"bad country", kAppId, "4x", "7700900123", "good", "12001"},
        {"no token", kAppId, "44", "7700900123", "", "61000"},
        {"unknown token", kAppId, "44", "7700900123", "nope", "63000"},
        {"another user's token", kAppId, "44", "7700900123", "other", "64000"},
    };
    for (const auto& c : cases) {
        client.appId = c.appId;
        client.countryCode = c.countryCode;
        client.phone = c.phone;
        PropertyValue answer = client.call("GET", "/idmmgtsvc/user/agent/quantity", {}, c.token);
        if (c.errorCode) {
            EXPECT_EQ(answer["errorCode"].string(), c.errorCode) << c.name;
            EXPECT_FALSE(answer["success"].isTrue()) << c.name;
        } else {
            EXPECT_TRUE(answer["success"].isTrue()) << c.name << answer.description();
        }
    }
}

TEST_F(EmulatorTest, BodyChecksGiveTheServiceCodes) {
    emulator.seed(PropertyValue::dictionary(
        {{"users", PropertyValue::array({seedUser("44", "7700900123", "good")})}}));
    struct Case {
        const char* name;
        std::string body;
        const char* contentType;
        const char* errorCode;
    } cases[] = {
        {"not JSON", "{", "application/json", "11000"},
        {"an array", "[]", "application/json", "11000"},
        {"form body", "a=1", "application/x-www-form-urlencoded", "11000"},
        {"no agentId", "{}", "application/json", "11001"},
        {"empty agentId", R"({"agentId":[]})", "application/json", "11001"},
        {"unknown agent", R"({"agentId":["x"]})", "application/json", "41000"},
    };
    for (const auto& c : cases) {
        auto result = client.http.Put("/nbx/v2/printmgtsvc/agent/state", client.headers("good"),
                                      c.body, c.contentType);
        EXPECT_EQ(decode(result)["errorCode"].string(), c.errorCode) << c.name;
    }
}

TEST_F(EmulatorTest, AgentsCanBeBoundListedRenamedAndReleased) {
    emulator.seed(PropertyValue::dictionary(
        {{"users", PropertyValue::array({seedUser("44", "7700900123", "me"),
                                         seedUser("1", "5550100", "friend", "Ann")})},
         {"agents", PropertyValue::array({PropertyValue::dictionary(
                        {{"agentId", "shared-1"},
                         {"agentAlias", "Office"},
                         {"agentType", "PRT_AGENT"},
                         {"currKTonerLevel", 12},
                         {"supportedColor", false},
                         {"owner", person("1", "5550100")},
                         {"sharedWith", PropertyValue::array({person("44", "7700900123")})}})})}}));
    PropertyValue bound = client.call(
        "POST", "/printmgtsvc/agent/bind",
        PropertyValue::dictionary({{"agentMacAddress", "001b63aa0cff"}, {"agentAlias", "Desk"}}),
        "me");
    std::string id = bound["agentId"].string().value_or("");
    ASSERT_FALSE(id.empty()) << bound.description();

    PropertyValue list =
        client.call("GET", "/printmgtsvc/agent?filter=ALL&listid=my,friend", {}, "me");
    ASSERT_EQ(list["agentList"].size(), 1u) << list.description();
    EXPECT_EQ(list["agentList"].at(0)["agentType"].string(), "PC_AGENT");
    const PropertyValue& shared = list["friendAgentList"].at(0);
    EXPECT_EQ(shared["firstName"].string(), "Ann");
    EXPECT_TRUE(shared["friendUserId"].isString());
    EXPECT_EQ(shared["currKTonerLevel"].integer(), 12);
    EXPECT_TRUE(shared["owner"].isNull()) << "bookkeeping keys must not leak";

    PropertyValue capability = client.call(
        "POST", "/printmgtsvc/agent/capability",
        PropertyValue::dictionary({{"agentId", "shared-1"}, {"isSharedDevice", 1}}), "me");
    EXPECT_EQ(capability["supportedColor"].boolean(), false);
    EXPECT_EQ(capability["supportedSides"].string(), "DUPLEX/SIMPLEX");

    struct Step {
        const char* method;
        const char* path;
        PropertyValue body;
        const char* errorCode;
    } steps[] = {
        {"PUT", "/printmgtsvc/agent/bind",
         PropertyValue::dictionary({{"agentId", id}, {"agentAlias", "Kitchen"}}), nullptr},
        {"PUT", "/printmgtsvc/agent/bind",
         PropertyValue::dictionary({{"agentId", "shared-1"}, {"agentAlias", "Mine"}}), "41001"},
        {"POST", "/printmgtsvc/agent/unbind",
         PropertyValue::dictionary({{"agentId", PropertyValue::array({"shared-1"})}}), "41001"},
        {"POST", "/printmgtsvc/agent/unbind",
         PropertyValue::dictionary({{"agentId", PropertyValue::array({id})}}), nullptr},
        {"POST", "/printmgtsvc/agent/unbind",
         PropertyValue::dictionary({{"agentId", PropertyValue::array({id})}}), "41000"},
    };
    for (const auto& step : steps) {
        PropertyValue answer = client.call(step.method, step.path, step.body, "me");
        if (step.errorCode) {
            EXPECT_EQ(answer["errorCode"].string(), step.errorCode) << step.body.description();
        } else {
            EXPECT_TRUE(answer["success"].isTrue()) << answer.description();
        }
    }
    EXPECT_EQ(client.call("GET", "/idmmgtsvc/user/agent/quantity", {}, "me")["user"]["agentCount"]
                  .integer(),
              0);
}

TEST_F(EmulatorTest, BindingStopsAtTheMaximum) {
    PropertyValue user = seedUser("44", "7700900123", "me");
    user.set("maxAgentCount", 1);
    emulator.seed(
        PropertyValue::dictionary({{"users", PropertyValue::array({user})},
                                   {"blocklist", PropertyValue::array({"badbadbadbad"})}}));
    struct Case {
        const char* mac;
        const char* errorCode;
    } cases[] = {{"badbadbadbad", "32000"},
                 {"001b63aa0cff", nullptr},
                 {"001b63aa0cff", nullptr},
                 {"001b63aa0d00", "31002"}};
    for (const auto& c : cases) {
        PropertyValue answer = client.call(
            "POST", "/printmgtsvc/agent/bind",
            PropertyValue::dictionary({{"agentMacAddress", c.mac}, {"agentAlias", "A"}}), "me");
        EXPECT_EQ(answer["errorCode"].string(),
                  c.errorCode ? std::optional<std::string>(c.errorCode) : std::nullopt)
            << c.mac;
    }
    PropertyValue quantity = client.call("GET", "/idmmgtsvc/user/agent/quantity", {}, "me");
    EXPECT_EQ(quantity["user"]["agentCount"].integer(), 1);
    EXPECT_EQ(quantity["user"]["maxAgentCount"].integer(), 1);
}

TEST_F(EmulatorTest, UploadIsParsedStoredAndSendable) {
    emulator.seed(PropertyValue::dictionary(
        {{"users", PropertyValue::array({seedUser("44", "7700900123", "me")})}}));
    const std::string boundary = "AJAX-----------------------1384305012.503117";
    const std::string document = std::string("%PDF-1.4\r\n\0\xff\xfe", 13);
    std::string body = "--" + boundary +
                       "\r\nContent-Disposition: form-data; name=\"content\"; "
                       "filename=\"Report- Q1-Q2-.pdf\"\r\nContent-Type: application/x-bittorrent"
                       "\r\n\r\n" +
                       document + "\r\n--" + boundary + "--\r\n";
    auto result = client.http.Post("/nbx/v2/printmgtsvc/job/content", client.headers("me"), body,
                                   "multipart/form-data; boundary=" + boundary);
    PropertyValue answer = decode(result);
    std::string key = answer["contentKey"].string().value_or("");
    ASSERT_FALSE(key.empty()) << answer.description();

    PropertyValue stored = emulator.state()["contents"].at(0);
    EXPECT_EQ(stored["fileName"].string(), "Report- Q1-Q2-.pdf");
    EXPECT_EQ(stored["contentType"].string(), "application/x-bittorrent");
    EXPECT_EQ(stored["boundary"].string(), boundary);
    EXPECT_EQ(stored["size"].integer(), 13);
    EXPECT_TRUE(stored["endsWithLineBreak"].isTrue());
    PropertyValue logged = emulator.requests().at(0);
    EXPECT_TRUE(logged["bodyBase64"].isString()) << "a binary body is logged as base64";
    EXPECT_EQ(logged["headers"]["Content-Type"].string(),
              "multipart/form-data; boundary=" + boundary);

    struct Case {
        const char* path;
        PropertyValue body;
        const char* errorCode;
    } cases[] = {
        {"/printmgtsvc/job/content/send/other",
         PropertyValue::dictionary(
             {{"contentKey", key}, {"receivers", PropertyValue::array({person("1", "555")})}}),
         nullptr},
        {"/printmgtsvc/job/content/send/other",
         PropertyValue::dictionary(
             {{"contentKey", "nope"}, {"receivers", PropertyValue::array({person("1", "555")})}}),
         "44000"},
        {"/printmgtsvc/job/content/send/me",
         PropertyValue::dictionary({{"contentKey", key}, {"agentId", "missing"}}), "41000"},
    };
    for (const auto& c : cases) {
        PropertyValue sent = client.call("POST", c.path, c.body, "me");
        if (c.errorCode) {
            EXPECT_EQ(sent["errorCode"].string(), c.errorCode) << c.path;
        } else {
            EXPECT_TRUE(sent["transactionKey"].isString()) << sent.description();
        }
    }
    auto broken = client.http.Post("/nbx/v2/printmgtsvc/job/content", client.headers("me"),
                                   "--x\r\n", "multipart/form-data; boundary=" + boundary);
    EXPECT_EQ(decode(broken)["errorCode"].string(), "45000");
}

TEST_F(EmulatorTest, EachFaultKindIsObservable) {
    const std::string path = "/nbx/v2/svclookup/service?clientType=a&clientVender=b";
    struct Case {
        const char* name;
        PropertyValue fault;
        int status;        // 0: no HTTP answer at all
        std::string body;  // "*": the real answer
    } cases[] = {
        {"status", PropertyValue::dictionary({{"status", 503}}), 503, "*"},
        {"body", PropertyValue::dictionary({{"body", "{\"x\":1}"}}), 200, "{\"x\":1}"},
        {"empty body", PropertyValue::dictionary({{"emptyBody", true}}), 200, ""},
        {"status and empty body", PropertyValue::dictionary({{"status", 204}, {"emptyBody", true}}),
         204, ""},
        {"truncate", PropertyValue::dictionary({{"truncate", true}}), 0, ""},
        {"drop", PropertyValue::dictionary({{"drop", true}}), 0, ""},
        {"redirects", PropertyValue::dictionary({{"redirects", 3}}), 200, "*"},
    };
    std::string real = client.http.Get(path)->body;
    client.http.set_follow_location(true);
    for (const auto& c : cases) {
        PropertyValue fault = c.fault;
        fault.set("path", "/nbx/v2/svclookup/service");
        emulator.injectFault(fault);
        auto result = client.http.Get(path);
        if (c.status == 0) {
            EXPECT_FALSE(result) << c.name;
            continue;
        }
        ASSERT_TRUE(result) << c.name << ": " << httplib::to_string(result.error());
        EXPECT_EQ(result->status, c.status) << c.name;
        EXPECT_EQ(result->body, c.body == "*" ? real : c.body) << c.name;
    }
    emulator.injectFault(PropertyValue::dictionary({{"path", "*"}, {"notJson", true}}));
    EXPECT_FALSE(objectFromJSONData(client.http.Get(path)->body)) << "notJson";
    EXPECT_EQ(client.http.Get(path)->body, real) << "a fault is used up after one request";
}

TEST_F(EmulatorTest, TruncatedAnswerAnnouncesMoreThanItSends) {
    emulator.injectFault(PropertyValue::dictionary({{"path", "*"}, {"truncate", true}}));
    httplib::Client raw("127.0.0.1", emulator.port());
    std::string received;
    std::optional<std::string> announced;
    auto result = raw.Get(
        "/nbx/v2/svclookup/service?clientType=a&clientVender=b",
        [&](const httplib::Response& response) {
            announced = response.get_header_value("Content-Length");
            return true;
        },
        [&](const char* data, std::size_t length) {
            received.append(data, length);
            return true;
        });
    EXPECT_FALSE(result);
    ASSERT_TRUE(announced);
    EXPECT_GT(std::stoul(*announced), received.size());
    EXPECT_FALSE(received.empty());
}

TEST_F(EmulatorTest, FaultsMatchByPathMethodAndCount) {
    struct Case {
        const char* name;
        PropertyValue fault;
        std::vector<int> statuses;  // of successive GETs of the lookup path
    } cases[] = {
        {"times 2",
         PropertyValue::dictionary({{"path", "*"}, {"status", 500}, {"times", 2}}),
         {500, 500, 200}},
        {"other method",
         PropertyValue::dictionary({{"path", "*"}, {"method", "POST"}, {"status", 500}}),
         {200, 200}},
        {"other path",
         PropertyValue::dictionary({{"path", "/idmmgtsvc/user"}, {"status", 500}}),
         {200}},
        {"forever",
         PropertyValue::dictionary(
             {{"path", "/nbx/v2/svclookup/service"}, {"status", 500}, {"times", 0}}),
         {500, 500, 500, 500}},
    };
    for (const auto& c : cases) {
        emulator.clearFaults();
        emulator.injectFault(c.fault);
        for (int expected : c.statuses) {
            auto result = client.http.Get("/nbx/v2/svclookup/service?clientType=a&clientVender=b");
            ASSERT_TRUE(result) << c.name;
            EXPECT_EQ(result->status, expected) << c.name;
        }
    }
    EXPECT_TRUE(emulator.admin("GET", "/__admin/pins")["pins"].isArray())
        << "admin paths are never faulted";
    PropertyValue refused = emulator.admin(
        "POST", "/__admin/faults", PropertyValue::dictionary({{"path", "*"}, {"status", 9}}));
    EXPECT_FALSE(refused["success"].isTrue());
}

TEST_F(EmulatorTest, RedirectedPostStillReachesItsOperation) {
    emulator.injectFault(PropertyValue::dictionary(
        {{"path", "/idmmgtsvc/user/verification/push"}, {"redirects", 2}}));
    auto result = client.http.Post("/nbx/v2/idmmgtsvc/user/verification/push", client.headers(),
                                   "sms", "text/plain");
    // Follow as the agent's transport does: a 302 turns the POST into a GET without a body.
    for (int hops = 0; result && result->status == 302 && hops < 5; ++hops) {
        std::string location = result->get_header_value("Location");
        result = client.http.Get(location.substr(location.find("/nbx/")), client.headers());
    }
    ASSERT_TRUE(result);
    EXPECT_TRUE(decode(result)["success"].isTrue()) << result->body;
    EXPECT_EQ(emulator.requests().size(), 3u);
    EXPECT_TRUE(emulator.latestPin("44", "7700900123"));
}

TEST_F(EmulatorTest, RequestLogKeepsWhatTheClientSent) {
    emulator.injectFault(PropertyValue::dictionary({{"path", "*"}, {"redirects", 2}}));
    client.http.set_follow_location(true);
    client.call("GET", "/printmgtsvc/agent/blocklist?x=1");
    client.call("PUT", "/idmmgtsvc/user", PropertyValue::dictionary({{"users", "é"}}));
    PropertyValue log = emulator.requests();
    ASSERT_EQ(log.size(), 4u) << log.description();
    const PropertyValue& first = log.at(0);
    EXPECT_EQ(first["method"].string(), "GET");
    EXPECT_EQ(first["path"].string(), "/nbx/v2/printmgtsvc/agent/blocklist");
    EXPECT_EQ(first["query"].string(), "x=1");
    EXPECT_EQ(first["headers"]["appID"].string(), kAppId);
    EXPECT_EQ(first["headers"]["deviceId"].string(), "001b63aa0cff");
    EXPECT_TRUE(first["headers"]["REMOTE_PORT"].isNull());
    EXPECT_EQ(log.at(1)["query"].string(), "x=1&nbxRedirectMethod=GET&nbxRedirectsLeft=1");
    EXPECT_EQ(log.at(3)["body"].string(), "{\"users\":\"é\"}");
    emulator.clearRequests();
    EXPECT_EQ(emulator.requests().size(), 0u);
    emulator.reset();
    EXPECT_EQ(emulator.state()["users"].size(), 0u);
}

TEST_F(EmulatorTest, BadSeedsAreRefusedWithoutChangingAnything) {
    PropertyValue good = seedUser("44", "7700900123", "me");
    PropertyValue owner = person("44", "7700900123");
    PropertyValue cases[] = {
        PropertyValue::array(),
        PropertyValue::dictionary({{"users", good}}),
        PropertyValue::dictionary({{"users", PropertyValue::array({good, person("44", "")})}}),
        PropertyValue::dictionary(
            {{"users",
              PropertyValue::array({good, PropertyValue::dictionary({{"countryCode", "1"}})})}}),
        PropertyValue::dictionary(
            {{"users", PropertyValue::array({good})},
             {"agents", PropertyValue::array({PropertyValue::dictionary({{"agentId", "a"}})})}}),
        PropertyValue::dictionary({{"agents", PropertyValue::array({PropertyValue::dictionary(
                                                  {{"agentId", 7}, {"owner", owner}})})}}),
        PropertyValue::dictionary(
            {{"agents", PropertyValue::array({PropertyValue::dictionary(
                            {{"owner", owner}, {"sharedWith", PropertyValue::array({"x"})}})})}}),
        PropertyValue::dictionary({{"blocklist", PropertyValue::array({1})}}),
        PropertyValue::dictionary({{"options", "x"}}),
    };
    for (const auto& seed : cases) {
        PropertyValue answer = emulator.admin("POST", "/__admin/seed", seed);
        EXPECT_FALSE(answer["success"].isTrue()) << seed.description();
        EXPECT_TRUE(answer["error"].isString()) << seed.description();
    }
    auto notJson = client.http.Post("/__admin/seed", "{", "application/json");
    ASSERT_TRUE(notJson);
    EXPECT_EQ(notJson->status, 400);
    EXPECT_FALSE(emulator.admin("GET", "/__admin/nothing")["success"].isTrue());
    PropertyValue state = emulator.state();
    EXPECT_EQ(state["users"].size(), 0u);
    EXPECT_EQ(state["agents"].size(), 0u);
}

TEST(EmulatorProcessTest, StateSurvivesSaveAndLoad) {
    auto file = std::filesystem::temp_directory_path() /
                ("emulator-state-" + std::to_string(getpid()) + ".json");
    std::string token;
    {
        CloudEmulator first({"--save", file.string()});
        ASSERT_TRUE(first.ok());
        Client client(first.port());
        token = client.verify(first);
        ASSERT_FALSE(token.empty());
        client.call("POST", "/printmgtsvc/agent/bind",
                    PropertyValue::dictionary({{"agentMacAddress", "001b63aa0cff"}}), token);
        EXPECT_TRUE(first.stop()) << "SIGTERM ends the emulator cleanly";
    }
    CloudEmulator second({"--state", file.string()});
    ASSERT_TRUE(second.ok());
    Client client(second.port());
    PropertyValue list = client.call("GET", "/printmgtsvc/agent", {}, token);
    EXPECT_EQ(list["agentList"].at(0)["agentMacAddress"].string(), "001b63aa0cff")
        << list.description();
    EXPECT_EQ(second.state()["pins"].size(), 1u);
    std::filesystem::remove(file);
}

TEST(EmulatorProcessTest, TwoEmulatorsRunSideBySide) {
    CloudEmulator one;
    CloudEmulator two;
    ASSERT_TRUE(one.ok() && two.ok());
    EXPECT_NE(one.port(), two.port());
    one.seed(PropertyValue::dictionary(
        {{"users", PropertyValue::array({seedUser("44", "7700900123", "me")})}}));
    EXPECT_EQ(one.state()["users"].size(), 1u);
    EXPECT_EQ(two.state()["users"].size(), 0u);
}

TEST(EmulatorProcessTest, StopsPromptlyWithADelayedRequestInFlight) {
    CloudEmulator emulator;
    ASSERT_TRUE(emulator.ok());
    emulator.injectFault(PropertyValue::dictionary({{"path", "*"}, {"delayMs", 600000}}));
    std::thread waiting([port = emulator.port()] {
        httplib::Client client("127.0.0.1", port);
        client.set_read_timeout(60);
        EXPECT_FALSE(client.Get("/nbx/v2/svclookup/service?clientType=a&clientVender=b"));
    });
    // The fault is logged before the delay starts: wait for it so the delay is in flight.
    for (int i = 0; i < 500 && emulator.requests().size() == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(emulator.stop()) << "exited on SIGTERM before the harness had to kill it";
    waiting.join();
}

TEST(EmulatorProcessTest, TokenCheckCanBeSwitchedOff) {
    CloudEmulator emulator({"--no-token-check"});
    ASSERT_TRUE(emulator.ok());
    emulator.seed(PropertyValue::dictionary(
        {{"users", PropertyValue::array({seedUser("44", "7700900123", "me")})}}));
    Client client(emulator.port());
    EXPECT_TRUE(client.call("GET", "/idmmgtsvc/user/agent/quantity")["success"].isTrue());
    client.phone = "7700900999";
    EXPECT_EQ(client.call("GET", "/idmmgtsvc/user/agent/quantity")["errorCode"].string(), "13000");
}

TEST(ScopedEnvTest, PutsBackWhatWasThere) {
    struct Case {
        std::optional<std::string> before;
        std::optional<std::string> during;
    } cases[] = {{std::nullopt, "x"}, {"old", "new"}, {"old", std::nullopt}, {"", "y"}};
    const char* name = "NBX_SCOPED_ENV_TEST";
    for (const auto& c : cases) {
        if (c.before) {
            setenv(name, c.before->c_str(), 1);
        } else {
            unsetenv(name);
        }
        {
            ScopedEnv scoped(name, c.during);
            const char* now = std::getenv(name);
            EXPECT_EQ(now ? std::optional<std::string>(now) : std::nullopt, c.during);
        }
        const char* after = std::getenv(name);
        EXPECT_EQ(after ? std::optional<std::string>(after) : std::nullopt, c.before);
    }
    unsetenv(name);
}

}  // namespace
}  // namespace nbx::test
