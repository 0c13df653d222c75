#pragma once

#include <sys/types.h>
#include <chrono>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace nbx::notification {

// "-add" makes the polling agent start with every session and starts it now; "-remove" undoes
// both. The running agent holds an exclusive flock on its pid file and writes its pid there.

// "$XDG_CONFIG_HOME/autostart/nbx-polling-agent.desktop", ~/.config by default.
std::string autostartEntryPath();
// "<per-user folder>/PollingData/nbx-polling-agent.pid"
std::string pidFilePath();

// The autostart entry for `program`; nothing when the path cannot be written in one.
std::optional<std::string> autostartEntry(const std::string& program);
bool installAutostartEntry(std::string* error);
bool removeAutostartEntry(std::string* error);

struct AgentStatus {
    bool running = false;  // the pid file's lock is held
    pid_t pid = 0;         // 0 when the file does not name one yet
};
AgentStatus agentStatus();
// Starts the agent in a session of its own with stdio on /dev/null, unless it already runs.
bool startAgent(std::string* error);
// Sends the running agent SIGTERM and waits until it has let go of its lock.
bool stopAgent(std::chrono::milliseconds wait, std::string* error);

constexpr std::chrono::seconds kStopWait{10};
constexpr const char* kUsage = "usage: \"Nimbrix Notification\" -add | -remove\n";

// The program: 0 on success, 1 on failure, 2 on a usage error (messages go to `errors`).
int run(const std::vector<std::string>& args, std::ostream& errors);

}  // namespace nbx::notification
