#pragma once

#include <httplib.h>

#include <stdexcept>
#include <string>
#include <thread>

namespace nbx::test {

// An in-process HTTP server on an ephemeral loopback port, for exchange-level cases.
class LoopbackServer {
public:
    LoopbackServer() = default;
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;
    ~LoopbackServer() {
        server_.stop();
        if (thread_.joinable()) thread_.join();
    }

    httplib::Server& server() { return server_; }
    // Starts serving; routes must be registered before.
    void start() {
        port_ = server_.bind_to_any_port("127.0.0.1");
        if (port_ <= 0) throw std::runtime_error("cannot bind the loopback server");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
    }
    std::string hostPort() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string url(const std::string& path) const { return "http://" + hostPort() + path; }

private:
    httplib::Server server_;
    std::thread thread_;
    int port_ = 0;
};

}  // namespace nbx::test
