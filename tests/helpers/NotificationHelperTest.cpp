#include "NotificationHelper.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
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

// Holds the pid file's lock like the polling agent, counts its launches, ends on SIGTERM.
constexpr const char* kStandIn = R"sh(#!/bin/sh
echo $$ >> "$HOME/launches"
pidfile="$HOME/Library/Application Support/Valmora/Nimbrix/PollingData/nbx-polling-agent.pid"
mkdir -p "$(dirname "$pidfile")"
exec 9<>"$pidfile"
flock -n 9 || exit 1
echo $$ > "$pidfile"
exec sleep 600
)sh";

std::string readText(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(NotificationHelper, BadArgumentsAndUnsafeAutostartPaths) {
    for (const auto& args :
         std::vector<std::vector<std::string>>{{}, {"-bogus"}, {"add"}, {"-add", "-remove"}}) {
        std::ostringstream errors;
        EXPECT_EQ(run(args, errors), 2);
        EXPECT_EQ(errors.str(), kUsage);
    }
    // The built program in its layout, blank in the name and all.
    EXPECT_EQ(std::system("'" NBX_HELPER_DIR "/Nimbrix Notification.app/Contents/MacOS/"
                          "Nimbrix Notification' -bogus 2>/dev/null"),
              2 << 8);
    // The add test covers a plain path with a blank; these need escaping or cannot be written.
    const std::string quoted = R"(Exec="/opt/a\\"b\\$c\\\\d\\`e%%f")";
    const std::string entry = autostartEntry(R"(/opt/a"b$c\d`e%f)").value_or("");
    EXPECT_NE(entry.find("\n" + quoted + "\n"), std::string::npos) << entry;
    EXPECT_FALSE(autostartEntry("/opt/agent\nExec=/bin/evil"));
    EXPECT_FALSE(autostartEntry(""));
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

    test::TempHome home_;
    const std::string agent_ = home_.path() + "/helper folder/nbx-polling-agent";
    const std::string entry_ = home_.path() + "/config/autostart/nbx-polling-agent.desktop";
    test::ScopedEnv config_{"XDG_CONFIG_HOME", home_.path() + "/config"};
    test::ScopedEnv program_{"NBX_POLLING_AGENT", agent_};
};

TEST_F(NotificationAgentTest, AddStartsOnceAndRemoveStops) {
    std::ostringstream errors;
    {
        test::ScopedEnv missing("NBX_POLLING_AGENT", home_.path() + "/nonexistent");
        EXPECT_EQ(run({"-add"}, errors), 1);
        EXPECT_NE(errors.str().find("nonexistent"), std::string::npos) << errors.str();
    }
    ASSERT_EQ(run({"-add"}, errors), 0) << errors.str();
    EXPECT_NE(readText(entry_).find("\nExec=\"" + agent_ + "\"\n"), std::string::npos);
    const pid_t pid = agentStatus().pid;  // -add returns once the agent holds its lock
    ASSERT_GT(pid, 1);

    ASSERT_EQ(run({"-add"}, errors), 0) << errors.str();
    std::this_thread::sleep_for(300ms);  // time for a wrongly started second copy to show
    EXPECT_EQ(std::ranges::count(readText(home_.path() + "/launches"), '\n'), 1);
    EXPECT_EQ(agentStatus().pid, pid);

    ASSERT_EQ(run({"-remove"}, errors), 0) << errors.str();
    EXPECT_FALSE(fs::exists(entry_));
    EXPECT_FALSE(agentStatus().running);
    EXPECT_EQ(run({"-remove"}, errors), 0) << errors.str();
}

}  // namespace
}  // namespace nbx::notification
