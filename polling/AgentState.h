#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "PollingFiles.h"

namespace nbx::polling {

using Log = std::function<void(const std::string&)>;

// The registration shared by the command worker and the polling thread, and the stop request.
// Every change that makes polling start over bumps the generation, so the polling thread drops
// an answer that arrived for the previous one.
class AgentState {
public:
    struct Snapshot {
        Registration registration;
        std::uint64_t generation;
    };

    std::optional<Registration> registration() const;
    // Only a new agent, queue or user starts polling over; a new alias does not.
    void setRegistration(std::optional<Registration> registration);
    bool isCurrent(std::uint64_t generation) const;

    // Blocks until registered; none once stopping.
    std::optional<Snapshot> waitForRegistration();
    // Sleeps for `duration` unless the registration changes first; false once stopping.
    bool pause(std::chrono::milliseconds duration, std::uint64_t generation);

    void requestStop();
    bool stopping() const;

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Registration> registration_;
    std::uint64_t generation_ = 0;
    bool stopping_ = false;
};

}  // namespace nbx::polling
