#include "BenchServers.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace nbx::bench {

EmulatorProcess::EmulatorProcess() {
    int out[2];
    if (::pipe(out) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(out[1], STDOUT_FILENO);
        ::close(out[0]);
        const std::string program = std::string(NBX_BIN_DIR) + "/nimbrix-cloud-emulator";
        ::execl(program.c_str(), program.c_str(), "--quiet", "--no-token-check", nullptr);
        ::_exit(127);
    }
    ::close(out[1]);
    std::string line;
    char c;
    pollfd p{out[0], POLLIN, 0};
    while (line.size() < 200 && ::poll(&p, 1, 10000) > 0 && ::read(out[0], &c, 1) == 1 && c != '\n')
        line += c;
    ::close(out[0]);
    const auto colon = line.rfind(':');
    if (line.starts_with("listening on ") && colon != std::string::npos)
        port_ = std::atoi(line.c_str() + colon + 1);
}

EmulatorProcess::~EmulatorProcess() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGTERM);
    int status = 0;
    ::waitpid(pid_, &status, 0);
}

DiscardSink::DiscardSink() {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
    ::listen(listener_, 16);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

DiscardSink::~DiscardSink() {
    stopping_ = true;
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
}

void DiscardSink::serve() {
    while (!stopping_) {
        pollfd p{listener_, POLLIN, 0};
        if (::poll(&p, 1, 200) <= 0) continue;
        const int client = ::accept(listener_, nullptr, nullptr);
        if (client < 0) continue;
        answer(client);
        ::close(client);
    }
}

void DiscardSink::answer(int client) {
    std::string head;
    char c;
    while (head.find("\r\n\r\n") == std::string::npos && ::read(client, &c, 1) == 1)
        head += c;
    const auto at = head.find("Content-Length: ");
    long long left = at == std::string::npos ? 0 : std::atoll(head.c_str() + at + 16);
    std::vector<char> buffer(1 << 16);
    while (left > 0) {
        const auto n = ::read(client, buffer.data(), buffer.size());
        if (n <= 0) return;
        left -= n;
    }
    const char* reply =
        "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 37\r\n"
        "Connection: close\r\n\r\n{\"success\":true,\"contentKey\":\"k0001\"}";
    if (::write(client, reply, std::strlen(reply)) < 0) return;
}

}  // namespace nbx::bench
