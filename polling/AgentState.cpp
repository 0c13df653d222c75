#include "AgentState.h"

namespace nbx::polling {

std::optional<Registration> AgentState::registration() const {
    std::lock_guard lock(mutex_);
    return registration_;
}

void AgentState::setRegistration(std::optional<Registration> registration) {
    std::lock_guard lock(mutex_);
    const bool samePolling = registration && registration_ &&
                             registration->agentId == registration_->agentId &&
                             registration->queue == registration_->queue &&
                             registration->countryCode == registration_->countryCode &&
                             registration->phoneNumber == registration_->phoneNumber;
    registration_ = std::move(registration);
    if (!samePolling) ++generation_;
    changed_.notify_all();
}

bool AgentState::isCurrent(std::uint64_t generation) const {
    std::lock_guard lock(mutex_);
    return generation == generation_ && !stopping_;
}

std::optional<AgentState::Snapshot> AgentState::waitForRegistration() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stopping_ || registration_; });
    if (stopping_) return std::nullopt;
    return Snapshot{*registration_, generation_};
}

bool AgentState::pause(std::chrono::milliseconds duration, std::uint64_t generation) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, duration, [&] { return stopping_ || generation != generation_; });
    return !stopping_;
}

void AgentState::requestStop() {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
}

bool AgentState::stopping() const {
    std::lock_guard lock(mutex_);
    return stopping_;
}

}  // namespace nbx::polling
