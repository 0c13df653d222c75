// A direct print as a whole process, from launch to exit with the job target file written,
// against a bare Qt Widgets program that starts and quits; the cloud emulator answers on
// loopback. The "ratio" counter is agent time over bare time (medians).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "NBXAuthenticationManger.h"
#include "PropertyListFile.h"
#include "RatioBench.h"
#include "StateFiles.h"

extern char** environ;

namespace {

const std::string kAgent = NBX_BIN_DIR "/nimbrix-agent";
const std::string kBare = NBX_BIN_DIR "/bench-bare-window";
const std::string kEmulator = NBX_BIN_DIR "/nimbrix-cloud-emulator";

// The signed-in user's own printer, the direct target.
const char* const kCloudState = R"({
  "users": [{"countryCode": "82", "phoneNumber": "101234"}],
  "agents": [{"agentId": "hall", "agentType": "PRT_AGENT", "agentAlias": "Hall",
              "agentMacAddress": "0a0b", "supportedSides": "DUPLEX/SIMPLEX",
              "owner": {"countryCode": "82", "phoneNumber": "101234"}}]
})";

pid_t spawn(const std::vector<std::string>& arguments, int stdoutFd = -1) {
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (stdoutFd >= 0) {
        posix_spawn_file_actions_adddup2(&actions, stdoutFd, STDOUT_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    }
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int failed = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return failed == 0 ? pid : -1;
}

// The emulator for the whole program, its address in NBX_LOOKUP_SERVER.
class Emulator {
public:
    explicit Emulator(const std::string& stateFile) {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0) return;
        pid_ =
            spawn({kEmulator, "--port", "0", "--quiet", "--no-token-check", "--state", stateFile},
                  fds[1]);
        close(fds[1]);
        // The first line: "listening on 127.0.0.1:PORT".
        std::string line;
        char c = 0;
        while (read(fds[0], &c, 1) == 1 && c != '\n')
            line += c;
        // Kept open: a closed pipe would end the emulator at its next line.
        output_ = fds[0];
        const auto at = line.rfind(' ');
        if (pid_ > 0 && at != std::string::npos) {
            setenv("NBX_LOOKUP_SERVER", line.substr(at + 1).c_str(), 1);
            ok_ = true;
        }
    }
    ~Emulator() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
        if (output_ >= 0) close(output_);
    }
    bool ok() const { return ok_; }

private:
    pid_t pid_ = -1;
    int output_ = -1;
    bool ok_ = false;
};

// A throw-away home holding the signed-in identity and a direct print to the own printer; no
// reachable print scheduler; offscreen unless a display is there.
std::string prepareHome() {
    std::string home = (std::filesystem::temp_directory_path() / "nbx-bench-XXXXXX").string();
    if (!mkdtemp(home.data())) return "";
    setenv("HOME", home.c_str(), 1);
    setenv("CUPS_SERVER", "127.0.0.1:9", 1);
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) {
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    }
    using nbx::PropertyValue;
    using nbx::StateFiles;
    const std::string preferences = StateFiles::pathTo(StateFiles::kJobPreferenceFile);
    std::filesystem::create_directories(std::filesystem::path(preferences).parent_path());
    nbx::NBXAuthenticationManger::makeAuthInfoWithKey("82", "101234", [] {});
    nbx::writePropertyListFile(
        preferences, PropertyValue::dictionary(
                         {{"DirectPrint", "TRUE"},
                          {"SendInfo", PropertyValue::dictionary({{"Type", "Printer"},
                                                                  {"ModelName", "Hall"},
                                                                  {"MACAddress", "0a0b"}})}}));
    std::ofstream(home + "/cloud-state.json") << kCloudState;
    return home;
}

// Seconds from spawn to exit, or a negative value when the program failed or, for the agent,
// wrote no target file.
double runOnce(const std::vector<std::string>& arguments, const std::string& target = "") {
    if (!target.empty()) std::remove(target.c_str());
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = spawn(arguments);
    if (pid < 0) return -1;
    int status = 0;
    waitpid(pid, &status, 0);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const bool ok = WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
                    (target.empty() || std::filesystem::exists(target));
    return ok ? seconds : -1;
}

void BM_DirectPrintOverBareRatio(benchmark::State& state) {
    const std::string home = prepareHome();
    Emulator emulator(home + "/cloud-state.json");
    if (home.empty() || !emulator.ok()) {
        state.SkipWithError("cannot prepare the home or start the emulator");
        return;
    }
    const std::string target = home + "/job-target.plist";
    const std::vector<std::string> agentRun = {
        kAgent,          "-TotalPages:3",  "-ColorModel:Gray",    "-Duplex:None",
        "-PaperSize:A4", "-TotalCopies:1", "-nbxtarget:" + target};
    nbx::bench::measureRatio(
        state, [&] { return runOnce(agentRun, target); },
        [] {
            return runOnce({kBare, "--no-window"});
        },
        "a run failed or wrote no target file");
    std::error_code ec;
    std::filesystem::remove_all(home, ec);
}

BENCHMARK(BM_DirectPrintOverBareRatio)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
