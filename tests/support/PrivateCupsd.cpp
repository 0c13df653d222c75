#include "PrivateCupsd.h"

#include <arpa/inet.h>
#include <cups/cups.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace nbx::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr const char* kCupsd = "/usr/sbin/cupsd";
constexpr const char* kStockServerBin = "/usr/lib/cups";
constexpr auto kStartTimeout = 15s;
constexpr auto kStopTimeout = 5s;
constexpr int kPortAttempts = 3;

// The kernel hands out a port no one holds; another process could still take it before cupsd
// binds, which start() answers by trying again.
int freeLoopbackPort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) return 0;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    int port = 0;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        port = ntohs(address.sin_port);
    }
    close(fd);
    return port;
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool writeFile(const fs::path& path, const std::string& text) {
    std::ofstream out(path);
    out << text;
    return static_cast<bool>(out.flush());
}

std::string whyCupsdCannotRun() {
    if (geteuid() != 0) return "a private cupsd needs root (it runs filters as user lp)";
    if (access(kCupsd, X_OK) != 0) return std::string(kCupsd) + " is not installed";
    if (access(NBX_BIN_DIR "/nbxbackend", X_OK) != 0) {
        return "nbxbackend is not built in " NBX_BIN_DIR;
    }
    return {};
}

}  // namespace

std::unique_ptr<PrivateCupsd> PrivateCupsd::start(std::string* whyNot,
                                                  Environment backendEnvironment) {
    std::string reason = whyCupsdCannotRun();
    // Not under TMPDIR: that may be a private folder user lp cannot pass through.
    std::string pattern = "/tmp/nbx-cupsd-XXXXXX";
    if (reason.empty() && !mkdtemp(pattern.data())) reason = "cannot make a temporary folder";
    if (!reason.empty()) {
        if (whyNot) *whyNot = reason;
        return nullptr;
    }
    std::unique_ptr<PrivateCupsd> cupsd(new PrivateCupsd(pattern, std::move(backendEnvironment)));
    if (!cupsd->prepareFolders(&reason)) {
        if (whyNot) *whyNot = reason;
        return nullptr;
    }
    for (int attempt = 0; attempt < kPortAttempts; ++attempt) {
        cupsd->port_ = freeLoopbackPort();
        cupsd->pointClientsHere();
        if (cupsd->writeConfiguration(&reason) && cupsd->launch(&reason) &&
            cupsd->waitUntilRunning(&reason)) {
            return cupsd;
        }
        cupsd->stop();
    }
    if (whyNot) *whyNot = reason + "\n" + cupsd->errorLog();
    return nullptr;
}

PrivateCupsd::~PrivateCupsd() {
    stop();
    restoreClients();
    std::error_code ignored;
    fs::remove_all(base_, ignored);
}

std::string PrivateCupsd::server() const {
    return "127.0.0.1:" + std::to_string(port_);
}

std::string PrivateCupsd::errorLog() const {
    return readFile(base_ / "log" / "error_log") + readFile(base_ / "log" / "cupsd.out");
}

// Filters run as lp, so the folders must be reachable by others; cupsd itself refuses
// programs that others can write.
bool PrivateCupsd::prepareFolders(std::string* whyNot) const {
    std::error_code ec;
    fs::permissions(base_,
                    fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                        fs::perms::others_read | fs::perms::others_exec,
                    ec);
    for (const char* folder :
         {"spool", "spool/tmp", "cache", "state", "log", "ppd", "serverbin/backend"}) {
        if (!ec) fs::create_directories(base_ / folder, ec);
    }
    for (const auto& entry : fs::directory_iterator(kStockServerBin, ec)) {
        const auto name = entry.path().filename();
        if (name == "backend") continue;
        fs::create_symlink(entry.path(), base_ / "serverbin" / name, ec);
        if (ec) break;
    }
    for (const auto& entry : fs::directory_iterator(fs::path(kStockServerBin) / "backend", ec)) {
        fs::create_symlink(entry.path(), base_ / "serverbin/backend" / entry.path().filename(), ec);
        if (ec) break;
    }
    const auto backend = base_ / "serverbin/backend/nbxbackend";
    if (!ec) fs::copy_file(NBX_BIN_DIR "/nbxbackend", backend, ec);
    // As installed: for its owner only, so the scheduler runs it as root.
    if (!ec) fs::permissions(backend, fs::perms::owner_all, ec);
    if (ec && whyNot) *whyNot = "cannot prepare " + base_.string() + ": " + ec.message();
    return !ec;
}

bool PrivateCupsd::writeConfiguration(std::string* whyNot) const {
    const std::string base = base_.string();
    std::ostringstream conf;
    conf << "Listen 127.0.0.1:" << port_ << "\n"
         << "Browsing Off\nLogLevel debug\nWebInterface No\n"
         << "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
         << "<Location /admin>\n  Order allow,deny\n  Allow all\n</Location>\n"
         << "<Policy default>\n  <Limit All>\n    Order deny,allow\n  </Limit>\n</Policy>\n"
         // A job the back end asks to retry comes back within a second, not minutes.
         << "JobRetryInterval 1\n";
    std::ostringstream files;
    files << "ServerRoot " << base << "\nStateDir " << base << "/state\nCacheDir " << base
          << "/cache\nRequestRoot " << base << "/spool\nTempDir " << base
          << "/spool/tmp\nServerBin " << base << "/serverbin\nAccessLog " << base
          << "/log/access_log\nErrorLog " << base << "/log/error_log\nPageLog " << base
          << "/log/page_log\nFileDevice yes\nUser lp\nGroup lp\nSystemGroup root\n";
    for (const auto& [name, value] : environment_)
        files << "SetEnv " << name << " " << value << "\n";
    const bool written = writeFile(base_ / "cupsd.conf", conf.str()) &&
                         writeFile(base_ / "cups-files.conf", files.str());
    if (!written && whyNot) *whyNot = "cannot write the scheduler's configuration";
    return written;
}

bool PrivateCupsd::launch(std::string* whyNot) {
    const std::string conf = (base_ / "cupsd.conf").string();
    const std::string files = (base_ / "cups-files.conf").string();
    const std::string output = (base_ / "log" / "cupsd.out").string();
    const char* argv[] = {kCupsd, "-c", conf.c_str(), "-s", files.c_str(), "-f", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    const int error =
        posix_spawn(&pid_, kCupsd, &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        pid_ = -1;
        if (whyNot) *whyNot = std::string("cannot start cupsd: ") + std::strerror(error);
    }
    return error == 0;
}

bool PrivateCupsd::waitUntilRunning(std::string* whyNot) {
    const char* probe = "lpstat -r 2>/dev/null";
    const auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            if (whyNot) *whyNot = "cupsd exited at start";
            return false;
        }
        std::string answer(256, '\0');
        if (FILE* pipe = popen(probe, "r")) {
            answer.resize(std::fread(answer.data(), 1, answer.size(), pipe));
            pclose(pipe);
        }
        if (answer.find("scheduler is running") != std::string::npos) return true;
        std::this_thread::sleep_for(50ms);
    }
    if (whyNot) *whyNot = "cupsd did not answer within the start time";
    return false;
}

void PrivateCupsd::stop() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + kStopTimeout;
    int status = 0;
    while (waitpid(pid_, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status, 0);
            break;
        }
        std::this_thread::sleep_for(20ms);
    }
    pid_ = -1;
}

// libcups remembers the server it last used, so it is told again after each change. A server
// root of our own keeps the machine's client.conf and lpoptions out of the tests.
void PrivateCupsd::pointClientsHere() {
    serverEnv_.emplace("CUPS_SERVER", server());
    serverRootEnv_.emplace("CUPS_SERVERROOT", base_.string());
    cupsSetServer(nullptr);
}

void PrivateCupsd::restoreClients() {
    serverRootEnv_.reset();
    serverEnv_.reset();
    cupsSetServer(nullptr);
}

std::unique_ptr<PrivateCupsd> PrivateCupsdTest::cupsd_;
std::string PrivateCupsdTest::whyNot_;

void PrivateCupsdTest::SetUpTestSuite() {
    cupsd_ = PrivateCupsd::start(&whyNot_);
}

void PrivateCupsdTest::TearDownTestSuite() {
    cupsd_.reset();
}

void PrivateCupsdTest::SetUp() {
    if (!cupsd_) GTEST_SKIP() << "No private cupsd: " << whyNot_;
}

}  // namespace nbx::test
