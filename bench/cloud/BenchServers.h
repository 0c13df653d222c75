#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>
#include <thread>

namespace nbx::bench {

// The cloud emulator as a child process on a free loopback port.
class EmulatorProcess {
public:
    EmulatorProcess();
    ~EmulatorProcess();
    bool ok() const { return port_ > 0; }
    std::string hostPort() const { return "127.0.0.1:" + std::to_string(port_); }

private:
    pid_t pid_ = -1;
    int port_ = 0;
};

// Reads each request's body and throws it away, answering a small JSON object; for uploads
// larger than the emulator takes.
class DiscardSink {
public:
    DiscardSink();
    ~DiscardSink();
    std::string hostPort() const { return "127.0.0.1:" + std::to_string(port_); }

private:
    void serve();
    void answer(int client);

    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

}  // namespace nbx::bench
