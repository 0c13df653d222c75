#pragma once

#include "CheckResult.h"

namespace nbx::doctor {

// The files the agent needs on this computer: its helper programs, the per-user state and
// the log.
class FileChecks {
public:
    static CheckResult helpers();
    // Every property list and JSON file in the per-user folder parses.
    static CheckResult state();
    static CheckResult log();
};

}  // namespace nbx::doctor
