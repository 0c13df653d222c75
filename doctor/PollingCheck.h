#pragma once

#include <chrono>

#include "CheckResult.h"

namespace nbx::doctor {

// When this computer shares a printer, its polling agent must answer on the session bus.
class PollingCheck {
public:
    static CheckResult run(std::chrono::milliseconds replyWait);
};

}  // namespace nbx::doctor
