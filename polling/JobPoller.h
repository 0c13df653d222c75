#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "AgentState.h"
#include "NBXCloudInterface.h"
#include "PropertyValue.h"

namespace nbx::polling {

// The polling thread: long-polls the service for the registered agent's jobs, downloads and
// prints each one once, and reports how it ended. Its progress lives in the ledger file, so a
// restart carries on where the last run stopped.
class JobPoller {
public:
    static constexpr int kDefaultIntervalSeconds = 60;
    // The long poll must end before the request's own 60 s timeout.
    static constexpr int kMaxWaitSeconds = 50;
    static constexpr std::chrono::milliseconds kFirstBackoff{1000};
    static constexpr std::chrono::milliseconds kMaxBackoff{30000};
    // How often a job handed to the scheduler is checked while it prints, for so long; a job
    // still unfinished after that (a stopped queue) is checked at the retry pace.
    static constexpr std::chrono::milliseconds kPrintCheckInterval{1000};
    static constexpr std::chrono::minutes kPrintCheckPeriod{2};
    // The service answers at once while it lists a job, so a job that cannot be printed or
    // reported yet would otherwise turn the long poll into a busy loop.
    static constexpr std::chrono::milliseconds kRetryInterval{5000};
    static constexpr std::chrono::milliseconds kMinRoundTime{1000};

    JobPoller(AgentState& state, Log log) : state_(state), log_(std::move(log)) {}

    // The thread's body; returns once the state is stopping.
    void run();

private:
    enum class Round { NewJobs, NothingNew, Idle, ServiceDown };

    Round round(const Registration& registration, std::uint64_t generation);
    void fetchInterval(const Registration& registration);
    enum class Accepted { New, Known, ServiceDown };
    Accepted accept(const PropertyValue& job, const Registration& registration);
    bool download(const std::string& jobId, const PropertyValue& job,
                  const Registration& registration, std::string* whyBad);
    void rejectJob(const std::string& key, const PropertyValue& job,
                   const Registration& registration, const std::string& reason);
    void advanceLedger(const Registration& registration);
    // One step of one entry; true when the entry changed.
    bool advance(const std::string& jobId, PropertyValue& entry, const Registration& registration);
    void forgetReported(const PropertyArray& listed);
    // A job handed to the scheduler recently has not ended yet.
    bool awaitingScheduler() const;
    void saveLedger();

    AgentState& state_;
    Log log_;
    std::unique_ptr<NBXCloudInterface> cloud_;
    PropertyDictionary ledger_;
    int intervalSeconds_ = kDefaultIntervalSeconds;
    bool intervalKnown_ = false;
};

}  // namespace nbx::polling
