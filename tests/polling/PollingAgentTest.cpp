#include <cups/cups.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <thread>

#include "CloudEmulator.h"
#include "DistributedNotificationCenter.h"
#include "JSONKit.h"
#include "PollingFiles.h"
#include "PrintQueue.h"
#include "PrivateCupsd.h"
#include "PrivateSessionBus.h"
#include "ScopedEnv.h"
#include "TempHome.h"

extern char** environ;

namespace nbx::polling {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

PropertyValue json(const std::string& text) {
    return objectFromJSONData(text).value_or(PropertyValue());
}

TEST(PollingRules, TonerJobOptionsAndJobIds) {
    const struct {
        std::vector<int> levels;
        std::vector<std::string> colors, types;
        std::vector<int> expected;  // Black, Cyan, Magenta, Yellow
    } rows[] = {
        {{}, {}, {}, {}},
        {{40, 70}, {"#00FFFF", "#000000"}, {"toner", "toner"}, {70, 40, -1, -1}},
        {{5, 90, 20}, {"#ff00ff", "#000000", "#FFFF00"}, {"", "waste-toner"}, {-1, -1, 5, 20}},
        // Fewer colours than levels: only the named ones count.
        {{10, 20}, {"#000000"}, {}, {10, -1, -1, -1}},
    };
    for (const auto& row : rows) {
        PropertyDictionary expected;
        for (std::size_t i = 0; i < row.expected.size(); ++i)
            expected.set(std::array{"Black", "Cyan", "Magenta", "Yellow"}[i], row.expected[i]);
        EXPECT_EQ(PrintQueue::tonerLevels(row.levels, row.colors, row.types), expected)
            << PropertyValue(expected).description();
    }
    // The pushed-job test prints MONO, DUPLEX_LONG and A4; odd values never reach the queue.
    const std::pair<const char*, PrintQueue::Options> jobs[] = {
        {R"({"copies":3,"colorMode":"COLOR","sides":"DUPLEX_SHORT","mediaSize":"LETTER"})",
         {{"copies", "3"},
          {"print-color-mode", "color"},
          {"sides", "two-sided-short-edge"},
          {"media", "letter"}}},
        {R"({"copies":0,"colorMode":"SEPIA","sides":"x","mediaSize":"a4 -o x"})", {}},
    };
    for (const auto& [job, options] : jobs)
        EXPECT_EQ(PrintQueue::optionsForJob(json(job)), options) << job;
    for (const char* id : {"17", "job-1.a_B"})
        EXPECT_TRUE(PollingFiles::isSafeJobId(id)) << id;
    for (const char* id : {"", "..", "../x", "a/b", ".hidden", "a b", "a\nb"})
        EXPECT_FALSE(PollingFiles::isSafeJobId(id)) << id;
    EXPECT_FALSE(PollingFiles::isSafeJobId(std::string(129, 'a')));
}

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(100ms);
    }
    return true;
}

// The program as a child process.
class AgentProcess {
public:
    AgentProcess() {
        char* argv[] = {const_cast<char*>(NBX_POLLING_AGENT_PATH), nullptr};
        if (posix_spawn(&pid_, argv[0], nullptr, nullptr, argv, environ) != 0) pid_ = -1;
    }
    ~AgentProcess() {
        if (pid_ > 0 && kill(pid_, SIGKILL) == 0) waitpid(pid_, nullptr, 0);
    }
    void signal(int number) const { kill(pid_, number); }
    // True once it exited with status 0 within `limit`.
    bool exitedCleanly(std::chrono::milliseconds limit) {
        int status = -1;
        if (!eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; }, limit))
            return false;
        pid_ = -1;
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    pid_t pid_ = -1;
};

int lpadmin(const std::string& arguments) {
    return std::system(("lpadmin " + arguments + " >/dev/null 2>&1").c_str());
}

constexpr const char* kQueue = "Shared_Laser";

class PollingAgentTest : public test::PrivateCupsdTest {
protected:
    void SetUp() override {
        PrivateCupsdTest::SetUp();
        if (IsSkipped()) return;
        std::string whyNot;
        bus_ = test::PrivateSessionBus::start(&whyNot);
        if (!bus_) GTEST_SKIP() << whyNot;
        ASSERT_TRUE(emulator_.ok());
        emulator_.seed(json(R"({"users":[{"countryCode":"44","phoneNumber":"7700900123"}],
                                "blocklist":["001b63aa0d00"]})"));
        lookup_.emplace("NBX_LOOKUP_SERVER", emulator_.hostPort());
        ASSERT_EQ(lpadmin("-p " + std::string(kQueue) + " -E -v file:///dev/null -m raw"), 0)
            << cupsd().errorLog();
        center_ = DistributedNotificationCenter::connectSessionBus(&whyNot);
        ASSERT_TRUE(center_) << whyNot;
        center_->addObserver("com.Valmora.NBX.NBXSetting.Agent",
                             [this](const std::string&, const PropertyValue& reply) {
                                 std::lock_guard lock(mutex_);
                                 replies_.push_back(reply);
                                 arrived_.notify_all();
                             });
    }
    void TearDown() override {
        if (!IsSkipped()) lpadmin("-x " + std::string(kQueue));
    }

    // Starts the program and waits until it answers on the bus.
    std::unique_ptr<AgentProcess> startAgent() {
        auto agent = std::make_unique<AgentProcess>();
        EXPECT_TRUE(eventually(
            [&] { return exchange(json(R"({"Command":"GetPolling"})"), 300ms).isDictionary(); },
            10s));
        return agent;
    }

    // Posts a command and answers the reply to it, or null. A late reply to an earlier
    // readiness probe names another command.
    PropertyValue exchange(const PropertyValue& request, std::chrono::milliseconds limit = 20s) {
        std::unique_lock lock(mutex_);
        replies_.clear();
        center_->postNotificationName("com.Valmora.NBX.Backend.Agent", request);
        const auto answered = [&] {
            while (!replies_.empty() && replies_.front()["Command"] != request["Command"])
                replies_.erase(replies_.begin());
            return !replies_.empty();
        };
        if (!arrived_.wait_for(lock, limit, answered)) return {};
        return replies_.front();
    }

    static PropertyValue updatePolling(const std::string& queue, const std::string& mac = "") {
        PropertyValue request = json(R"({"Command":"UpdatePolling","ModelName":"Laser 1",
            "Alias":"Front","MDL":"Laser 1","MFG":"Acme","BindPhone_CountryCode":"44",
            "BindPhone_Number":"7700900123","ConnectionType":"USB","SerialNumber":"S1"})");
        request.set("Mac address", mac);
        request.set("Address", queue);
        return request;
    }

    std::string registeredAgentId() {
        const PropertyValue reply = exchange(updatePolling(kQueue));
        EXPECT_EQ(reply["Result"], PropertyValue("SUCCESS")) << reply.description();
        return reply["agentId"].string().value_or("");
    }

    // Pushes a job with these JSON members to the registered agent; its id.
    std::string pushJob(const std::string& members) {
        const std::string agentId = registeredAgentId();
        const PropertyValue pushed =
            emulator_.pushJob(json(R"({"agentId":")" + agentId + "\"," + members + "}"));
        return pushed["jobId"].string().value_or("");
    }

    bool completedInEmulator(const std::string& jobId) {
        return eventually(
            [&] {
                const PropertyValue jobs = emulator_.jobs();
                for (std::size_t i = 0; i < jobs.size(); ++i)
                    if (jobs.at(i)["jobId"] == PropertyValue(jobId))
                        return jobs.at(i)["state"] == PropertyValue("COMPLETED");
                return false;
            },
            45s);
    }

    // The scheduler's jobs on the queue: id and title.
    std::vector<std::pair<int, std::string>> printedJobs() {
        cups_job_t* jobs = nullptr;
        const int count = cupsGetJobs2(CUPS_HTTP_DEFAULT, &jobs, kQueue, 0, CUPS_WHICHJOBS_ALL);
        std::vector<std::pair<int, std::string>> list;
        for (int i = 0; i < count; ++i)
            list.emplace_back(jobs[i].id, jobs[i].title ? jobs[i].title : "");
        cupsFreeJobs(count, jobs);
        return list;
    }

    std::string jobAttribute(int jobId, const char* name) {
        ipp_t* request = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
        const std::string uri = "ipp://localhost/jobs/" + std::to_string(jobId);
        ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "job-uri", nullptr, uri.c_str());
        ipp_t* answer = cupsDoRequest(CUPS_HTTP_DEFAULT, request, "/");
        char text[256] = "";
        if (ipp_attribute_t* attribute = ippFindAttribute(answer, name, IPP_TAG_ZERO))
            ippAttributeString(attribute, text, sizeof text);
        ippDelete(answer);
        return text;
    }

    test::TempHome home_;
    test::CloudEmulator emulator_{{"--no-token-check", "--quiet"}};
    std::optional<test::ScopedEnv> lookup_;
    std::unique_ptr<test::PrivateSessionBus> bus_;
    std::unique_ptr<DistributedNotificationCenter> center_;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<PropertyValue> replies_;
};

TEST_F(PollingAgentTest, AnswersEveryCommand) {
    auto agent = startAgent();
    const auto command = [](const char* name, const char* alias = "") {
        return json(std::string(R"({"Command":")") + name + R"(","Alias":")" + alias + "\"}");
    };
    // Every failure gives a reason, every success none; refused registrations leave none behind.
    // Expected values: "*" is any, null is missing.
    const struct {
        PropertyValue request;
        const char *result, *values;
    } rows[] = {
        {updatePolling("No_Such_Queue"), "FAIL", "{}"},
        {updatePolling(kQueue, "00:1B:63:AA:0D:00 "), "FAIL", R"({"ErrorCode":"32000"})"},
        {command("GetPolling"), "FAIL", R"({"agentId":null})"},
        {command("StopPolling"), "FAIL", "{}"},
        {command("ChangeAlias", "Desk"), "FAIL", "{}"},
        {command("PrintEverything"), "FAIL", R"({"ErrorCode":null})"},
        {updatePolling(kQueue), "SUCCESS", R"({"agentId":"*"})"},
        {command("GetPolling"), "SUCCESS", R"({"agentId":"*","agentMacAddress":"*","Alias":"Front",
            "ModelName":"Laser 1","PaidDevice":false,"OrderURL":"","Black":null,"Yellow":null})"},
        {command("ChangeAlias", "Desk"), "SUCCESS", "{}"},
        {command("GetPolling"), "SUCCESS", R"({"Alias":"Desk"})"},
        {command("StopPolling"), "SUCCESS", "{}"},
        {command("GetPolling"), "FAIL", "{}"},
    };
    for (const auto& row : rows) {
        const PropertyValue reply = exchange(row.request);
        SCOPED_TRACE(row.request.description() + " -> " + reply.description());
        EXPECT_EQ(reply["Command"], row.request["Command"]);
        EXPECT_EQ(reply["Result"], PropertyValue(row.result));
        EXPECT_EQ(reply["Reason"].isString(), row.result == std::string("FAIL"));
        const PropertyValue expected = json(row.values);
        for (const auto& [key, value] : *expected.dictionaryPtr())
            EXPECT_TRUE(value == "*" ? !reply[key].isNull() : reply[key] == value) << key;
    }
    EXPECT_FALSE(fs::exists(PollingFiles::registrationPath()));
}

// The service drops the first polls: the job comes late, but once.
TEST_F(PollingAgentTest, PrintsAPushedJobOnceWithItsOptionsAndReportsIt) {
    auto agent = startAgent();
    emulator_.injectFault(json(R"({"path":"/printmgtsvc/agent/job","drop":true,"times":3})"));
    const std::string jobId = pushJob(R"("fileName":"memo.txt","data":"hello printer\n",
        "copies":2,"colorMode":"MONO","sides":"DUPLEX_LONG","mediaSize":"A4")");
    ASSERT_TRUE(completedInEmulator(jobId)) << emulator_.jobs().description();

    const auto jobs = printedJobs();
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_EQ(jobs[0].second, "memo.txt");
    std::vector<std::string> options;
    for (const char* name : {"copies", "print-color-mode", "sides", "media"})
        options.push_back(jobAttribute(jobs[0].first, name));
    EXPECT_EQ(options, (std::vector<std::string>{"2", "monochrome", "two-sided-long-edge", "a4"}));
    // The scheduler keeps the document it was sent in its spool.
    char document[32];
    std::snprintf(document, sizeof document, "/spool/d%05d-001", jobs[0].first);
    std::stringstream content;
    content << std::ifstream(cupsd().folder().string() + document).rdbuf();
    EXPECT_EQ(content.str(), "hello printer\n");
    EXPECT_TRUE(fs::is_empty(home_.appSupportFolder() + "/DownloadedJobs"));

    // Later rounds see the job no more and print nothing else.
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(printedJobs().size(), 1u);
}

// The restarted agent is back to long polls when a second copy starts and SIGTERM comes.
TEST_F(PollingAgentTest, AJobTheQueueRefusesWaitsOnDiskAndARestartPrintsIt) {
    auto agent = startAgent();
    ASSERT_EQ(std::system(("cupsreject " + std::string(kQueue)).c_str()), 0);
    const std::string jobId = pushJob(R"("fileName":"kept.txt","data":"kept\n")");
    const std::string file = home_.appSupportFolder() + "/DownloadedJobs/" + jobId;
    ASSERT_TRUE(eventually([&] { return fs::exists(file); }, 20s));
    agent->signal(SIGTERM);
    ASSERT_TRUE(agent->exitedCleanly(5s));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(printedJobs().empty());

    ASSERT_EQ(std::system(("cupsaccept " + std::string(kQueue)).c_str()), 0);
    agent = startAgent();
    ASSERT_TRUE(completedInEmulator(jobId)) << emulator_.jobs().description();
    EXPECT_EQ(printedJobs().size(), 1u);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(AgentProcess().exitedCleanly(10s)) << "a second copy leaves quietly";
    std::this_thread::sleep_for(1500ms);
    agent->signal(SIGTERM);
    EXPECT_TRUE(agent->exitedCleanly(5s)) << "SIGTERM ends it within 5 s";
}

TEST_F(PollingAgentTest, MalformedJobEntriesAreReportedAsFailedAndNeverPrinted) {
    // Entries without a usable id, with a hostile one, and one the service has no document for,
    // answered after a short long poll.
    emulator_.seed(json(R"({"options":{"longPollingSeconds":1}})"));
    PropertyValue fault = json(R"({"path":"/printmgtsvc/agent/job","method":"GET","status":200})");
    fault.set("body",
              R"({"success": true, "jobs": [{}, {"jobHistoryId": "5", "transactionKey": "t5"},
        {"jobId": "../../escape", "jobHistoryId": "6", "transactionKey": "t6"},
        {"jobId": "ghost", "jobHistoryId": 7, "transactionKey": "t7", "size": 3}]})");
    emulator_.injectFault(fault);
    auto agent = startAgent();
    registeredAgentId();
    const auto failedReports = [&] {
        std::set<std::int64_t> ids;
        const PropertyValue requests = emulator_.requests();
        for (std::size_t i = 0; i < requests.size(); ++i) {
            const auto body = json(requests.at(i)["body"].string().value_or(""));
            if (requests.at(i)["path"].string().value_or("").ends_with("/job/state/update") &&
                body["errorCode"].integer() == 1)
                ids.insert(body["jobHistoryId"].integer().value_or(0));
        }
        return ids;
    };
    const std::set<std::int64_t> malformed = {5, 6, 7};
    EXPECT_TRUE(eventually([&] { return failedReports() == malformed; }, 20s))
        << emulator_.requests().description();
    EXPECT_TRUE(printedJobs().empty());
    EXPECT_FALSE(fs::exists(home_.appSupportFolder() + "/escape"));
}

}  // namespace
}  // namespace nbx::polling
