#include "NBXLogger.h"

#include <pthread.h>
#include <syslog.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

#include "NBXUtility.h"
#include "SecretMask.h"

namespace nbx {

namespace fs = std::filesystem;

namespace {

// One serial worker for the whole process. It is never destroyed, so lines logged while the
// process shuts down find it still there; pending lines are written at exit.
class LoggingQueue {
public:
    static LoggingQueue& shared() {
        static LoggingQueue* queue = new LoggingQueue();
        return *queue;
    }

    void submit(std::function<void()> task) {
        {
            const std::lock_guard lock(mutex_);
            tasks_.push_back(std::move(task));
        }
        wake_.notify_one();
    }

    void drain(std::chrono::seconds limit) {
        std::unique_lock lock(mutex_);
        idle_.wait_for(lock, limit, [this] { return tasks_.empty() && !busy_; });
    }

private:
    LoggingQueue() {
        std::thread worker([this] { run(); });
        pthread_setname_np(worker.native_handle(), "com.NBX.logging");
        worker.detach();
        std::atexit([] { shared().drain(std::chrono::seconds(5)); });
    }

    void run() {
        std::unique_lock lock(mutex_);
        while (true) {
            wake_.wait(lock, [this] { return !tasks_.empty(); });
            auto task = std::move(tasks_.front());
            tasks_.pop_front();
            busy_ = true;
            lock.unlock();
            task();
            lock.lock();
            busy_ = false;
            if (tasks_.empty()) idle_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable idle_;
    std::deque<std::function<void()>> tasks_;
    bool busy_ = false;
};

bool isLarger(const std::string& path) {
    std::error_code ec;
    if (path.empty()) return false;
    const auto size = fs::file_size(path, ec);
    return !ec && size > NBXLogger::kLogSizeLimit;
}

void rotate(const std::string& live, const std::string& backup) {
    std::error_code ec;
    fs::remove(backup, ec);
    fs::rename(live, backup, ec);
}

// "yy/MM/dd|hh:mm:ss.SSSS": a 12-hour clock without AM/PM and four fractional digits.
std::string timeStamp() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto micros =
        std::chrono::duration_cast<std::chrono::microseconds>(now.time_since_epoch()).count() %
        1000000;
    std::tm local{};
    localtime_r(&seconds, &local);
    const int hour = local.tm_hour % 12 == 0 ? 12 : local.tm_hour % 12;
    char text[40];
    std::snprintf(text, sizeof text, "%02d/%02d/%02d|%02d:%02d:%02d.%04d", local.tm_year % 100,
                  local.tm_mon + 1, local.tm_mday, hour, local.tm_min, local.tm_sec,
                  static_cast<int>(micros / 100));
    return text;
}

void writeEntry(const std::string& live, const std::string& backup, const std::string& message) {
    if (isLarger(live)) rotate(live, backup);
    FILE* file = std::fopen(live.c_str(), "a");
    if (!file) return;
    std::fprintf(file, "\n[%s] %s", timeStamp().c_str(), message.c_str());
    std::fclose(file);
}

// The integer value of a number, or of the digits a text starts with.
std::int32_t levelOf(const PropertyValue& value) {
    if (value.isBoolean()) return value.isTrue() ? 1 : 0;
    if (const auto number = value.real()) return static_cast<std::int32_t>(*number);
    if (const std::string* text = value.stringPtr()) return std::atoi(text->c_str());
    return 0;
}

}  // namespace

NBXLogger::NBXLogger(const std::string& uniqueKey) {
    if (!uniqueKey.empty()) {
        uniqueKey_ = uniqueKey;
        commonInitilization(folderToLog());
    }
    nDebug_ = levelOf(NBXUtility::infoDictionary()["Debug"]);
}

NBXLogger::NBXLogger(const std::string& uniqueKey, const std::string& folderPath) {
    if (uniqueKey.empty() || folderPath.empty()) return;
    uniqueKey_ = uniqueKey;
    commonInitilization(NBXUtility::createFolderPath(folderPath));
}

void NBXLogger::commonInitilization(const std::string& folder) {
    loggingFilePath_ = (fs::path(folder) / (uniqueKey_ + ".log")).string();
    backupFilePath_ = (fs::path(folder) / ("_" + uniqueKey_ + ".log")).string();
    LoggingQueue::shared();
}

void NBXLogger::log(const std::string& message) const {
    if (nDebug_ == 2) {
        LoggingQueue::shared().submit(
            [live = loggingFilePath_, backup = backupFilePath_, message = maskSecrets(message)] {
                writeEntry(live, backup, message);
            });
    } else if (nDebug_ == 1) {
        NBXSystemLog(message);
    }
}

void NBXLogger::checkLogSize() const {
    if (logSizeGreaterThanLimit()) backUpLog();
}

bool NBXLogger::logSizeGreaterThanLimit() const {
    return isLarger(loggingFilePath_);
}

void NBXLogger::backUpLog() const {
    rotate(loggingFilePath_, backupFilePath_);
}

std::string NBXLogger::folderToLog() {
    return NBXUtility::createFolderPath((fs::path(NBXUtility::homeFolder()) /
                                         "Library/Application Support" / "Valmora/Nimbrix/Logs")
                                            .string());
}

void NBXLogger::flush() {
    LoggingQueue::shared().drain(std::chrono::hours(1));
}

void NBXSystemLog(const std::string& message) {
    const std::string text = maskSecrets(message);
    syslog(LOG_NOTICE, "%s", text.c_str());
    std::fprintf(stderr, "%s\n", text.c_str());
}

}  // namespace nbx
