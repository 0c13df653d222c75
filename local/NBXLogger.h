#pragma once

#include <cstdint>
#include <string>

namespace nbx {

// Appends time-stamped lines to "<key>.log", keeping one backup "_<key>.log" once the file
// passes kLogSizeLimit. All file work of every logger runs in order on one process-wide
// background queue, so `log` never waits for the disk.
class NBXLogger {
public:
    static constexpr std::uintmax_t kLogSizeLimit = 5242880;

    // Files in folderToLog(); the level is the information dictionary's "Debug".
    explicit NBXLogger(const std::string& uniqueKey);
    // Files in `folderPath`; the level stays 0, so this logger writes nothing.
    NBXLogger(const std::string& uniqueKey, const std::string& folderPath);

    // Level 2 queues the line for the file, level 1 sends it to the system log, else nothing.
    void log(const std::string& message) const;
    void checkLogSize() const;
    bool logSizeGreaterThanLimit() const;
    void backUpLog() const;

    static std::string folderToLog();
    // Waits until every line queued so far has been written.
    static void flush();

    const std::string& uniqueKey() const { return uniqueKey_; }
    const std::string& loggingFilePath() const { return loggingFilePath_; }
    const std::string& backupFilePath() const { return backupFilePath_; }
    std::int32_t nDebug() const { return nDebug_; }

private:
    void commonInitilization(const std::string& folder);

    std::string uniqueKey_;
    std::string loggingFilePath_;
    std::string backupFilePath_;
    std::int32_t nDebug_ = 0;
};

// The system log of this platform: syslog and standard error.
void NBXSystemLog(const std::string& message);

}  // namespace nbx
