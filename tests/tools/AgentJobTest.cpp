// The printer agent's side of the emulator: its own access checks, the long-polled job queue,
// content downloads and the state reports that finish a job.
#include <httplib.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "Base64.h"
#include "CloudEmulator.h"
#include "JSONKit.h"

namespace nbx::test {
namespace {

using V = PropertyValue;
using Clock = std::chrono::steady_clock;
const std::string kAppId(128, 'B'), kHost = "001b63aa0cff";

V json(std::string_view text) {
    return objectFromJSONData(text).value_or(V());
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class AgentJobTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(emulator.ok());
        emulator.seed(json(R"({"users":[{"countryCode":"44","phoneNumber":"7700900123",
            "accessToken":"me"}],"options":{"longPollingSeconds":25}})"));
        // Registering from this computer makes it the agent's host.
        agentId =
            member("/printmgtsvc/agent/register",
                   R"({"agentMacAddress":"001b63aa0d11","agentModelName":"M2020"})")["agentId"]
                .string()
                .value_or("");
        ASSERT_FALSE(agentId.empty());
    }

    // A member's call: GET without a body, else POST.
    V member(const std::string& path, const std::string& body = "", const std::string& type = "") {
        httplib::Client http("127.0.0.1", emulator.port());
        const httplib::Headers headers{{"appID", kAppId},
                                       {"deviceId", kHost},
                                       {"countryCode", "44"},
                                       {"identifier", "7700900123"},
                                       {"accessToken", "me"}};
        auto result = body.empty() ? http.Get("/nbx/v2" + path, headers)
                                   : http.Post("/nbx/v2" + path, headers, body,
                                               type.empty() ? "application/json" : type.c_str());
        return result ? json(result->body) : V();
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
        auto result =
            agentGet("job?agentId=" + agentId + "&waitSeconds=" + std::to_string(waitSeconds));
        return result ? json(result->body)["jobs"] : V();
    }

    V push(const std::string& job) {
        V body = json(job);
        body.set("agentId", agentId);
        return emulator.pushJob(body);
    }

    CloudEmulator emulator;
    std::string agentId;
};

TEST_F(AgentJobTest, AgentRequestsAreCheckedAgainstTheRegisteringComputer) {
    const V mine = member("/printmgtsvc/agent")["agentList"].at(0);
    EXPECT_EQ(mine["agentModelName"].string(), "M2020");
    EXPECT_TRUE(mine["hostDeviceId"].isNull()) << "the host stays inside";
    EXPECT_EQ(member("/printmgtsvc/policy?filter=longPollingSeconds")["longPollingSeconds"], V(25));
    const struct {
        std::string query, identifier, appId, errorCode;
    } cases[] = {
        {"job?agentId=" + agentId, kHost, kAppId, ""},
        {"job?agentId=" + agentId, kHost, "short", "62000"},
        {"job?agentId=" + agentId, "7700900123", kAppId, "11001"},
        {"job?agentId=" + agentId, "001B63AA0CFF", kAppId, "11001"},
        {"job", kHost, kAppId, "11001"},
        {"job?agentId=nobody", kHost, kAppId, "41000"},
        {"job?agentId=" + agentId, "001b63aa0d00", kAppId, "41001"},
        {"job/content?agentId=" + agentId + "&jobId=job-0", kHost, kAppId, "44000"},
    };
    for (const auto& c : cases) {
        const auto result = agentGet(c.query, c.identifier, c.appId);
        const V answer = result ? json(result->body) : V();
        EXPECT_EQ(answer["errorCode"].string().value_or(""), c.errorCode)
            << c.query << c.identifier;
    }
    for (const char* refused : {R"({"fileName":"a"})", R"({"dataBase64":"%%%%"})",
                                R"({"data":"x","copies":0})", R"({"data":"x","sides":"DUPLEX"})"})
        EXPECT_FALSE(push(refused)["success"].isTrue()) << refused;
}

TEST_F(AgentJobTest, PushedJobEndsAWaitingPollWhileOtherRequestsGoOn) {
    const auto start = Clock::now();
    auto waiting = std::async(std::launch::async, [this] { return poll(20); });
    ASSERT_EQ(waiting.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    EXPECT_TRUE(member("/printmgtsvc/agent")["success"].isTrue()) << "a waiting poll holds no lock";
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
    member("/printmgtsvc/job/state/update", R"({"errorCode":"0","jobHistoryId":)" +
                                                pushed["jobHistoryId"].string().value_or("") + "}");
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
    std::string bytes;
    for (int i = 0; i < 70000; ++i)
        bytes += static_cast<char>(i * 7 % 256);
    // One job uploaded and sent by a member, one pushed as another user would.
    const std::string key =
        member("/printmgtsvc/job/content",
               "--b\r\nContent-Disposition: form-data; name=\"content\"; filename=\"up.pdf\"\r\n"
               "Content-Type: application/x-bittorrent\r\n\r\n" +
                   bytes + "\r\n--b--\r\n",
               "multipart/form-data; boundary=b")["contentKey"]
            .string()
            .value_or("");
    EXPECT_TRUE(member("/printmgtsvc/job/content/send/me", R"({"copies":3,"agentId":")" + agentId +
                                                               R"(","contentKey":")" + key +
                                                               "\"}")["success"]
                    .isTrue());
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
        EXPECT_TRUE(member("/printmgtsvc/job/state/update", update)["success"].isTrue());
        EXPECT_EQ(poll().size(), stillListed) << update;
    }
    std::vector<std::string> finished;
    const V all = emulator.jobs();
    for (const V& job : *all.arrayPtr()) {
        if (job["state"].isNull()) continue;
        finished.push_back(*job["state"].string() + " " +
                           job["printedPages"].string().value_or("-") + " " +
                           job["errorReason"].string().value_or("-") + " " +
                           std::to_string(job["stateHistory"].size()));
    }
    EXPECT_EQ(finished, (std::vector<std::string>{"COMPLETED 3 - 1", "FAILED - jam 1"}));
}

}  // namespace
}  // namespace nbx::test
