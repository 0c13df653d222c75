#include "NotificationHelper.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Configuration.h"
#include "NBXUtility.h"

namespace nbx::notification {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr const char* kEntryName = "nbx-polling-agent.desktop";
constexpr const char* kPidFileName = "nbx-polling-agent.pid";
// The agent writes its pid just after taking the lock; this bounds the wait for it.
constexpr auto kPidWait = 1s;
constexpr auto kPollInterval = 50ms;
constexpr auto kReadyWait = 5s;

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

void setError(std::string* error, std::string message) {
    if (error) *error = std::move(message);
}

// A command-line argument as the Exec key wants it: double-quoted with ", `, $ and \ escaped.
std::string execArgument(const std::string& argument) {
    std::string quoted = "\"";
    for (const char c : argument) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

// The entry file's own escapes on top: backslashes doubled, "%" is a field code.
std::string entryValue(const std::string& value) {
    std::string escaped;
    for (const char c : value) {
        if (c == '\\' || c == '%') escaped += c;
        escaped += c;
    }
    return escaped;
}

std::optional<pid_t> pidInFile(int fd) {
    char text[32] = {};
    const ssize_t n = pread(fd, text, sizeof text - 1, 0);
    if (n <= 0) return std::nullopt;
    const char* begin = text;
    const char* end = text + n;
    while (begin < end && (*begin == ' ' || *begin == '\t'))
        ++begin;
    pid_t pid = 0;
    const auto [rest, ec] = std::from_chars(begin, end, pid);
    if (ec != std::errc() || (rest != end && *rest != '\n' && *rest != ' ')) return std::nullopt;
    // 0, 1 and negative numbers would signal process groups or init.
    if (pid <= 1 || pid == getpid()) return std::nullopt;
    return pid;
}

// Runs in the forked grandchild: only async-signal-safe calls until exec.
[[noreturn]] void execDetached(const char* program, char* const argv[], int errorPipe) {
    const int null = open("/dev/null", O_RDWR);
    if (null >= 0) {
        dup2(null, STDIN_FILENO);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        if (null > STDERR_FILENO) close(null);
    }
    // Nothing of ours (sockets, the scheduler's connection) may leak into the agent.
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    struct sigaction defaults {};
    defaults.sa_handler = SIG_DFL;
    for (int sig = 1; sig < NSIG; ++sig)
        sigaction(sig, &defaults, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execv(program, argv);
    const int error = errno;
    [[maybe_unused]] const auto written = write(errorPipe, &error, sizeof error);
    _exit(127);
}

}  // namespace

std::string autostartEntryPath() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    // Relative values are to be ignored, as if unset.
    const std::string folder =
        config && *config == '/' ? std::string(config) : NBXUtility::homeFolder() + "/.config";
    return folder + "/autostart/" + kEntryName;
}

std::string pidFilePath() {
    return NBXUtility::appSupportPathForNBXPollingInfomation() + "/" + kPidFileName;
}

std::optional<std::string> autostartEntry(const std::string& program) {
    if (program.empty()) return std::nullopt;
    for (const char c : program)
        if (static_cast<unsigned char>(c) < 0x20) return std::nullopt;
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Nimbrix\n"
           "Comment=Serves the printers this computer shares\n"
           "Exec=" +
           entryValue(execArgument(program)) +
           "\n"
           "Terminal=false\n"
           "NoDisplay=true\n"
           "X-GNOME-Autostart-enabled=true\n";
}

bool installAutostartEntry(std::string* error) {
    const std::string program = Configuration::pollingAgentProgram();
    const auto entry = autostartEntry(program);
    if (!entry) {
        setError(error,
                 "the polling agent's path cannot be written in an autostart entry: " + program);
        return false;
    }
    const fs::path path = autostartEntryPath();
    std::error_code ec;
    fs::create_directories(path.parent_path(), ec);
    if (ec) {
        setError(error, "cannot make " + path.parent_path().string() + ": " + ec.message());
        return false;
    }
    // Written beside and renamed, so the session never reads half an entry.
    const fs::path temporary = path.string() + ".new";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << *entry;
        out.flush();
        if (!out) {
            setError(error, "cannot write " + temporary.string());
            fs::remove(temporary, ec);
            return false;
        }
    }
    fs::rename(temporary, path, ec);
    if (ec) {
        setError(error, "cannot write " + path.string() + ": " + ec.message());
        fs::remove(temporary, ec);
        return false;
    }
    return true;
}

bool removeAutostartEntry(std::string* error) {
    std::error_code ec;
    const std::string path = autostartEntryPath();
    fs::remove(path, ec);
    if (ec) setError(error, "cannot remove " + path + ": " + ec.message());
    return !ec;
}

AgentStatus agentStatus() {
    AgentStatus status;
    const int fd = open(pidFilePath().c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return status;
    // Taking the lock for a moment is the only way to see whether anyone holds it.
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
        flock(fd, LOCK_UN);
    } else if (errno == EWOULDBLOCK) {
        status.running = true;
        const auto deadline = std::chrono::steady_clock::now() + kPidWait;
        while (true) {
            if (const auto pid = pidInFile(fd)) {
                status.pid = *pid;
                break;
            }
            if (std::chrono::steady_clock::now() >= deadline) break;
            std::this_thread::sleep_for(kPollInterval);
        }
    }
    close(fd);
    return status;
}

bool startAgent(std::string* error) {
    if (agentStatus().running) return true;
    std::string program = Configuration::pollingAgentProgram();
    char* const argv[] = {program.data(), nullptr};
    int errorPipe[2];
    if (pipe2(errorPipe, O_CLOEXEC) != 0) {
        setError(error, systemError("cannot start the polling agent"));
        return false;
    }
    // Forked twice so the agent belongs to no one: a session of its own, and not our child.
    const pid_t child = fork();
    if (child == 0) {
        close(errorPipe[0]);
        setsid();
        const pid_t grandchild = fork();
        if (grandchild != 0) _exit(grandchild < 0 ? 1 : 0);
        execDetached(program.c_str(), argv, errorPipe[1]);
    }
    close(errorPipe[1]);
    if (child < 0) {
        close(errorPipe[0]);
        setError(error, systemError("cannot start the polling agent"));
        return false;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    // The pipe closes on exec; an errno arrives only when exec failed.
    int execError = 0;
    ssize_t n;
    while ((n = read(errorPipe[0], &execError, sizeof execError)) < 0 && errno == EINTR) {
    }
    close(errorPipe[0]);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        setError(error, "cannot start the polling agent: fork failed");
        return false;
    }
    if (n > 0) {
        setError(error, "cannot start " + program + ": " + std::strerror(execError));
        return false;
    }
    // The pid appears once the agent listens, so a request sent after we return is heard.
    const auto deadline = std::chrono::steady_clock::now() + kReadyWait;
    for (AgentStatus s; !(s = agentStatus()).running || s.pid == 0;) {
        if (std::chrono::steady_clock::now() >= deadline) {
            setError(error, "the polling agent did not come up within 5 s");
            return false;
        }
        std::this_thread::sleep_for(kPollInterval);
    }
    return true;
}

bool stopAgent(std::chrono::milliseconds wait, std::string* error) {
    const AgentStatus status = agentStatus();
    if (!status.running) return true;
    if (status.pid == 0) {
        setError(error, "the polling agent runs but its pid file names no process");
        return false;
    }
    if (kill(status.pid, SIGTERM) != 0 && errno != ESRCH) {
        setError(error, systemError("cannot stop the polling agent"));
        return false;
    }
    const auto deadline = std::chrono::steady_clock::now() + wait;
    while (agentStatus().running) {
        if (std::chrono::steady_clock::now() >= deadline) {
            setError(error, "the polling agent did not stop within " +
                                std::to_string(wait.count()) + " ms");
            return false;
        }
        std::this_thread::sleep_for(kPollInterval);
    }
    return true;
}

int run(const std::vector<std::string>& args, std::ostream& errors) {
    const bool add = args.size() == 1 && args[0] == "-add";
    const bool remove = args.size() == 1 && args[0] == "-remove";
    if (!add && !remove) {
        errors << kUsage;
        return 2;
    }
    std::string entryError, agentError;
    const bool entryDone =
        add ? installAutostartEntry(&entryError) : removeAutostartEntry(&entryError);
    const bool agentDone = add ? startAgent(&agentError) : stopAgent(kStopWait, &agentError);
    for (const std::string* message : {&entryError, &agentError})
        if (!message->empty()) errors << "Nimbrix Notification: " << *message << "\n";
    return entryDone && agentDone ? 0 : 1;
}

}  // namespace nbx::notification
