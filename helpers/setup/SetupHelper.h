#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

namespace nbx::setup {

// "-userchange": the phone identity is about to change, so nothing of the old one may go on.
// The polling agent unregisters the shared printer (while the old identity still stands) and
// stops, and it no longer starts with the session; then the signed-in identity ("MyInfo.plist")
// and the agent list ("AgentPL.plist") are removed, so the agent asks the user to
// authenticate again.

constexpr const char* kUsage = "usage: \"Nimbrix Setup\" -userchange\n";
// How long the polling agent may take to unregister the printer with the service.
constexpr std::chrono::seconds kStopPollingWait{15};

// Asks the running polling agent to stop serving the shared printer and waits for its answer.
// False, with the reason, when there is no session bus or no answer in time.
bool stopPolling(std::chrono::milliseconds wait, std::string* error);
bool userChange(std::ostream& errors);

// The program: 0 on success, 1 on failure, 2 on a usage error (messages go to `errors`).
int run(const std::vector<std::string>& args, std::ostream& errors);

}  // namespace nbx::setup
