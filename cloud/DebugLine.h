#pragma once

#include <string>
#include <string_view>

namespace nbx {

// One diagnostic line on standard error as "WARNING: %s\n": secrets hidden, every line feed
// becomes a blank and bytes outside printable ASCII are shown as \xNN, so printing never fails.
void writeDebugLine(std::string_view message);

// A line for the system log, mirrored on standard error.
void writeSystemLogLine(std::string_view message);

// The text of a debug line without the "WARNING: " frame; exposed for tests.
std::string printableDebugText(std::string_view message);

}  // namespace nbx
