#include "NotificationHelper.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx::notification {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const std::string kProgram =
    NBX_HELPER_DIR "/Nimbrix Notification.app/Contents/MacOS/Nimbrix Notification";

// Holds the pid file's lock like the polling agent, counts its launches, ends on SIGTERM.
constexpr const char* kStandIn = R"sh(#!/bin/sh
echo $$ >> "$HOME/launches"
pidfile="$HOME/Library/Application Support/Valmora/Nimbrix/PollingData/nbx-polling-agent.pid"
mkdir -p "$(dirname "$pidfile")"
exec 9<>"$pidfile"
flock -n 9 || exit 1
echo $$ > "$pidfile"
trap 'kill $child 2>/dev/null; exit 0' TERM
sleep 600 9>&- &
child=$!
wait $child
)sh";

std::string readText(const fs::path& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool waitUntilRunning(bool running) {
    for (auto waited = 0ms; waited < 5s; waited += 20ms) {
        if (agentStatus().running == running) return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

TEST(AutostartEntry, ExecQuotesThePath) {
    const std::pair<std::string, std::string> cases[] = {
        {"/usr/lib/nimbrix/helpers/nbx-polling-agent",
         "Exec=\"/usr/lib/nimbrix/helpers/nbx-polling-agent\"\n"},
        {"/opt/My Helpers/agent", "Exec=\"/opt/My Helpers/agent\"\n"},
        {R"(/opt/a"b$c\d`e%f)", R"(Exec="/opt/a\\"b\\$c\\\\d\\`e%%f")"
                                "\n"},
        {"/opt/agent\nExec=/bin/evil", ""},
        {"", ""},
    };
    for (const auto& [program, exec] : cases) {
        const auto entry = autostartEntry(program);
        if (exec.empty()) {
            EXPECT_FALSE(entry) << program;
        } else {
            ASSERT_TRUE(entry) << program;
            EXPECT_NE(entry->find("\n" + exec), std::string::npos) << *entry;
        }
    }
}

TEST(NotificationHelper, BadArgumentsAreUsageErrors) {
    const std::vector<std::string> cases[] = {{}, {"-bogus"}, {"add"}, {"-add", "-remove"}};
    for (const auto& args : cases) {
        std::ostringstream errors;
        EXPECT_EQ(run(args, errors), 2);
        EXPECT_EQ(errors.str(), kUsage);
    }
    // The built program in its layout, blank in the name and all.
    EXPECT_EQ(std::system(("'" + kProgram + "' -bogus 2>/dev/null").c_str()), 2 << 8);
}

class NotificationAgentTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(fs::path(agent_).parent_path());
        std::ofstream(agent_) << kStandIn;
        fs::permissions(agent_, fs::perms::owner_all);
    }
    void TearDown() override {
        // A failed test may leave the stand-in and its sleep behind, in a group of their own.
        const AgentStatus left = agentStatus();
        const pid_t group = left.pid > 0 ? getpgid(left.pid) : -1;
        if (group > 1 && group != getpgrp()) kill(-group, SIGKILL);
    }
    std::size_t launches() const {
        std::istringstream lines(readText(home_.path() + "/launches"));
        std::size_t count = 0;
        for (std::string line; std::getline(lines, line);)
            ++count;
        return count;
    }

    test::TempHome home_;
    const std::string agent_ = home_.path() + "/helper folder/nbx-polling-agent";
    const std::string entry_ = home_.path() + "/config/autostart/nbx-polling-agent.desktop";
    test::ScopedEnv config_{"XDG_CONFIG_HOME", home_.path() + "/config"};
    test::ScopedEnv program_{"NBX_POLLING_AGENT", agent_};
};

TEST_F(NotificationAgentTest, AddStartsOnceAndRemoveStops) {
    std::ostringstream errors;
    ASSERT_EQ(run({"-add"}, errors), 0) << errors.str();
    EXPECT_NE(readText(entry_).find("Exec=\"" + agent_ + "\"\n"), std::string::npos);
    ASSERT_TRUE(waitUntilRunning(true));
    const pid_t pid = agentStatus().pid;
    ASSERT_GT(pid, 1);

    ASSERT_EQ(run({"-add"}, errors), 0) << errors.str();
    std::this_thread::sleep_for(300ms);  // time for a wrongly started second copy to show
    EXPECT_EQ(launches(), 1u);
    EXPECT_EQ(agentStatus().pid, pid);

    ASSERT_EQ(run({"-remove"}, errors), 0) << errors.str();
    EXPECT_FALSE(fs::exists(entry_));
    EXPECT_FALSE(agentStatus().running);
    EXPECT_EQ(run({"-remove"}, errors), 0) << errors.str();
}

TEST_F(NotificationAgentTest, MissingAgentFailsTheAdd) {
    test::ScopedEnv missing("NBX_POLLING_AGENT", home_.path() + "/nonexistent");
    std::ostringstream errors;
    EXPECT_EQ(run({"-add"}, errors), 1);
    EXPECT_NE(errors.str().find("nonexistent"), std::string::npos) << errors.str();
    EXPECT_FALSE(agentStatus().running);
}

}  // namespace
}  // namespace nbx::notification
