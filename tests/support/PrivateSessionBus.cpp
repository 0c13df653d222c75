#include "PrivateSessionBus.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <thread>

extern char** environ;

namespace nbx::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr const char* kDaemon = "/usr/bin/dbus-daemon";

bool accepts(const fs::path& socketPath) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
    const bool ok =
        fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0) close(fd);
    return ok;
}

}  // namespace

PrivateSessionBus::PrivateSessionBus(fs::path base) : base_(std::move(base)) {}

std::unique_ptr<PrivateSessionBus> PrivateSessionBus::start(std::string* whyNot) {
    char pattern[] = "/tmp/nbx-bus-XXXXXX";
    if (!mkdtemp(pattern)) {
        if (whyNot) *whyNot = "no temporary folder";
        return nullptr;
    }
    std::unique_ptr<PrivateSessionBus> bus(new PrivateSessionBus(pattern));
    const fs::path socketPath = bus->base_ / "bus";
    const std::string config = (bus->base_ / "session.conf").string();
    std::ofstream(config) << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus "
                             "Configuration 1.0//EN\"\n"
                             " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                             "<busconfig><type>session</type><listen>unix:path="
                          << socketPath.string()
                          << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                             "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                             "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
    const std::string configArgument = "--config-file=" + config;
    const char* argv[] = {kDaemon, configArgument.c_str(), "--nofork", "--nopidfile", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    const int error =
        posix_spawn(&bus->pid_, kDaemon, &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        bus->pid_ = -1;
        if (whyNot) *whyNot = std::string("cannot start dbus-daemon: ") + std::strerror(error);
        return nullptr;
    }
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!accepts(socketPath)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            if (whyNot) *whyNot = "dbus-daemon did not open its socket";
            return nullptr;
        }
        std::this_thread::sleep_for(10ms);
    }
    bus->address_.emplace("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + socketPath.string());
    return bus;
}

PrivateSessionBus::~PrivateSessionBus() {
    address_.reset();
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        int status = 0;
        waitpid(pid_, &status, 0);
    }
    std::error_code ignored;
    fs::remove_all(base_, ignored);
}

}  // namespace nbx::test
