#include "Configuration.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace nbx::Configuration {

namespace {

std::string fromEnvironment(const char* name, std::string fallback) {
    const char* value = std::getenv(name);
    return value && *value ? std::string(value) : std::move(fallback);
}

std::filesystem::path executableFolder() {
    std::error_code ec;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::current_path(ec) : exe.parent_path();
}

}  // namespace

std::string helperApplicationFolder() {
    return fromEnvironment("NBX_HELPER_FOLDER", "/Library/Printers/Valmora/Nimbrix/");
}

std::string pollingAgentProgram() {
    return fromEnvironment("NBX_POLLING_AGENT", helperApplicationFolder() + "nbx-polling-agent");
}

std::string printerDescriptionFile() {
    return fromEnvironment("NBX_PPD_FILE", "/Library/Printers/PPDs/Contents/Resources/Nimbrix.gz");
}

std::string lookupServer() {
    return fromEnvironment("NBX_LOOKUP_SERVER", "svclookup.nimbrix.example");
}

std::string deviceUriHost() {
    return fromEnvironment("NBX_DEVICE_HOST", "print.nimbrix.example");
}

std::string resourcesFolder() {
    return fromEnvironment("NBX_RESOURCES",
                           (executableFolder() / ".." / "share" / "nimbrix").lexically_normal());
}

std::string agentProgram() {
    return fromEnvironment("NBX_AGENT_PROGRAM", NBX_AGENT_INSTALL_PATH);
}

std::string sessionFolder(unsigned uid) {
    return fromEnvironment("NBX_SESSION_FOLDER", "/run/user/" + std::to_string(uid));
}

std::string jobUserHome(const std::string& fromUserDatabase) {
    return fromEnvironment("NBX_JOB_HOME", fromUserDatabase);
}

std::string flagsFolder() {
    return fromEnvironment("NBX_FLAGS_FOLDER", "/usr/share/flags/countries/16x11");
}

std::string cupsServerBin() {
    return fromEnvironment("NBX_CUPS_SERVERBIN", "/usr/lib/cups");
}

}  // namespace nbx::Configuration
