#include "PollingFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "NBXUtility.h"
#include "PropertyListFile.h"

namespace nbx::polling {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMaxJobIdLength = 128;

std::string text(const PropertyValue& value, std::string_view key) {
    return value[key].string().value_or("");
}

}  // namespace

PropertyValue Registration::toPropertyList() const {
    return PropertyValue::dictionary({{"agentId", agentId},
                                      {"Alias", alias},
                                      {"agentMacAddress", agentMacAddress},
                                      {"ModelName", modelName},
                                      {"MDL", mdl},
                                      {"Address", queue},
                                      {"BindPhone_CountryCode", countryCode},
                                      {"BindPhone_Number", phoneNumber}});
}

std::optional<Registration> Registration::fromPropertyList(const PropertyValue& value) {
    Registration r{text(value, "agentId"),
                   text(value, "Alias"),
                   text(value, "agentMacAddress"),
                   text(value, "ModelName"),
                   text(value, "MDL"),
                   text(value, "Address"),
                   text(value, "BindPhone_CountryCode"),
                   text(value, "BindPhone_Number")};
    if (r.agentId.empty() || r.queue.empty()) return std::nullopt;
    return r;
}

namespace PollingFiles {

std::string registrationPath() {
    return NBXUtility::appSupportPathForNBXPollingInfomation() + "/PollingInfo.plist";
}

std::string ledgerPath() {
    return NBXUtility::appSupportPathForNBXPollingInfomation() + "/JobLedger.plist";
}

std::string lockPath() {
    return NBXUtility::appSupportPathForNBXPollingInfomation() + "/nbx-polling-agent.pid";
}

std::optional<Registration> loadRegistration() {
    const auto file = readPropertyListFile(registrationPath());
    return file ? Registration::fromPropertyList(*file) : std::nullopt;
}

bool saveRegistration(const Registration& registration) {
    return writePropertyListAtomically(registrationPath(), registration.toPropertyList());
}

void removeRegistration() {
    std::error_code ec;
    fs::remove(registrationPath(), ec);
}

PropertyDictionary loadLedger() {
    const auto file = readPropertyListFile(ledgerPath());
    if (!file || !file->dictionaryPtr()) return {};
    return *file->dictionaryPtr();
}

bool saveLedger(const PropertyDictionary& ledger) {
    return writePropertyListAtomically(ledgerPath(), PropertyValue(ledger));
}

bool isSafeJobId(std::string_view jobId) {
    if (jobId.empty() || jobId.size() > kMaxJobIdLength || jobId.front() == '.') return false;
    for (const char c : jobId) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
        if (!plain) return false;
    }
    return true;
}

std::string downloadedJobPath(const std::string& jobId) {
    return NBXUtility::appSupportPathForNBXPollingJobDownloadedFolder() + "/" + jobId;
}

bool writeFileAtomically(const std::string& path, const Bytes& bytes) {
    const std::string temporary = path + ".part";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        out.flush();
        if (!out) return false;
    }
    std::error_code ec;
    fs::rename(temporary, path, ec);
    if (ec) fs::remove(temporary, ec);
    return !ec;
}

bool writePropertyListAtomically(const std::string& path, const PropertyValue& value) {
    const std::string temporary = path + ".new";
    if (!writePropertyListFile(temporary, value)) return false;
    std::error_code ec;
    fs::rename(temporary, path, ec);
    return !ec;
}

}  // namespace PollingFiles

bool InstanceLock::acquire(const std::string& path, std::string* whyNot) {
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        *whyNot = "cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    for (int attempt = 0; ::flock(fd_, LOCK_EX | LOCK_NB) != 0; ++attempt) {
        if (errno != EWOULDBLOCK || attempt == 20) {
            *whyNot = errno == EWOULDBLOCK ? "another instance is running"
                                           : std::string("cannot lock: ") + std::strerror(errno);
            ::close(fd_);
            fd_ = -1;
            return false;
        }
        ::usleep(50'000);
    }
    if (::ftruncate(fd_, 0) != 0)
        *whyNot = std::string("cannot empty the pid file: ") + std::strerror(errno);
    return true;
}

void InstanceLock::publishPid(std::string* whyNot) {
    const std::string pid = std::to_string(::getpid()) + "\n";
    if (::pwrite(fd_, pid.data(), pid.size(), 0) < 0)
        *whyNot = std::string("cannot write the pid: ") + std::strerror(errno);
}

InstanceLock::~InstanceLock() {
    if (fd_ >= 0) ::close(fd_);
}

}  // namespace nbx::polling
