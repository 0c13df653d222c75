#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "ScopedEnv.h"

namespace nbx::test {

// A dbus-daemon of the test's own, on a socket in a temporary folder. While it lives,
// DBUS_SESSION_BUS_ADDRESS points this process (and the programs it starts) at it; the
// machine's own session bus is never used.
class PrivateSessionBus {
public:
    // Null, with the reason in *whyNot, when no daemon could start.
    static std::unique_ptr<PrivateSessionBus> start(std::string* whyNot);
    ~PrivateSessionBus();
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    // Where the bus listens, as "bus": a login session's folder to whoever looks for one.
    const std::filesystem::path& folder() const { return base_; }

private:
    explicit PrivateSessionBus(std::filesystem::path base);

    std::filesystem::path base_;
    pid_t pid_ = -1;
    std::optional<ScopedEnv> address_;
};

}  // namespace nbx::test
