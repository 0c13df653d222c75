// What the cloud tests cannot see through the client: the emulator's refusals, fault
// injection, admin paths, process options and the printer agent's job queue.
#include <httplib.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>

#include "Base64.h"
#include "CloudEmulator.h"
#include "JSONKit.h"
#include "MultipartBody.h"

namespace nbx::test {
namespace {

using V = PropertyValue;
const std::string kAppId(128, 'A');
const std::string kLookup = "/nbx/v2/svclookup/service?clientType=a&clientVender=b";
// Users "me" (+44 7700900123) and "other" (+1 5550100, first name Ann), with their tokens.
const char* kUsers = R"({"users":[
    {"countryCode":"44","phoneNumber":"7700900123","accessToken":"me","maxAgentCount":1},
    {"countryCode":"1","phoneNumber":"5550100","accessToken":"other","firstName":"Ann"}]})";

V json(std::string_view text) {
    return objectFromJSONData(text).value_or(V());
}

V decode(const httplib::Result& result) {
    return result ? json(result->body) : V();
}

// Sends what the agent sends: the standard headers and a JSON body.
struct Client {
    Client(int port, std::string appId = kAppId, std::string countryCode = "44",
           std::string phone = "7700900123")
        : http("127.0.0.1", port), appId(appId), countryCode(countryCode), phone(phone) {}

    httplib::Headers headers(const std::string& token = "") const {
        httplib::Headers all{{"appID", appId},
                             {"deviceId", "001b63aa0cff"},
                             {"countryCode", countryCode},
                             {"identifier", phone}};
        if (!token.empty()) all.emplace("accessToken", token);
        return all;
    }
    V call(const std::string& method, const std::string& path, const std::string& body = "{}",
           const std::string& token = "me") {
        const std::string full = "/nbx/v2" + path;
        if (method == "GET") return decode(http.Get(full, headers(token)));
        return decode(method == "PUT" ? http.Put(full, headers(token), body, "application/json")
                                      : http.Post(full, headers(token), body, "application/json"));
    }

    httplib::Client http;
    std::string appId, countryCode, phone;
};

// Null: the answer must be a success.
void expectOutcome(const V& answer, const char* errorCode, const std::string& name) {
    if (errorCode)
        EXPECT_EQ(answer["errorCode"].string(), errorCode) << name << answer.description();
    else
        EXPECT_TRUE(answer["success"].isTrue()) << name << answer.description();
}

class EmulatorTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(emulator.ok()); }
    CloudEmulator emulator;
    Client client{emulator.port()};
};

TEST_F(EmulatorTest, HeaderAndBodyChecksGiveTheServiceCodes) {
    emulator.seed(json(kUsers));
    const struct {
        std::string appId, countryCode, phone, token;
        const char* errorCode;
    } headers[] = {
        {kAppId, "44", "7700900123", "me", nullptr},
        {"", "44", "7700900123", "me", "62000"},
        {std::string(127, 'A') + " ", "44", "7700900123", "me", "62000"},
        {kAppId, "44", "77009a", "me", "12000"},
        {kAppId, "44", "07700900123", "me", "12000"},
        {kAppId, "4x", "7700900123", "me", "12001"},
        {kAppId, "44", "7700900123", "", "61000"},
        {kAppId, "44", "7700900123", "nope", "63000"},
        {kAppId, "44", "7700900123", "other", "64000"},
    };
    for (const auto& c : headers) {
        Client sender(emulator.port(), c.appId, c.countryCode, c.phone);
        expectOutcome(sender.call("GET", "/idmmgtsvc/user/agent/quantity", "", c.token),
                      c.errorCode, c.appId.substr(0, 1) + c.countryCode + c.phone + c.token);
    }
    const struct {
        const char *body, *contentType, *errorCode;
    } bodies[] = {
        {"{", "application/json", "11000"},
        {"[]", "application/json", "11000"},
        {"a=1", "application/x-www-form-urlencoded", "11000"},
        {R"({"agentId":[]})", "application/json", "11001"},
    };
    for (const auto& c : bodies) {
        const auto result = client.http.Put("/nbx/v2/printmgtsvc/agent/state", client.headers("me"),
                                            c.body, c.contentType);
        EXPECT_EQ(decode(result)["errorCode"].string(), c.errorCode) << c.body;
    }
}

TEST_F(EmulatorTest, AgentsAreListedBoundRenamedAndReleasedByTheirOwnerOnly) {
    V seed = json(kUsers);
    seed.set("blocklist", V::array({"badbadbadbad"}));
    seed.set("agents", json(R"([
        {"agentId":"mine","agentMacAddress":"001b63aa0cff","agentType":"PC_AGENT",
         "owner":{"countryCode":"44","phoneNumber":"7700900123"}},
        {"agentId":"shared","agentType":"PRT_AGENT","owner":{"countryCode":"1","phoneNumber":"5550100"},
         "sharedWith":[{"countryCode":"44","phoneNumber":"7700900123"}]}])"));
    emulator.seed(seed);
    const V list = client.call("GET", "/printmgtsvc/agent?filter=ALL&listid=my,friend");
    ASSERT_EQ(list["agentList"].size(), 1u) << list.description();
    const V& shared = list["friendAgentList"].at(0);
    EXPECT_EQ(shared["firstName"].string(), "Ann");
    EXPECT_TRUE(shared["friendUserId"].isString());
    EXPECT_TRUE(shared["owner"].isNull()) << "bookkeeping keys must not leak";

    // "me" may have one agent: binding its address again is no new agent.
    const struct {
        const char *method, *path, *body, *errorCode;
    } steps[] = {
        {"POST", "bind", R"({"agentMacAddress":"badbadbadbad"})", "32000"},
        {"POST", "bind", R"({"agentMacAddress":"001b63aa0cff"})", nullptr},
        {"POST", "bind", R"({"agentMacAddress":"001b63aa0d00"})", "31002"},
        {"PUT", "bind", R"({"agentAlias":"Kitchen","agentId":"mine"})", nullptr},
        {"PUT", "bind", R"({"agentAlias":"Mine","agentId":"shared"})", "41001"},
        {"POST", "unbind", R"({"agentId":["shared"]})", "41001"},
        {"POST", "unbind", R"({"agentId":["mine"]})", nullptr},
        {"POST", "unbind", R"({"agentId":["mine"]})", "41000"},
    };
    for (const auto& step : steps)
        expectOutcome(
            client.call(step.method, std::string("/printmgtsvc/agent/") + step.path, step.body),
            step.errorCode, step.body);
    EXPECT_EQ(client.call("GET", "/idmmgtsvc/user/agent/quantity")["user"]["agentCount"].integer(),
              0);
}

// Sign-in wants only an appID; a bind takes only a token sign-in issued for that account once
// accounts are seeded, and any token before.
TEST_F(EmulatorTest, AccountSignInIssuesTheTokensThatBindAccepts) {
    emulator.seed(json(kUsers));
    // A bind answers the user's next access token.
    std::string userToken = "me";
    const auto bind = [&](const std::string& account, const std::string& token) {
        V answer = client.call(
            "PUT", "/idmmgtsvc/user/account/bind",
            R"({"valmoraAccount":")" + account + R"(","valmoraAccessToken":")" + token + "\"}",
            userToken);
        userToken = answer["accessToken"].string().value_or(userToken);
        return answer;
    };
    expectOutcome(bind("ann@va", "made-up"), nullptr, "no accounts seeded");
    emulator.seed(json(R"({"accounts":[{"accountId":"ann@va","password":"pw"},
                                       {"accountId":"bob@va","password":"pw2"}]})"));
    const auto signIn = [this](const std::string& body, const std::string& appId = kAppId) {
        return decode(client.http.Post("/nbx/v2/idmmgtsvc/account/signin", {{"appID", appId}}, body,
                                       "application/json"));
    };
    const auto token = [](const V& answer) {
        return answer["valmoraAccessToken"].string().value_or("");
    };
    const std::string ann = token(signIn(R"({"accountId":"ann@va","password":"pw"})")),
                      bob = token(signIn(R"({"accountId":"bob@va","password":"pw2"})"));
    ASSERT_TRUE(ann.starts_with("va-") && bob.starts_with("va-") && ann != bob) << ann << bob;
    const struct {
        V answer;
        const char* errorCode;
        const char* name;
    } rows[] = {
        {signIn(R"({"accountId":"ann@va","password":"PW"})"), "15000", "wrong password"},
        {signIn(R"({"accountId":"nobody","password":"pw"})"), "15000", "unknown account"},
        {signIn(R"({"accountId":"ann@va"})"), "11001", "no password"},
        {signIn(R"({"accountId":"ann@va","password":"pw"})", "short"), "62000", "bad appID"},
        {bind("ann@va", ann), nullptr, "own token"},
        {bind("ann@va", bob), "15001", "another account's token"},
        {bind("ann@va", "made-up"), "15001", "made-up token"},
        {bind("carl@va", ann), "15001", "unknown account"},
    };
    for (const auto& row : rows)
        expectOutcome(row.answer, row.errorCode, row.name);
}

TEST_F(EmulatorTest, FaultsMatchByPathMethodAndCount) {
    const struct {
        const char* fault;
        std::vector<int> statuses;  // of successive GETs of the lookup path
    } cases[] = {
        {R"({"path":"*","status":500,"times":2})", {500, 500, 200}},
        {R"({"path":"*","status":500,"method":"POST"})", {200}},
        {R"({"path":"/nbx/v2/svclookup/service","status":500,"times":0})", {500, 500, 500, 500}},
    };
    for (const auto& c : cases) {
        emulator.clearFaults();
        emulator.injectFault(json(c.fault));
        for (const int expected : c.statuses) {
            const auto result = client.http.Get(kLookup);
            ASSERT_TRUE(result) << c.fault;
            EXPECT_EQ(result->status, expected) << c.fault;
        }
    }
    EXPECT_TRUE(emulator.admin("GET", "/__admin/pins")["pins"].isArray()) << "admin is exempt";
}

// The agent's transport turns a redirected POST into a GET without a body; the emulator
// carries the method along so the operation still runs, and logs each hop as sent (the
// cloud tests check the rest of the log against every operation).
TEST_F(EmulatorTest, RedirectedPostStillReachesItsOperation) {
    emulator.injectFault(json(R"({"path":"/idmmgtsvc/user/verification/push","redirects":2})"));
    auto result = client.http.Post("/nbx/v2/idmmgtsvc/user/verification/push?x=1", client.headers(),
                                   "sms", "text/plain");
    for (int hops = 0; result && result->status == 302 && hops < 5; ++hops) {
        const std::string location = result->get_header_value("Location");
        result = client.http.Get(location.substr(location.find("/nbx/")), client.headers());
    }
    ASSERT_TRUE(result);
    EXPECT_TRUE(decode(result)["success"].isTrue()) << result->body;
    EXPECT_TRUE(emulator.latestPin("44", "7700900123"));
    const V log = emulator.requests();
    ASSERT_EQ(log.size(), 3u) << log.description();
    EXPECT_EQ(log.at(0)["body"].string(), "sms");
    EXPECT_EQ(log.at(1)["query"].string(), "x=1&nbxRedirectMethod=POST&nbxRedirectsLeft=1");
}

TEST(EmulatorProcessTest, StateSurvivesSaveAndLoadAndTheTokenCheckCanBeOff) {
    const auto file = std::filesystem::temp_directory_path() /
                      ("emulator-state-" + std::to_string(getpid()) + ".json");
    {
        CloudEmulator first({"--save", file.string()});
        ASSERT_TRUE(first.ok());
        first.seed(json(kUsers));
        Client(first.port())
            .call("POST", "/printmgtsvc/agent/bind", R"({"agentMacAddress":"001b63aa0cff"})");
        EXPECT_TRUE(first.stop()) << "SIGTERM ends the emulator cleanly";
    }
    CloudEmulator second({"--state", file.string(), "--no-token-check"});
    ASSERT_TRUE(second.ok());
    Client client(second.port());
    const V list = client.call("GET", "/printmgtsvc/agent", "", "");
    EXPECT_EQ(list["agentList"].at(0)["agentMacAddress"].string(), "001b63aa0cff")
        << list.description();
    EXPECT_EQ(client.call("GET", "/printmgtsvc/agent", "", "nope")["errorCode"].string(), "63000");
    client.phone = "7700900999";
    EXPECT_EQ(client.call("GET", "/idmmgtsvc/user/agent/quantity", "", "")["errorCode"].string(),
              "13000");
    std::filesystem::remove(file);
}

// The printer agent's side: requests named by the registering computer's MAC, the long-polled
// job queue, content downloads and the state reports that finish a job.
using Clock = std::chrono::steady_clock;
const std::string kHost = "001b63aa0cff";  // the deviceId the Client sends

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class AgentJobTest : public EmulatorTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(EmulatorTest::SetUp());
        emulator.seed(json(kUsers));
        const V agent = client.call("POST", "/printmgtsvc/agent/register",
                                    R"({"agentMacAddress":"001b63aa0d11"})");
        agentId = agent["agentId"].string().value_or("");
        ASSERT_FALSE(agentId.empty()) << agent.description();
    }

    // What the polling agent sends: no phone, no token, the computer's MAC as identifier.
    httplib::Result agentGet(const std::string& query, const std::string& identifier = kHost,
                             const std::string& appId = kAppId) {
        httplib::Client http("127.0.0.1", emulator.port());
        http.set_read_timeout(40);
        return http.Get(
            "/nbx/v2/printmgtsvc/agent/" + query,
            {{"appID", appId}, {"identifier", identifier}, {"Content-Type", "application/json"}});
    }
    V poll(int waitSeconds = 0) {
        return decode(agentGet("job?agentId=" + agentId +
                               "&waitSeconds=" + std::to_string(waitSeconds)))["jobs"];
    }
    V push(const std::string& job) {
        V body = json(job);
        body.set("agentId", agentId);
        return emulator.pushJob(body);
    }

    std::string agentId;
};

TEST_F(AgentJobTest, AgentRequestsAreCheckedAgainstTheRegisteringComputer) {
    const struct {
        std::string query, identifier, appId;
        const char* errorCode;
    } cases[] = {
        {"job?agentId=" + agentId, kHost, kAppId, nullptr},
        {"job?agentId=" + agentId, kHost, "short", "62000"},
        {"job?agentId=" + agentId, "7700900123", kAppId, "11001"},
        {"job?agentId=" + agentId, "001B63AA0CFF", kAppId, "11001"},
        {"job", kHost, kAppId, "11001"},
        {"job?agentId=nobody", kHost, kAppId, "41000"},
        {"job?agentId=" + agentId, "001b63aa0d00", kAppId, "41001"},
        {"job/content?agentId=" + agentId + "&jobId=job-0", kHost, kAppId, "44000"},
    };
    for (const auto& c : cases)
        expectOutcome(decode(agentGet(c.query, c.identifier, c.appId)), c.errorCode,
                      c.query + " " + c.identifier);
    for (const char* refused : {R"({"fileName":"a"})", R"({"dataBase64":"%%%%"})",
                                R"({"data":"x","copies":0})", R"({"data":"x","sides":"DUPLEX"})"})
        EXPECT_FALSE(push(refused)["success"].isTrue()) << refused;
}

TEST_F(AgentJobTest, PushedJobEndsAWaitingPollWhileOtherRequestsGoOn) {
    const auto start = Clock::now();
    auto waiting = std::async(std::launch::async, [this] { return poll(20); });
    ASSERT_EQ(waiting.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    EXPECT_TRUE(client.call("GET", "/printmgtsvc/agent")["success"].isTrue())
        << "a waiting poll holds no lock";
    const V pushed = push(R"({"fileName":"a.pdf","data":"%PDF","copies":2,"colorMode":"MONO",
        "sides":"DUPLEX_LONG","mediaSize":"A4"})");
    const V jobs = waiting.get();
    EXPECT_LT(secondsSince(start), 5.0);
    ASSERT_EQ(jobs.size(), 1u) << jobs.description();
    V listed = jobs.at(0);
    EXPECT_EQ(listed["jobHistoryId"], pushed["jobHistoryId"]);
    EXPECT_TRUE(listed["jobHistoryId"].isString() && listed["transactionKey"].isString());
    for (const char* key : {"jobId", "jobHistoryId", "transactionKey"})
        listed.dictionaryPtr()->erase(key);
    EXPECT_EQ(listed, json(R"({"fileName":"a.pdf","contentType":"application/octet-stream",
        "size":4,"copies":2,"colorMode":"MONO","sides":"DUPLEX_LONG","mediaSize":"A4"})"));

    // Once finished it is no longer listed: a poll waits its time out, a stop cuts it short.
    const std::string historyId = pushed["jobHistoryId"].string().value_or("");
    client.call("POST", "/printmgtsvc/job/state/update",
                R"({"errorCode":"0","jobHistoryId":)" + historyId + "}");
    const auto quiet = Clock::now();
    EXPECT_EQ(poll(1).size(), 0u);
    EXPECT_GE(secondsSince(quiet), 0.9);
    auto cut = std::async(std::launch::async, [this] { return poll(30); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const auto stopping = Clock::now();
    EXPECT_TRUE(emulator.stop());
    EXPECT_LT(secondsSince(stopping), 3.0);
}

TEST_F(AgentJobTest, ContentIsByteExactAndStateReportsFinishJobs) {
    std::string bytes(70000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7 % 256);
    // One job uploaded and sent by a member, one pushed as another user would.
    auto upload = client.http.Post(
        "/nbx/v2/printmgtsvc/job/content", client.headers("me"),
        "--b\r\nContent-Disposition: form-data; name=\"content\"; filename=\"up.pdf\"\r\n\r\n" +
            bytes + "\r\n--b--\r\n",
        "multipart/form-data; boundary=b");
    const std::string key = decode(upload)["contentKey"].string().value_or("");
    expectOutcome(
        client.call("POST", "/printmgtsvc/job/content/send/me",
                    R"({"copies":3,"agentId":")" + agentId + R"(","contentKey":")" + key + "\"}"),
        nullptr, "send");
    push(R"({"fileName":"b.pdf","dataBase64":")" + emulator::base64Encode(bytes) + "\"}");
    const V jobs = poll();
    ASSERT_EQ(jobs.size(), 2u) << jobs.description();
    EXPECT_EQ(jobs.at(0)["fileName"].string(), "up.pdf");
    EXPECT_EQ(jobs.at(0)["copies"], V(3));
    for (const V& job : *jobs.arrayPtr()) {
        const auto content =
            agentGet("job/content?agentId=" + agentId + "&jobId=" + *job["jobId"].string());
        ASSERT_TRUE(content);
        EXPECT_EQ(content->get_header_value("Content-Type"), "application/octet-stream");
        EXPECT_TRUE(content->body == bytes) << job.description();
    }

    // Reports as today's client sends them (numbers) and as text; a wrong key records nothing.
    const std::string first = *jobs.at(0)["jobHistoryId"].string(),
                      second = *jobs.at(1)["jobHistoryId"].string(),
                      transaction = *jobs.at(1)["transactionKey"].string();
    const std::pair<std::string, std::size_t> reports[] = {
        {R"({"jobHistoryId":")" + second + R"(","transactionKey":"wrong","errorCode":"0"})", 2},
        {R"({"jobHistoryId":)" + first + R"(,"errorCode":0,"printedPages":"3"})", 1},
        {R"({"jobHistoryId":")" + second + R"(","transactionKey":")" + transaction +
             R"(","errorCode":"1","errorReason":"jam"})",
         0},
        {R"({"jobHistoryId":"9999","errorCode":"0"})", 0},
    };
    for (const auto& [update, stillListed] : reports) {
        expectOutcome(client.call("POST", "/printmgtsvc/job/state/update", update), nullptr,
                      update);
        EXPECT_EQ(poll().size(), stillListed) << update;
    }
    std::vector<std::string> finished;
    const V all = emulator.jobs();
    for (const V& job : *all.arrayPtr())
        if (job["state"].isString())
            finished.push_back(job["state"].string().value_or("-") + " " +
                               job["printedPages"].string().value_or("-") + " " +
                               job["errorReason"].string().value_or("-") + " " +
                               std::to_string(job["stateHistory"].size()));
    EXPECT_EQ(finished, (std::vector<std::string>{"COMPLETED 3 - 1", "FAILED - jam 1"}));
}

// The upload parser faces whatever a client sends.
using emulator::MultipartBody;
using namespace std::string_literals;

constexpr const char* kType = "multipart/form-data; boundary=AJAX-----------------------1.5";

std::string part(const std::string& disposition, const std::string& data) {
    return "--AJAX-----------------------1.5\r\nContent-Disposition: form-data; " + disposition +
           "\r\nContent-Type: application/x-bittorrent\r\n\r\n" + data;
}

TEST(MultipartBodyTest, BoundaryFromTheContentTypeAndBodiesParsedOrRefused) {
    const struct {
        const char* contentType;
        std::optional<std::string> boundary;
    } types[] = {
        {kType, "AJAX-----------------------1.5"},
        {"Multipart/Form-Data; charset=utf-8; boundary=\"a b\"", "a b"},
        {"multipart/form-data;boundary=x ; charset=utf-8", "x"},
        {"multipart/form-data", std::nullopt},
        {"multipart/form-data; boundary=", std::nullopt},
        {"application/json; boundary=x", std::nullopt},
        {"multipart/form-data; xboundary=y", std::nullopt},
    };
    for (const auto& c : types)
        EXPECT_EQ(MultipartBody::boundaryOf(c.contentType), c.boundary) << c.contentType;
    const std::string end = "\r\n--AJAX-----------------------1.5--";
    const std::string binary = "%PDF\r\n--AJAX not the boundary\0\xff\r\n"s;
    const std::string file = part("name=\"content\"; filename=\"Report- Q1-Q2-.pdf\"", binary);
    std::string tooMany;
    for (std::size_t i = 0; i <= MultipartBody::kMaxParts; ++i)
        tooMany += part("name=\"p\"", "") + "\r\n";
    struct Case {
        const char* name;
        std::string body;
        std::size_t parts;  // 0: refused
        bool endsWithLineBreak;
    } cases[] = {
        {"one file part", file + end + "\r\n", 1, true},
        {"quoted parameter holding another",
         part("name=\"content\"; x=\"; filename=no\"; filename=\"Report- Q1-Q2-.pdf\"", binary) +
             end,
         1, false},
        {"no final line break", file + end, 1, false},
        {"two parts", part("name=\"a\"", "1") + "\r\n" + part("name=\"b\"", "") + end, 2, false},
        {"no closing boundary", file, 0, false},
        {"other boundary", "--other\r\n\r\n", 0, false},
        {"part without a name", part("filename=\"a.pdf\"", "x") + end, 0, false},
        {"unterminated headers", "--AJAX-----------------------1.5\r\nContent-Type: x", 0, false},
        {"empty body", "", 0, false},
        {"too many parts", tooMany + end.substr(2) + "\r\n", 0, false},
    };
    for (const auto& c : cases) {
        std::string error;
        const auto body = MultipartBody::parse(kType, c.body, &error);
        ASSERT_EQ(body.has_value(), c.parts > 0) << c.name << ": " << error;
        if (!body) {
            EXPECT_FALSE(error.empty()) << c.name;
            continue;
        }
        EXPECT_EQ(body->parts().size(), c.parts) << c.name;
        EXPECT_EQ(body->endsWithLineBreak(), c.endsWithLineBreak) << c.name;
        if (const auto* content = body->find("content")) {
            EXPECT_EQ(content->data, binary);
            EXPECT_EQ(content->fileName, "Report- Q1-Q2-.pdf");
            EXPECT_EQ(content->contentType, "application/x-bittorrent");
        }
        EXPECT_EQ(body->find("other"), nullptr);
    }
}

}  // namespace
}  // namespace nbx::test
