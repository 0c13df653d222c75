#pragma once

#include <string>

namespace nbx::bench {

// JSON texts the benchmark makes for itself, the same on every run.
// The service's answer to an agent-list request: 1,000 own and 1,000 friends' printers.
std::string agentListDocument();
// Mostly integers and doubles of every size and sign.
std::string numberDocument();
// Mostly text: escapes, "\u" sequences and raw non-ASCII characters.
std::string stringDocument();

}  // namespace nbx::bench
