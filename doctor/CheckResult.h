#pragma once

#include <string>
#include <utility>

namespace nbx::doctor {

// What one check found: a one-line finding, and what to do about it when it failed.
struct CheckResult {
    std::string name;
    bool ok = false;
    std::string detail;
    std::string remedy;

    static CheckResult pass(std::string name, std::string detail) {
        return {std::move(name), true, std::move(detail), {}};
    }
    static CheckResult fail(std::string name, std::string detail, std::string remedy) {
        return {std::move(name), false, std::move(detail), std::move(remedy)};
    }
    // A check that cannot run because an earlier one failed; it proves nothing, so it fails.
    static CheckResult skipped(std::string name, const std::string& needs) {
        return {std::move(name), false, "skipped: needs " + needs,
                "fix the \"" + needs + "\" check first"};
    }
};

}  // namespace nbx::doctor
