#include "Outbox.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "NBXUtility.h"
#include "PropertyListFile.h"

namespace nbx::backend {

namespace fs = std::filesystem;

namespace {

bool writeAll(int fd, const char* data, ssize_t size) {
    while (size > 0) {
        const ssize_t written = write(fd, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        data += written;
        size -= written;
    }
    return true;
}

}  // namespace

Outbox Outbox::forCurrentUser() {
    return Outbox(fs::path(NBXUtility::appSupportPathForNBX()) / "Outbox");
}

std::string Outbox::keyFor(const std::string& jobId, const std::string& title) {
    std::string digits;
    for (char c : jobId)
        if (c >= '0' && c <= '9') digits += c;
    const std::string key = "job-" + digits;
    std::error_code ec;
    if (wasSent(key) && sentTitle(key) != title) fs::remove(sentMark(key), ec);
    const std::optional<PropertyValue> earlier = entry(key);
    if (earlier && (*earlier)[kTitle].string() != title) {
        std::string aside;
        for (int n = 1; aside.empty() || fs::exists(entryFile(aside), ec); ++n)
            aside = key + "-" + std::to_string(n);
        fs::rename(document(key), document(aside), ec);
        fs::rename(entryFile(key), entryFile(aside), ec);
    }
    return key;
}

bool Outbox::stage(int fd, const std::string& key, std::string* whyNot) {
    std::error_code ec;
    fs::create_directories(folder_, ec);
    std::string staging = (folder_ / ".staging-XXXXXX").string();
    const int out = ec ? -1 : mkstemp(staging.data());
    if (out < 0) {
        *whyNot = "cannot write in " + folder_.string();
        return false;
    }
    char buffer[64 * 1024];
    bool copied = true;
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            copied = got == 0;
            break;
        }
        if (!writeAll(out, buffer, got)) {
            copied = false;
            break;
        }
    }
    copied = fsync(out) == 0 && copied;
    close(out);
    if (copied) fs::rename(staging, document(key), ec);
    if (!copied || ec) {
        fs::remove(staging, ec);
        *whyNot = "cannot keep the document in " + folder_.string();
        return false;
    }
    return true;
}

fs::path Outbox::document(const std::string& key) const {
    return folder_ / (key + ".pdf");
}

fs::path Outbox::targetFile(const std::string& key) const {
    return folder_ / (key + ".target.plist");
}

fs::path Outbox::entryFile(const std::string& key) const {
    return folder_ / (key + ".plist");
}

fs::path Outbox::sentMark(const std::string& key) const {
    return folder_ / (key + ".sent");
}

std::optional<PropertyValue> Outbox::entry(const std::string& key) const {
    return readPropertyListFile(entryFile(key).string());
}

bool Outbox::wasSent(const std::string& key) const {
    std::error_code ec;
    return fs::exists(sentMark(key), ec);
}

// Written beside and renamed over, so a crash leaves the old entry or the new one.
bool Outbox::saveEntry(const std::string& key, const PropertyValue& entry) {
    const fs::path file = entryFile(key);
    const fs::path next = file.string() + ".new";
    std::error_code ec;
    if (!writePropertyListFile(next.string(), entry)) return false;
    fs::rename(next, file, ec);
    return !ec;
}

void Outbox::discard(const std::string& key) {
    std::error_code ec;
    for (const fs::path& file : {document(key), targetFile(key), entryFile(key)})
        fs::remove(file, ec);
}

void Outbox::markSent(const std::string& key) {
    const std::string title = entry(key).value_or(PropertyValue())[kTitle].string().value_or("");
    const int fd = open(sentMark(key).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd >= 0) {
        writeAll(fd, title.data(), static_cast<ssize_t>(title.size()));
        fsync(fd);
        close(fd);
    }
    discard(key);
}

std::string Outbox::sentTitle(const std::string& key) const {
    std::ifstream in(sentMark(key), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> Outbox::waiting() const {
    std::vector<std::pair<fs::file_time_type, std::string>> found;
    std::error_code ec;
    for (const auto& item : fs::directory_iterator(folder_, ec)) {
        const std::string name = item.path().filename().string();
        const bool isEntry = name.rfind("job-", 0) == 0 && item.path().extension() == ".plist" &&
                             name.find(".target.") == std::string::npos;
        if (isEntry) found.emplace_back(item.last_write_time(ec), item.path().stem().string());
    }
    std::sort(found.begin(), found.end());
    std::vector<std::string> keys;
    for (auto& [time, key] : found)
        keys.push_back(std::move(key));
    return keys;
}

void Outbox::prune(std::chrono::hours age) {
    std::error_code ec;
    const auto cutoff = fs::file_time_type::clock::now() - age;
    for (const auto& item : fs::directory_iterator(folder_, ec)) {
        const fs::path path = item.path();
        const bool undecided =
            path.extension() == ".pdf" && !fs::exists(entryFile(path.stem().string()), ec);
        if ((path.extension() == ".sent" || undecided) && item.last_write_time(ec) < cutoff)
            fs::remove(path, ec);
    }
}

Outbox::Claim::Claim(const Outbox& outbox) {
    std::error_code ec;
    fs::create_directories(outbox.folder_, ec);
    fd_ = open((outbox.folder_ / ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    while (fd_ >= 0 && flock(fd_, LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        close(fd_);
        fd_ = -1;
    }
}

Outbox::Claim::~Claim() {
    if (fd_ >= 0) close(fd_);
}

}  // namespace nbx::backend
