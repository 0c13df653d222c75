#pragma once

#include <httplib.h>

#include <string>
#include <thread>

namespace nbx::test {

// An in-process HTTP server on an ephemeral loopback port, for exchange-level cases.
class LoopbackServer {
public:
    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    httplib::Server& server() { return server_; }
    // Starts serving; routes must be registered before.
    void start();
    std::string url(const std::string& path) const;
    int port() const { return port_; }

private:
    httplib::Server server_;
    std::thread thread_;
    int port_ = 0;
};

// A port on which a connection is silently accepted by the kernel and never answered.
class SilentListener {
public:
    SilentListener();
    ~SilentListener();
    int port() const { return port_; }

private:
    int fd_ = -1;
    int port_ = 0;
};

// A loopback port with nothing listening on it.
int closedLoopbackPort();

}  // namespace nbx::test
