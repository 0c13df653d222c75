#include <cups/cups.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

TEST(PollingRules, TonerByMarkerColour) {
    struct Row {
        std::vector<int> levels;
        std::vector<std::string> colors, types;
        PropertyDictionary expected;
    };
    const Row rows[] = {
        {{}, {}, {}, {}},
        {{40, 70},
         {"#00FFFF", "#000000"},
         {"toner", "toner"},
         {{"Black", 70}, {"Cyan", 40}, {"Magenta", -1}, {"Yellow", -1}}},
        {{5, 90, 20},
         {"#ff00ff", "#000000", "#FFFF00"},
         {"ink", "waste-toner", "ink"},
         {{"Black", -1}, {"Cyan", -1}, {"Magenta", 5}, {"Yellow", 20}}},
        // Fewer colours than levels: only the named ones count.
        {{10, 20}, {"#000000"}, {}, {{"Black", 10}, {"Cyan", -1}, {"Magenta", -1}, {"Yellow", -1}}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(PrintQueue::tonerLevels(row.levels, row.colors, row.types), row.expected)
            << PropertyValue(row.expected).description();
    }
}

TEST(PollingRules, JobOptionsAndFileNames) {
    const auto job = PropertyValue::dictionary(
        {{"copies", 2}, {"colorMode", "MONO"}, {"sides", "DUPLEX_SHORT"}, {"mediaSize", "LETTER"}});
    EXPECT_EQ(PrintQueue::optionsForJob(job),
              (PrintQueue::Options{{"copies", "2"},
                                   {"print-color-mode", "monochrome"},
                                   {"sides", "two-sided-short-edge"},
                                   {"media", "letter"}}));
    const auto odd = PropertyValue::dictionary(
        {{"copies", 0}, {"colorMode", "SEPIA"}, {"sides", "x"}, {"mediaSize", "a4 -o x"}});
    EXPECT_TRUE(PrintQueue::optionsForJob(odd).empty());

    for (const char* id : {"17", "job-1.a_B"})
        EXPECT_TRUE(PollingFiles::isSafeJobId(id)) << id;
    for (const char* id : {"", "..", "../x", "a/b", ".hidden", "a b", "a\nb"})
        EXPECT_FALSE(PollingFiles::isSafeJobId(id)) << id;
    EXPECT_FALSE(PollingFiles::isSafeJobId(std::string(129, 'a')));
}

// The program as a child process.
class AgentProcess {
public:
    AgentProcess() {
        char* argv[] = {const_cast<char*>(NBX_POLLING_AGENT_PATH), nullptr};
        if (posix_spawn(&pid_, NBX_POLLING_AGENT_PATH, nullptr, nullptr, argv, environ) != 0)
            pid_ = -1;
    }
    ~AgentProcess() {
        if (pid_ > 0 && !exitStatus(0ms)) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    void signal(int number) const { kill(pid_, number); }
    // The wait status once it exited within `limit`.
    std::optional<int> exitStatus(std::chrono::milliseconds limit) {
        if (status_) return status_;
        const auto end = std::chrono::steady_clock::now() + limit;
        do {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) return status_ = status;
            std::this_thread::sleep_for(20ms);
        } while (std::chrono::steady_clock::now() < end);
        return std::nullopt;
    }

private:
    pid_t pid_ = -1;
    std::optional<int> status_;
};

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(100ms);
    }
    return true;
}

constexpr const char* kQueue = "Shared_Laser";
constexpr const char* kCountry = "44";
constexpr const char* kPhone = "7700900123";

class PollingAgentTest : public test::PrivateCupsdTest {
protected:
    void SetUp() override {
        PrivateCupsdTest::SetUp();
        if (IsSkipped()) return;
        std::string whyNot;
        bus_ = test::PrivateSessionBus::start(&whyNot);
        if (!bus_) GTEST_SKIP() << whyNot;
        ASSERT_TRUE(emulator_.ok());
        emulator_.seed(PropertyValue::dictionary(
            {{"users", PropertyValue::array({PropertyValue::dictionary(
                           {{"countryCode", kCountry}, {"phoneNumber", kPhone}})})},
             {"blocklist", PropertyValue::array({"001b63aa0d00"})}}));
        lookup_.emplace("NBX_LOOKUP_SERVER", emulator_.hostPort());
        ASSERT_EQ(std::system(("lpadmin -p " + std::string(kQueue) +
                               " -E -v file:///dev/null -m raw >/dev/null 2>&1")
                                  .c_str()),
                  0)
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
        if (!IsSkipped())
            std::system(("lpadmin -x " + std::string(kQueue) + " 2>/dev/null").c_str());
    }

    // Starts the program and waits until it answers on the bus.
    std::unique_ptr<AgentProcess> startAgent() {
        auto agent = std::make_unique<AgentProcess>();
        const bool answering = eventually(
            [&] {
                return exchange(PropertyValue::dictionary({{"Command", "GetPolling"}}), 300ms)
                    .isDictionary();
            },
            10s);
        EXPECT_TRUE(answering);
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

    PropertyValue updatePolling(const std::string& queue, const std::string& mac = "") {
        return exchange(PropertyValue::dictionary({{"Command", "UpdatePolling"},
                                                   {"ModelName", "Laser 1"},
                                                   {"Alias", "Front"},
                                                   {"MDL", "Laser 1"},
                                                   {"MFG", "Acme"},
                                                   {"BindPhone_CountryCode", kCountry},
                                                   {"BindPhone_Number", kPhone},
                                                   {"Mac address", mac},
                                                   {"Address", queue},
                                                   {"ConnectionType", "USB"},
                                                   {"SerialNumber", "S1"}}));
    }

    std::string registeredAgentId() {
        const PropertyValue reply = updatePolling(kQueue);
        EXPECT_EQ(reply["Result"], PropertyValue("SUCCESS")) << reply.description();
        return reply["agentId"].string().value_or("");
    }

    PropertyValue emulatorJob(const std::string& jobId) {
        const PropertyValue jobs = emulator_.jobs();
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            if (jobs.at(i)["jobId"] == PropertyValue(jobId)) return jobs.at(i);
        }
        return {};
    }

    bool completedInEmulator(const std::string& jobId) {
        return eventually([&] { return emulatorJob(jobId)["state"] == PropertyValue("COMPLETED"); },
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
    struct Row {
        PropertyValue request;
        const char* result;
        std::vector<const char*> present, absent;
        PropertyDictionary values;
    };
    const auto command = [](const char* name, PropertyDictionary extra = {}) {
        extra.set("Command", name);
        return PropertyValue(extra);
    };
    const Row beforeRegistration[] = {
        {command("GetPolling"), "FAIL", {"Reason"}, {"agentId"}, {}},
        {command("StopPolling"), "FAIL", {"Reason"}, {}, {}},
        {command("ChangeAlias", {{"Alias", "Desk"}}), "FAIL", {"Reason"}, {}, {}},
        {command("PrintEverything"), "FAIL", {"Reason"}, {"ErrorCode"}, {}},
    };
    const Row afterRegistration[] = {
        {command("GetPolling"),
         "SUCCESS",
         {"agentId", "agentMacAddress"},
         {"Black", "Cyan", "Magenta", "Yellow", "Reason"},
         {{"Alias", "Front"}, {"ModelName", "Laser 1"}, {"PaidDevice", false}, {"OrderURL", ""}}},
        {command("ChangeAlias", {{"Alias", "Desk"}}), "SUCCESS", {}, {"Reason"}, {}},
        {command("GetPolling"), "SUCCESS", {}, {}, {{"Alias", "Desk"}}},
        {command("StopPolling"), "SUCCESS", {}, {}, {}},
        {command("GetPolling"), "FAIL", {"Reason"}, {}, {}},
    };
    const auto check = [&](const Row& row) {
        const PropertyValue reply = exchange(row.request);
        SCOPED_TRACE(row.request.description() + " -> " + reply.description());
        EXPECT_EQ(reply["Command"], row.request["Command"]);
        EXPECT_EQ(reply["Result"], PropertyValue(row.result));
        for (const char* key : row.present)
            EXPECT_FALSE(reply[key].isNull()) << key;
        for (const char* key : row.absent)
            EXPECT_TRUE(reply[key].isNull()) << key;
        for (const auto& [key, value] : row.values)
            EXPECT_EQ(reply[key], value) << key;
    };
    for (const auto& row : beforeRegistration)
        check(row);

    const PropertyValue unknownQueue = updatePolling("No_Such_Queue");
    EXPECT_EQ(unknownQueue["Result"], PropertyValue("FAIL"));
    EXPECT_TRUE(unknownQueue["Reason"].isString()) << unknownQueue.description();
    const PropertyValue blocked = updatePolling(kQueue, "00:1B:63:AA:0D:00 ");
    EXPECT_EQ(blocked["ErrorCode"], PropertyValue("32000")) << blocked.description();
    EXPECT_FALSE(fs::exists(PollingFiles::registrationPath()));

    const std::string agentId = registeredAgentId();
    const auto stored = PollingFiles::loadRegistration();
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->agentId, agentId);
    EXPECT_EQ(stored->queue, kQueue);
    for (const auto& row : afterRegistration)
        check(row);
    EXPECT_FALSE(fs::exists(PollingFiles::registrationPath()));
}

TEST_F(PollingAgentTest, PrintsAPushedJobOnceWithItsOptionsAndReportsIt) {
    auto agent = startAgent();
    const std::string agentId = registeredAgentId();
    const PropertyValue pushed =
        emulator_.pushJob(PropertyValue::dictionary({{"agentId", agentId},
                                                     {"fileName", "memo.txt"},
                                                     {"data", "hello printer\n"},
                                                     {"copies", 2},
                                                     {"colorMode", "MONO"},
                                                     {"sides", "DUPLEX_LONG"},
                                                     {"mediaSize", "A4"}}));
    const std::string jobId = pushed["jobId"].string().value_or("");
    ASSERT_TRUE(completedInEmulator(jobId)) << emulator_.jobs().description();

    const auto jobs = printedJobs();
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_EQ(jobs[0].second, "memo.txt");
    EXPECT_EQ(jobAttribute(jobs[0].first, "copies"), "2");
    EXPECT_EQ(jobAttribute(jobs[0].first, "print-color-mode"), "monochrome");
    EXPECT_EQ(jobAttribute(jobs[0].first, "sides"), "two-sided-long-edge");
    EXPECT_EQ(jobAttribute(jobs[0].first, "media"), "a4");
    // The scheduler keeps the document it was sent in its spool.
    char document[32];
    std::snprintf(document, sizeof document, "/spool/d%05d-001", jobs[0].first);
    std::ifstream printed(cupsd().folder().string() + document);
    std::stringstream content;
    content << printed.rdbuf();
    EXPECT_EQ(content.str(), "hello printer\n");
    EXPECT_TRUE(fs::is_empty(home_.appSupportFolder() + "/DownloadedJobs"));

    // Later rounds see the job no more and print nothing else.
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(printedJobs().size(), 1u);
}

TEST_F(PollingAgentTest, ServiceDroppingPollsDelaysTheJobButPrintsItOnce) {
    auto agent = startAgent();
    emulator_.injectFault(PropertyValue::dictionary(
        {{"path", "/printmgtsvc/agent/job"}, {"drop", true}, {"times", 3}}));
    const std::string agentId = registeredAgentId();
    const PropertyValue pushed = emulator_.pushJob(PropertyValue::dictionary(
        {{"agentId", agentId}, {"fileName", "late.txt"}, {"data", "late\n"}}));
    ASSERT_TRUE(completedInEmulator(pushed["jobId"].string().value_or("")))
        << emulator_.jobs().description();
    EXPECT_EQ(printedJobs().size(), 1u);
}

TEST_F(PollingAgentTest, AJobTheQueueRefusesWaitsOnDiskAndARestartPrintsIt) {
    auto agent = startAgent();
    const std::string agentId = registeredAgentId();
    ASSERT_EQ(std::system(("cupsreject " + std::string(kQueue)).c_str()), 0);
    const PropertyValue pushed = emulator_.pushJob(PropertyValue::dictionary(
        {{"agentId", agentId}, {"fileName", "kept.txt"}, {"data", "kept\n"}}));
    const std::string jobId = pushed["jobId"].string().value_or("");
    const std::string file = home_.appSupportFolder() + "/DownloadedJobs/" + jobId;
    ASSERT_TRUE(eventually([&] { return fs::exists(file); }, 20s));
    agent->signal(SIGTERM);
    ASSERT_TRUE(agent->exitStatus(5s));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(printedJobs().empty());

    ASSERT_EQ(std::system(("cupsaccept " + std::string(kQueue)).c_str()), 0);
    agent = startAgent();
    ASSERT_TRUE(completedInEmulator(jobId)) << emulator_.jobs().description();
    EXPECT_EQ(printedJobs().size(), 1u);
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(PollingAgentTest, MalformedJobEntriesAreReportedAsFailedAndNeverPrinted) {
    // Entries without a usable id, with a hostile one, and one the service has no document for,
    // answered after a short long poll.
    emulator_.seed(PropertyValue::dictionary(
        {{"options", PropertyValue::dictionary({{"longPollingSeconds", 1}})}}));
    emulator_.injectFault(PropertyValue::dictionary(
        {{"path", "/printmgtsvc/agent/job"},
         {"method", "GET"},
         {"status", 200},
         {"body",
          R"({"success": true, "jobs": [{}, {"jobHistoryId": "5", "transactionKey": "t5"},
              {"jobId": "../../escape", "jobHistoryId": "6", "transactionKey": "t6"},
              {"jobId": "ghost", "jobHistoryId": 7, "transactionKey": "t7", "size": 3}]})"}}));
    auto agent = startAgent();
    registeredAgentId();
    const auto failedReports = [&] {
        std::set<std::int64_t> ids;
        const PropertyValue requests = emulator_.requests();
        for (std::size_t i = 0; i < requests.size(); ++i) {
            if (!requests.at(i)["path"].string().value_or("").ends_with("/job/state/update"))
                continue;
            const auto body = objectFromJSONData(requests.at(i)["body"].string().value_or(""));
            if (body && (*body)["errorCode"].integer() == 1)
                ids.insert((*body)["jobHistoryId"].integer().value_or(0));
        }
        return ids;
    };
    EXPECT_TRUE(eventually(
        [&] {
            return failedReports() == std::set<std::int64_t>{5, 6, 7};
        },
        20s))
        << emulator_.requests().description();
    EXPECT_TRUE(printedJobs().empty());
    EXPECT_FALSE(fs::exists(home_.appSupportFolder() + "/escape"));
}

TEST_F(PollingAgentTest, OneInstanceAndAPromptExitOnSigterm) {
    auto agent = startAgent();
    registeredAgentId();
    AgentProcess second;
    const auto secondStatus = second.exitStatus(10s);
    ASSERT_TRUE(secondStatus);
    EXPECT_TRUE(WIFEXITED(*secondStatus) && WEXITSTATUS(*secondStatus) == 0);

    std::this_thread::sleep_for(1500ms);  // a long poll is under way by now
    agent->signal(SIGTERM);
    const auto status = agent->exitStatus(5s);
    ASSERT_TRUE(status) << "still running 5 s after SIGTERM";
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << *status;
}

}  // namespace
}  // namespace nbx::polling
