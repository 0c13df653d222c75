#pragma once

#include <string>
#include <vector>

#include "CheckResult.h"

namespace nbx::doctor {

// The checks' results in the order they ran, as lines for a person or JSON for a program.
class Report {
public:
    void add(CheckResult result) { checks_.push_back(std::move(result)); }
    const std::vector<CheckResult>& checks() const { return checks_; }
    bool allPassed() const;

    // One line per check; a failed one says what to do.
    std::string text() const;
    // {"ok":..,"checks":[{"name","ok","detail","remedy"},...]}
    std::string json() const;

private:
    std::vector<CheckResult> checks_;
};

}  // namespace nbx::doctor
