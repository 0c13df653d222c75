#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "PropertyValue.h"

namespace nbx::polling {

// The printer this computer shares, as registered with the service.
struct Registration {
    std::string agentId;
    std::string alias;
    std::string agentMacAddress;
    std::string modelName;
    std::string mdl;
    std::string queue;  // the CUPS queue the jobs are printed on
    std::string countryCode;
    std::string phoneNumber;

    PropertyValue toPropertyList() const;
    // None when the agent id or the queue is missing.
    static std::optional<Registration> fromPropertyList(const PropertyValue& value);
    bool operator==(const Registration&) const = default;
};

// The files of the polling agent in the per-user "PollingData" and "DownloadedJobs" folders.
namespace PollingFiles {

std::string registrationPath();
std::string ledgerPath();
std::string lockPath();

std::optional<Registration> loadRegistration();
bool saveRegistration(const Registration& registration);
void removeRegistration();

// jobId -> progress record; an unreadable ledger reads as empty.
PropertyDictionary loadLedger();
bool saveLedger(const PropertyDictionary& ledger);

// Only plain names become file names, so a hostile id cannot leave the folder.
bool isSafeJobId(std::string_view jobId);
std::string downloadedJobPath(const std::string& jobId);
// Writes to a temporary name beside the file, then renames, so a reader never sees half a file.
bool writeFileAtomically(const std::string& path, const Bytes& bytes);
bool writePropertyListAtomically(const std::string& path, const PropertyValue& value);

}  // namespace PollingFiles

// An exclusive flock on the pid file, holding this process's id, for the process's lifetime.
class InstanceLock {
public:
    // False when another process holds it for a second (or the file cannot be opened): someone
    // checking whether the agent runs takes it for an instant.
    bool acquire(const std::string& path, std::string* whyNot);
    // Writes this process's pid: from then on the agent answers commands, so a starter waits
    // for it.
    void publishPid(std::string* whyNot);
    ~InstanceLock();

private:
    int fd_ = -1;
};

}  // namespace nbx::polling
