#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "PropertyValue.h"

namespace nbx::backend {

// Jobs on their way to the service, in the user's own folder, so none is lost while the
// service cannot be reached. A job is known by the scheduler's job number, so the scheduler
// running it again finds it; what an earlier life of the scheduler left under the same number
// (another title) is moved aside, still to be sent. Per key: the document, the agent's target
// file, the entry (target and job facts; present once the job is decided) and, after sending,
// a sent mark holding the job's title.
class Outbox {
public:
    explicit Outbox(std::filesystem::path folder) : folder_(std::move(folder)) {}
    // "Outbox" in the per-user folder of the user the process runs for.
    static Outbox forCurrentUser();

    // The key of the scheduler's job with this number and title.
    std::string keyFor(const std::string& jobId, const std::string& title);
    // Copies the document from the descriptor; false with the reason.
    bool stage(int fd, const std::string& key, std::string* whyNot);

    std::filesystem::path document(const std::string& key) const;
    std::filesystem::path targetFile(const std::string& key) const;
    std::optional<PropertyValue> entry(const std::string& key) const;
    bool wasSent(const std::string& key) const;

    bool saveEntry(const std::string& key, const PropertyValue& entry);
    // Forgets the job: document, target file and entry.
    void discard(const std::string& key);
    // Remembers that the job went out, so a second run of it sends nothing, and forgets it.
    void markSent(const std::string& key);
    static constexpr const char* kTitle = "jobTitle";
    // Keys of the decided jobs still waiting, oldest first.
    std::vector<std::string> waiting() const;
    // Drops sent marks and undecided documents older than the age.
    void prune(std::chrono::hours age);

    // Held while one process sends jobs, so two back ends never send one twice; waits for the
    // other to finish. Whoever holds it checks again that the job still waits.
    class Claim {
    public:
        explicit Claim(const Outbox& outbox);
        ~Claim();
        Claim(const Claim&) = delete;
        Claim& operator=(const Claim&) = delete;
        bool held() const { return fd_ >= 0; }

    private:
        int fd_ = -1;
    };

private:
    std::filesystem::path entryFile(const std::string& key) const;
    std::filesystem::path sentMark(const std::string& key) const;
    std::string sentTitle(const std::string& key) const;

    std::filesystem::path folder_;
};

}  // namespace nbx::backend
