#include "UserSession.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Configuration.h"

namespace nbx::backend {

namespace {

std::atomic<bool> terminationRequested = false;

void requestTermination(int) {
    terminationRequested = true;
}

bool startsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

// Settings an administrator gives the scheduler for its back ends, passed on to the agent. The
// scheduler's own server name is for filters; the agent finds it in the client configuration.
bool passedOn(const std::string& variable) {
    for (const char* prefix : {"NBX_", "QT_", "CUPS_SERVERROOT=", "LANG=", "LC_ALL="})
        if (startsWith(variable, prefix)) return true;
    return false;
}

bool graphical(const std::string& variable) {
    for (const char* prefix : {"DISPLAY=", "WAYLAND_DISPLAY=", "XAUTHORITY=", "XDG_SESSION_TYPE=",
                               "XDG_CURRENT_DESKTOP=", "LANG=", "QT_QPA_PLATFORM="})
        if (startsWith(variable, prefix)) return true;
    return false;
}

}  // namespace

UserSession::UserSession(std::string name, uid_t uid, gid_t gid, std::string home)
    : name_(std::move(name)), uid_(uid), gid_(gid), home_(std::move(home)) {}

std::optional<UserSession> UserSession::forUser(const std::string& name) {
    const passwd* entry = getpwnam(name.c_str());
    if (!entry) return std::nullopt;
    return UserSession(entry->pw_name, entry->pw_uid, entry->pw_gid,
                       Configuration::jobUserHome(entry->pw_dir ? entry->pw_dir : "/"));
}

std::string UserSession::busAddress() const {
    return "unix:path=" + Configuration::sessionFolder(uid_) + "/bus";
}

bool UserSession::become(std::string* whyNot) {
    if (geteuid() == 0 && uid_ != 0) {
        if (initgroups(name_.c_str(), gid_) != 0 || setgid(gid_) != 0 || setuid(uid_) != 0 ||
            setuid(0) == 0) {
            *whyNot = std::string("cannot act as ") + name_ + ": " + std::strerror(errno);
            return false;
        }
    } else if (geteuid() != uid_) {
        *whyNot = "the back end runs as another user and cannot reach " + name_ +
                  "'s session; install it executable by its owner only, so it runs as root";
        return false;
    }
    setenv("HOME", home_.c_str(), 1);
    setenv("USER", name_.c_str(), 1);
    setenv("LOGNAME", name_.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", Configuration::sessionFolder(uid_).c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", busAddress().c_str(), 1);
    return true;
}

bool UserSession::isReachable(std::string* whyNot) const {
    const std::string path = Configuration::sessionFolder(uid_) + "/bus";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        *whyNot = "the session folder's path is too long";
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ucred peer{};
    socklen_t length = sizeof peer;
    const bool connected =
        fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0;
    if (fd >= 0) close(fd);
    if (!connected) {
        *whyNot = name_ + " is not logged in (no session bus at " + path + ")";
        return false;
    }
    if (peer.uid != uid_) {
        *whyNot = "the session bus at " + path + " does not belong to " + name_;
        return false;
    }
    return true;
}

// The desktop exports its display to the session's service manager; a session without one
// (or a test's) relies on the scheduler's settings instead.
std::vector<std::string> UserSession::graphicalVariables() const {
    std::vector<std::string> found;
    sd_bus* bus = nullptr;
    sd_bus_error error = SD_BUS_ERROR_NULL;
    char** variables = nullptr;
    if (sd_bus_open_user(&bus) >= 0 &&
        sd_bus_get_property_strv(bus, "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                 "org.freedesktop.systemd1.Manager", "Environment", &error,
                                 &variables) >= 0 &&
        variables) {
        for (char** v = variables; *v; ++v) {
            if (graphical(*v)) found.emplace_back(*v);
            free(*v);
        }
        free(variables);
    }
    sd_bus_error_free(&error);
    sd_bus_flush_close_unref(bus);
    return found;
}

std::vector<std::string> UserSession::agentEnvironment() const {
    std::vector<std::string> environment;
    // The first of a name wins: the basics, then the session's own, then the scheduler's.
    auto add = [&](const std::string& variable) {
        const std::string name = variable.substr(0, variable.find('=') + 1);
        for (const auto& present : environment)
            if (startsWith(present, name.c_str())) return;
        environment.push_back(variable);
    };
    for (const std::string& variable : {"HOME=" + home_, "USER=" + name_, "LOGNAME=" + name_,
                                        std::string("PATH=/usr/local/bin:/usr/bin:/bin"),
                                        "XDG_RUNTIME_DIR=" + Configuration::sessionFolder(uid_),
                                        "DBUS_SESSION_BUS_ADDRESS=" + busAddress()})
        add(variable);
    for (const std::string& variable : graphicalVariables())
        add(variable);
    for (char** v = environ; *v; ++v)
        if (passedOn(*v) || graphical(*v)) add(*v);
    return environment;
}

bool terminationWasRequested() {
    return terminationRequested;
}

int runAndWait(const std::string& program, const std::vector<std::string>& arguments,
               const std::vector<std::string>& environment) {
    std::vector<char*> argv = {const_cast<char*>(program.c_str())};
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const auto& variable : environment)
        envp.push_back(const_cast<char*>(variable.c_str()));
    envp.push_back(nullptr);

    struct sigaction action {
    }, previous{};
    action.sa_handler = requestTermination;
    sigaction(SIGTERM, &action, &previous);
    // The agent keeps its own log; its chatter is not the scheduler's business.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = -1;
    const int spawned =
        posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) return -1;
    int status = 0;
    bool passed = false;
    bool waited = true;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            waited = false;
            break;
        }
        if (terminationRequested && !passed) {
            kill(pid, SIGTERM);
            passed = true;
        }
    }
    sigaction(SIGTERM, &previous, nullptr);
    return waited && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace nbx::backend
