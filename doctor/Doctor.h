#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "CheckResult.h"
#include "Report.h"

namespace nbx {
class NBXCloudInterface;
}

namespace nbx::doctor {

// Runs every check printing through the service needs, in the order a print job needs them.
// A later check still runs after an earlier one failed unless it needs that one's finding.
// Blocks on the network and the session bus: call it from a worker.
class Doctor {
public:
    struct Options {
        // How long the polling agent has to answer on the session bus.
        std::chrono::milliseconds agentReplyWait{5000};
        // Per exchange with the service once its endpoint is known.
        std::chrono::milliseconds requestTimeout{15000};
    };

    Doctor();
    explicit Doctor(Options options);
    ~Doctor();

    Report run();

private:
    CheckResult lookup();
    CheckResult api();
    CheckResult identity();
    CheckResult token();
    std::string endpoint() const;

    Options options_;
    std::unique_ptr<NBXCloudInterface> cloud_;
    bool apiAnswers_ = false;
    std::optional<std::array<std::string, 2>> phone_;
    std::optional<std::string> accessToken_;
};

}  // namespace nbx::doctor
