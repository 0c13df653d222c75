// Time from process start to the main window's first paint (not to its exit): the agent against a
// bare Qt Widgets program, in the same run: an empty window, and one with as many text widgets as
// the agent's first screen. The "ratio" counters are agent time over bare time (medians).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "RatioBench.h"

extern char** environ;

namespace {

const std::string kAgent = NBX_BIN_DIR "/nimbrix-agent";
const std::string kBare = NBX_BIN_DIR "/bench-bare-window";

// A throw-away home, no reachable print scheduler, offscreen unless a display is there.
void prepareEnvironment() {
    static bool done = false;
    if (done) return;
    done = true;
    std::string home = (std::filesystem::temp_directory_path() / "nbx-bench-XXXXXX").string();
    if (mkdtemp(home.data())) setenv("HOME", home.c_str(), 1);
    setenv("CUPS_SERVER", "127.0.0.1:9", 1);
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) {
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    }
}

// Seconds from spawn to the program's "painted" line on standard output, or a negative value
// when it failed. Its exit comes after and is not timed.
double runOnce(const std::string& program, const char* option = nullptr) {
    std::vector<char*> argv = {const_cast<char*>(program.c_str()),
                               const_cast<char*>("--quit-after-show"), const_cast<char*>(option),
                               nullptr};
    int out[2];
    if (pipe(out) != 0) return -1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    const auto start = std::chrono::steady_clock::now();
    pid_t pid = -1;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    std::string said;
    char buffer[64];
    ssize_t got = 0;
    while (spawned == 0 && said.find("painted") == std::string::npos &&
           (got = read(out[0], buffer, sizeof buffer)) > 0)
        said.append(buffer, got);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    close(out[0]);
    if (spawned != 0) return -1;
    int status = 0;
    waitpid(pid, &status, 0);
    const bool painted = said.find("painted") != std::string::npos;
    return painted && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? seconds : -1;
}

void BM_StartupToFirstPaint(benchmark::State& state, const std::string& program) {
    prepareEnvironment();
    for (auto _ : state) {
        const double seconds = runOnce(program);
        if (seconds < 0) {
            state.SkipWithError(("cannot run " + program).c_str());
            return;
        }
        state.SetIterationTime(seconds);
    }
}

void BM_AgentOverBareRatio(benchmark::State& state, const char* bareOption) {
    prepareEnvironment();
    nbx::bench::measureRatio(
        state, [] { return runOnce(kAgent); }, [=] { return runOnce(kBare, bareOption); },
        "cannot run the programs");
}

BENCHMARK_CAPTURE(BM_StartupToFirstPaint, agent, kAgent)
    ->UseManualTime()
    ->Iterations(10)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_StartupToFirstPaint, bare, kBare)
    ->UseManualTime()
    ->Iterations(10)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_AgentOverBareRatio, empty_window, nullptr)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_AgentOverBareRatio, text_widgets, "--text-widgets")
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
