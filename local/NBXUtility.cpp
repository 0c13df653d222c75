#include "NBXUtility.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <mutex>

#include "Configuration.h"
#include "CryptoLibrary.h"
#include "NBXAuthenticationManger.h"
#include "PropertyListFile.h"

namespace nbx {

namespace fs = std::filesystem;

namespace {

std::string uniqueString() {
    unsigned char b[16] = {};
    const CryptoLibrary* c = CryptoLibrary::get();
    if (!c || c->randomBytes(b, sizeof b) != 1) {
        const auto seed = static_cast<unsigned long long>(std::time(nullptr)) ^ getpid();
        for (unsigned i = 0; i < sizeof b; ++i)
            b[i] = static_cast<unsigned char>(seed >> (8 * (i % 8)));
    }
    char text[40];
    std::snprintf(text, sizeof text,
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0],
                  b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text;
}

std::string makeDebugFolder() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d-%H-%M", &local);
    const fs::path folder = fs::path("/tmp/NBX_BE") / (std::string(stamp) + "_" + uniqueString());
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) return "/tmp";
    fs::permissions(folder, fs::perms::all, ec);
    return ec ? "/tmp" : folder.string();
}

}  // namespace

PropertyValue NBXUtility::infoDictionary() {
    // Start-up asks for it several times; it is read again only when the file changed.
    struct Read {
        std::string path;
        fs::file_time_type time;
        std::uintmax_t size = 0;
        PropertyValue value;
    };
    static std::mutex mutex;
    static Read last;
    const std::string path = Configuration::resourcesFolder() + "/Info.plist";
    std::error_code ec;
    const auto time = fs::last_write_time(path, ec);
    const auto size = ec ? 0 : fs::file_size(path, ec);
    std::lock_guard lock(mutex);
    if (ec || path != last.path || time != last.time || size != last.size) {
        auto info = readPropertyListFile(path);
        last = {path, time, size,
                info && info->isDictionary() ? std::move(*info) : PropertyValue()};
        if (ec) last.path.clear();
    }
    return last.value;
}

bool NBXUtility::checkIfDebugIsEnabledInBundle() {
    const PropertyValue info = infoDictionary();
    const PropertyValue& debug = info["DEBUG"];
    return debug.isNumber() && debug.isTrue();
}

std::string NBXUtility::pathToDebugFolder() {
    static const std::string folder = makeDebugFolder();
    return folder;
}

std::string NBXUtility::createFolderPath(const std::string& path) {
    std::error_code ec;
    if (path.empty()) return "/tmp";
    if (fs::is_directory(path, ec)) return path;
    fs::create_directories(path, ec);
    return !ec && fs::is_directory(path, ec) ? path : "/tmp";
}

std::string NBXUtility::homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    const passwd* user = getpwuid(getuid());
    return user && user->pw_dir ? user->pw_dir : "/";
}

std::string NBXUtility::temporaryFolder() {
    const char* tmp = std::getenv("TMPDIR");
    std::string folder = tmp && *tmp ? tmp : "/tmp/";
    if (folder.back() != '/') folder += '/';
    return folder;
}

std::string NBXUtility::appSupportPathForNBX() {
    return createFolderPath(
        (fs::path(homeFolder()) / "Library" / "Application Support" / "Valmora" / "Nimbrix")
            .string());
}

std::string NBXUtility::appSupportPathForNBXPollingInfomation() {
    return createFolderPath(appSupportPathForNBX() + "/PollingData");
}

std::string NBXUtility::appSupportPathForNBXPollingJobDownloadedFolder() {
    return createFolderPath(appSupportPathForNBX() + "/DownloadedJobs");
}

std::string NBXUtility::pathToJobPlistFileFromNBXSetting() {
    return temporaryFolder() + "NBX_JobDetails.plist";
}

bool NBXUtility::isThisXMLContent(const Bytes& content) {
    const std::string text = SafeStringFromNSData(&content);
    return text.rfind("<?xml", 0) == 0;
}

std::optional<std::string> NBXUtility::valmoraAccessToken() {
    const auto file = readPropertyListFile(appSupportPathForNBX() + "/va.plist");
    if (!file) return std::nullopt;
    const Bytes* token = (*file)["accessToken"].data();
    return token ? stringByAESDecryption(*token) : std::nullopt;
}

std::string NBXUtility::safeStringFromNSData(const Bytes* bytes) {
    return SafeStringFromNSData(bytes);
}

}  // namespace nbx
