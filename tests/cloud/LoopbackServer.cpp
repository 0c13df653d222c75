#include "LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace nbx::test {

namespace {

int boundSocket(int* port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("cannot bind a loopback socket");
    *port = ntohs(address.sin_port);
    return fd;
}

}  // namespace

LoopbackServer::LoopbackServer() = default;

LoopbackServer::~LoopbackServer() {
    server_.stop();
    if (thread_.joinable()) thread_.join();
}

void LoopbackServer::start() {
    port_ = server_.bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("cannot bind the loopback server");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
}

std::string LoopbackServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

SilentListener::SilentListener() {
    fd_ = boundSocket(&port_);
    ::listen(fd_, 8);
}

SilentListener::~SilentListener() {
    ::close(fd_);
}

int closedLoopbackPort() {
    int port = 0;
    ::close(boundSocket(&port));
    return port;
}

}  // namespace nbx::test
