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

#ifdef NBX_PACKAGED
// An installed package finds its parts from where it was unpacked: the nearest folder above the
// program holding share/nimbrix. Programs sit at different depths (bin/, lib/cups/backend/, the
// helper folder), and a copy extracted into any root must work as well as one under /usr.
std::filesystem::path installRoot() {
    std::error_code ec;
    for (auto folder = executableFolder(); folder.has_relative_path();
         folder = folder.parent_path())
        if (std::filesystem::is_directory(folder / "share" / "nimbrix", ec)) return folder;
    return executableFolder() / "..";
}

std::string defaultHelperFolder() {
    return (installRoot() / NBX_HELPER_INSTALL_DIR / "").lexically_normal();
}

std::string defaultPrinterDescriptionFile() {
    return resourcesFolder() + "/ppd/Nimbrix.gz";
}

std::string defaultAgentProgram() {
    return (installRoot() / NBX_AGENT_INSTALL_PATH).lexically_normal();
}
#else
std::filesystem::path installRoot() {
    return executableFolder() / "..";
}

std::string defaultHelperFolder() {
    return "/Library/Printers/Valmora/Nimbrix/";
}

std::string defaultPrinterDescriptionFile() {
    return "/Library/Printers/PPDs/Contents/Resources/Nimbrix.gz";
}

std::string defaultAgentProgram() {
    return NBX_AGENT_INSTALL_PATH;
}
#endif

}  // namespace

std::string helperApplicationFolder() {
    return fromEnvironment("NBX_HELPER_FOLDER", defaultHelperFolder());
}

std::string pollingAgentProgram() {
    return fromEnvironment("NBX_POLLING_AGENT", helperApplicationFolder() + "nbx-polling-agent");
}

std::string printerDescriptionFile() {
    return fromEnvironment("NBX_PPD_FILE", defaultPrinterDescriptionFile());
}

std::string lookupServer() {
    return fromEnvironment("NBX_LOOKUP_SERVER", "svclookup.nimbrix.example");
}

std::string deviceUriHost() {
    return fromEnvironment("NBX_DEVICE_HOST", "print.nimbrix.example");
}

std::string resourcesFolder() {
    return fromEnvironment("NBX_RESOURCES",
                           (installRoot() / "share" / "nimbrix").lexically_normal());
}

std::string agentProgram() {
    return fromEnvironment("NBX_AGENT_PROGRAM", defaultAgentProgram());
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
