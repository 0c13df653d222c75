#include "FileChecks.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Configuration.h"
#include "JSONKit.h"
#include "NBXAuthenticationManger.h"
#include "NBXLogger.h"
#include "PropertyListFile.h"

namespace nbx::doctor {

namespace fs = std::filesystem;

namespace {

// The helper applications the agent runs, in their "<Name>.app/Contents/MacOS/<Name>" layout.
constexpr const char* kHelperNames[] = {"PDLM", "Nimbrix Notification", "Nimbrix Setup",
                                        "Valmora Account"};

std::string joined(const std::vector<std::string>& items) {
    std::string text;
    for (const auto& item : items)
        text += (text.empty() ? "" : ", ") + item;
    return text;
}

bool parses(const fs::path& file) {
    if (file.extension() == ".plist") return readPropertyListFile(file.string()).has_value();
    std::ifstream in(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    return in && objectFromJSONData(std::string_view(text)).has_value();
}

// Empty when a new file can be made in the folder and every log there opened for appending.
std::string whyNotWritable(const std::string& folder) {
    std::string probe = folder + "/.nbx-doctor-XXXXXX";
    const int fd = mkstemp(probe.data());
    if (fd < 0) return "no file can be made in " + folder + ": " + std::strerror(errno);
    close(fd);
    unlink(probe.c_str());
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        if (entry.path().extension() != ".log") continue;
        const int log = open(entry.path().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (log < 0)
            return entry.path().string() + " cannot be appended to: " + std::strerror(errno);
        close(log);
    }
    return {};
}

}  // namespace

CheckResult FileChecks::helpers() {
    const fs::path folder = Configuration::helperApplicationFolder();
    std::vector<std::string> programs;
    for (const char* name : kHelperNames)
        programs.push_back(
            (folder / (std::string(name) + ".app") / "Contents/MacOS" / name).string());
    programs.push_back(Configuration::pollingAgentProgram());
    std::vector<std::string> missing;
    for (const auto& program : programs) {
        std::error_code ec;
        if (!fs::is_regular_file(program, ec) || access(program.c_str(), X_OK) != 0)
            missing.push_back(program);
    }
    if (!missing.empty())
        return CheckResult::fail(
            "helpers", "missing or not executable: " + joined(missing),
            "install Nimbrix again (helpers in NBX_HELPER_FOLDER, now " + folder.string() + ")");
    return CheckResult::pass(
        "helpers", std::to_string(programs.size()) + " helper programs in " + folder.string());
}

CheckResult FileChecks::state() {
    const fs::path folder = fs::path(NBXAuthenticationManger::myInfoPath()).parent_path();
    std::error_code ec;
    if (!fs::is_directory(folder, ec))
        return CheckResult::fail("state", "the per-user folder " + folder.string() + " is missing",
                                 "open Nimbrix once: it makes the folder");
    if (access(folder.c_str(), W_OK) != 0)
        return CheckResult::fail(
            "state", "the per-user folder " + folder.string() + " is not writable",
            "give it back to its user: chown -R \"$USER\" \"" + folder.string() + "\"");
    std::vector<std::string> broken;
    int count = 0;
    for (auto it = fs::recursive_directory_iterator(folder, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const fs::path& file = it->path();
        if (!it->is_regular_file(ec) ||
            (file.extension() != ".plist" && file.extension() != ".json"))
            continue;
        ++count;
        if (!parses(file)) broken.push_back(fs::relative(file, folder, ec).string());
    }
    if (!broken.empty())
        return CheckResult::fail(
            "state", "damaged in " + folder.string() + ": " + joined(broken),
            "move the damaged files aside and open Nimbrix; it makes fresh ones (a damaged "
            "MyInfo.plist or va.plist means signing in again)");
    return CheckResult::pass(
        "state", std::to_string(count) + " state files in " + folder.string() + " parse");
}

CheckResult FileChecks::log() {
    const std::string folder = NBXLogger::folderToLog();
    const fs::path userFolder = fs::path(NBXAuthenticationManger::myInfoPath()).parent_path();
    // The logger falls back to /tmp when its own folder cannot be made.
    if (folder == "/tmp")
        return CheckResult::fail(
            "log",
            "the log folder (Logs in " + userFolder.string() +
                ") cannot be made, so the log goes to /tmp",
            "remove or rename what is in the way at " + (userFolder / "Logs").string());
    if (const std::string why = whyNotWritable(folder); !why.empty())
        return CheckResult::fail(
            "log", why, "give the folder back to its user: chown -R \"$USER\" \"" + folder + "\"");
    return CheckResult::pass("log", "the log folder " + folder + " is writable");
}

}  // namespace nbx::doctor
