#include <cups/cups.h>

#include "AppHarness.h"
#include "PrinterSharing.h"
#include "SettingScreen.h"

namespace nbx::test {
namespace {

constexpr const char* kQueue = "Shared_Laser";

class SharingEndToEnd : public PrivateCupsdTest {
protected:
    void SetUp() override {
        PrivateCupsdTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(std::system(("lpadmin -p " + std::string(kQueue) +
                               " -E -v file:///dev/null -m raw >/dev/null 2>&1")
                                  .c_str()),
                  0);
    }
    void TearDown() override {
        std::system(("lpadmin -x " + std::string(kQueue) + " 2>/dev/null").c_str());
    }

    // The scheduler's jobs on the shared queue with this title.
    static int printed(const std::string& title) {
        cups_job_t* jobs = nullptr;
        const int count = cupsGetJobs2(CUPS_HTTP_DEFAULT, &jobs, kQueue, 0, CUPS_WHICHJOBS_ALL);
        int found = 0;
        for (int i = 0; i < count; ++i)
            found += jobs[i].title && title == jobs[i].title;
        cupsFreeJobs(count, jobs);
        return found;
    }
    bool completed(Cloud& emulator, const PropertyValue& jobId) {
        return AppHarness::waitFor(
            [&] {
                const PropertyValue jobs = emulator.jobs();
                for (std::size_t i = 0; i < jobs.size(); ++i)
                    if (jobs.at(i)["jobId"] == jobId) return jobs.at(i)["state"] == "COMPLETED";
                return false;
            },
            std::chrono::seconds(45));
    }
};

// The application registers a queue of this computer through the real polling agent; a job
// sent to that printer in the service comes out on the queue, also when the service was away
// for a while, and only once.
TEST_F(SharingEndToEnd, AJobForTheSharedPrinterComesOutOfTheQueue) {
    Cloud emulator(users({user("82", "101234")}));
    ScopedEnv agentProgram("NBX_POLLING_AGENT", NBX_BIN_DIR "/../helpers/nbx-polling-agent");
    AppHarness h("C", false);
    h.realThreads = true;
    h.backend.silent = true;
    h.signIn("82", "101234");
    std::filesystem::create_directory_symlink(NBX_BIN_DIR "/../helpers/Nimbrix Notification.app",
                                              h.helperFolder() + "Nimbrix Notification.app");
    // The agent runs in a session of its own: it is stopped however the test ends.
    const std::string helper =
        h.helperFolder() + "Nimbrix Notification.app/Contents/MacOS/Nimbrix Notification";
    const std::shared_ptr<void> stopAgent(
        nullptr, [&](void*) { std::system(("\"" + helper + "\" -remove").c_str()); });
    AppDelegate& d = h.launch();
    d.returnToMainWindow();  // starts the polling agent, then asks it
    ASSERT_TRUE(h.waitFor([&] { return !h.backend.requests().empty(); }));
    ASSERT_TRUE(h.waitFor([&] { return d.window()->refreshView->isHidden(); }));

    d.actionClickToolbar("Setting");
    d.sharing().dicRegistSelectPrint.set(dict({{"ModelName", "Laser 1"},
                                               {"DeviceID", "MFG:Acme;MDL:Laser 1;"},
                                               {"ConnectionType", "Local"},
                                               {"VID", ""},
                                               {"PID", ""},
                                               {"SerialNumber", ""},
                                               {"MACAddress", ""},
                                               {"Address", kQueue}}));
    d.window()->settingScreen->registrationCheckBox()->setChecked(true);
    d.nextAction();
    ASSERT_TRUE(h.waitFor([&] { return !h.alerts->shown.empty(); }, std::chrono::seconds(30)));
    EXPECT_EQ(h.alerts->texts(), Texts{"Settings updated successfully"});
    // The follow-up refresh asks the agent again, and its answer names the new agent.
    ASSERT_TRUE(h.waitFor([&] {
        return d.window()->refreshView->isHidden() &&
               d.shared().dicGetAgentInfo.get()["agentId"].isString();
    }));
    const PropertyValue agentId = d.shared().dicGetAgentInfo.get()["agentId"];
    EXPECT_EQ(d.window()->settingScreen->modelField()->text(), "Laser 1");

    const PropertyValue first = emulator.pushJob(
        dict({{"agentId", agentId}, {"fileName", "first.txt"}, {"data", "one"}, {"copies", 2}}));
    ASSERT_TRUE(completed(emulator, first["jobId"]));
    EXPECT_EQ(printed("first.txt"), 1);

    emulator.injectFault(dict({{"path", "/printmgtsvc/agent/job"}, {"drop", true}, {"times", 3}}));
    const PropertyValue later =
        emulator.pushJob(dict({{"agentId", agentId}, {"fileName", "later.txt"}, {"data", "two"}}));
    ASSERT_TRUE(completed(emulator, later["jobId"]));
    h.waitFor([] { return false; }, std::chrono::seconds(2));
    EXPECT_EQ(printed("later.txt"), 1);
    EXPECT_EQ(printed("first.txt"), 1);
}

}  // namespace
}  // namespace nbx::test
