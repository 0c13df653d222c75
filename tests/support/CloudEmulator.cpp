#include "CloudEmulator.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>

#include "JSONKit.h"

extern char** environ;

namespace nbx::test {
namespace {

constexpr int kExchangeTimeoutMs = 30000;
constexpr const char* kListeningPrefix = "listening on 127.0.0.1:";

struct RawReply {
    int status = 0;
    std::string body;
};

bool sendAll(int fd, const std::string& data) {
    for (std::size_t sent = 0; sent < data.size();) {
        ssize_t n = send(fd, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) return false;
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

// The emulator closes every connection after its answer, so reading to the end is enough.
bool readAll(int fd, std::string* out) {
    char buffer[16384];
    for (;;) {
        pollfd ready{fd, POLLIN, 0};
        if (poll(&ready, 1, kExchangeTimeoutMs) <= 0) return false;
        ssize_t n = recv(fd, buffer, sizeof buffer, 0);
        if (n < 0) return false;
        if (n == 0) return true;
        out->append(buffer, static_cast<std::size_t>(n));
    }
}

std::optional<RawReply> exchange(int port, const std::string& method, const std::string& path,
                                 const std::string& body) {
    int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return std::nullopt;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string request =
        method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
        "\r\nConnection: close\r\n" +
        "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\n\r\n" + body;
    std::string raw;
    bool done = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                sendAll(fd, request) && readAll(fd, &raw);
    close(fd);
    auto headerEnd = raw.find("\r\n\r\n");
    if (!done || raw.rfind("HTTP/1.1 ", 0) != 0 || headerEnd == std::string::npos) {
        return std::nullopt;
    }
    return RawReply{std::atoi(raw.c_str() + 9), raw.substr(headerEnd + 4)};
}

}  // namespace

CloudEmulator::CloudEmulator(std::vector<std::string> extraArguments) {
    std::vector<std::string> arguments{NBX_BIN_DIR "/nimbrix-cloud-emulator", "--port", "0",
                                       "--quiet"};
    arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
    start(arguments);
}

CloudEmulator::~CloudEmulator() {
    stop();
}

void CloudEmulator::start(const std::vector<std::string>& arguments) {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "pipe: " << std::strerror(errno);
        return;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    // The test process may block or ignore signals; the emulator needs the defaults.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    for (int signal : {SIGTERM, SIGINT, SIGPIPE})
        sigaddset(&defaults, signal);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    int failed = posix_spawn(&pid_, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(pipeFds[1]);
    if (failed != 0) {
        pid_ = -1;
        close(pipeFds[0]);
        ADD_FAILURE() << "cannot start " << argv[0] << ": " << std::strerror(failed);
        return;
    }
    if (!readFirstLine(pipeFds[0])) {
        ADD_FAILURE() << "the emulator did not report its port";
        close(pipeFds[0]);
        stop();
        return;
    }
    int fd = pipeFds[0];
    drainer_ = std::thread([this, fd] { drain(fd); });
}

bool CloudEmulator::readFirstLine(int fd) {
    std::string line;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kStartTimeoutMs);
    char c = 0;
    while (line.size() < 256) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd ready{fd, POLLIN, 0};
        if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) <= 0) return false;
        if (read(fd, &c, 1) != 1) return false;
        if (c == '\n') break;
        line += c;
    }
    if (line.rfind(kListeningPrefix, 0) != 0) return false;
    port_ = std::atoi(line.c_str() + std::strlen(kListeningPrefix));
    return port_ > 0;
}

// Keeps the emulator from blocking on a full pipe; nothing reads what it prints.
void CloudEmulator::drain(int fd) {
    char buffer[4096];
    while (read(fd, buffer, sizeof buffer) > 0) {
    }
    close(fd);
}

bool CloudEmulator::stop() {
    if (pid_ <= 0) return false;
    kill(pid_, SIGTERM);
    int status = 0;
    pid_t done = 0;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kStopTimeoutMs);
    while ((done = waitpid(pid_, &status, WNOHANG)) == 0 &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    bool clean = done == pid_ && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (done == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
    }
    pid_ = -1;
    if (drainer_.joinable()) drainer_.join();
    return clean;
}

PropertyValue CloudEmulator::admin(const std::string& method, const std::string& path,
                                   const PropertyValue& body) {
    std::string text;
    if (!body.isNull()) {
        auto bytes = JSONData(body);
        if (!bytes) {
            ADD_FAILURE() << "cannot encode the admin body for " << path;
            return {};
        }
        text.assign(bytes->begin(), bytes->end());
    }
    auto reply = exchange(port_, method, path, text);
    if (!reply) {
        ADD_FAILURE() << method << " " << path << ": no answer from the emulator";
        return {};
    }
    auto decoded = objectFromJSONData(reply->body);
    if (!decoded) {
        ADD_FAILURE() << method << " " << path << ": answer is not JSON: " << reply->body;
        return {};
    }
    return *decoded;
}

void CloudEmulator::expectSuccess(const PropertyValue& answer, const std::string& what) {
    EXPECT_TRUE(answer["success"].isTrue()) << what << ": " << answer.description();
}

void CloudEmulator::reset() {
    expectSuccess(admin("POST", "/__admin/reset"), "reset");
}

void CloudEmulator::seed(const PropertyValue& state) {
    expectSuccess(admin("POST", "/__admin/seed", state), "seed");
}

PropertyValue CloudEmulator::requests() {
    return admin("GET", "/__admin/requests")["requests"];
}

void CloudEmulator::clearRequests() {
    expectSuccess(admin("DELETE", "/__admin/requests"), "clear requests");
}

std::optional<std::string> CloudEmulator::latestPin(const std::string& countryCode,
                                                    const std::string& phoneNumber) {
    PropertyValue pins = admin("GET", "/__admin/pins")["pins"];
    for (std::size_t i = pins.size(); i-- > 0;) {
        const PropertyValue& pin = pins.at(i);
        if (pin["countryCode"].string() == countryCode &&
            pin["phoneNumber"].string() == phoneNumber) {
            return pin["pin"].string();
        }
    }
    return std::nullopt;
}

void CloudEmulator::injectFault(const PropertyValue& fault) {
    expectSuccess(admin("POST", "/__admin/faults", fault), "fault");
}

void CloudEmulator::clearFaults() {
    expectSuccess(admin("DELETE", "/__admin/faults"), "clear faults");
}

PropertyValue CloudEmulator::state() {
    return admin("GET", "/__admin/state");
}

PropertyValue CloudEmulator::pushJob(const PropertyValue& job) {
    return admin("POST", "/__admin/jobs", job);
}

PropertyValue CloudEmulator::jobs() {
    return admin("GET", "/__admin/jobs")["jobs"];
}

}  // namespace nbx::test
