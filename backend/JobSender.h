#pragma once

#include <string>

#include "Outbox.h"

namespace nbx::backend {

// Hands a decided job to the service: the document upload, then the send to the printer or
// phone of the job's target, with the options of the target file.
class JobSender {
public:
    enum class Outcome {
        Sent,
        Waiting,      // the service could not be reached; the job stays in the outbox
        NotSignedIn,  // no identity, or the service no longer accepts it; the job stays
        Refused,      // the service said no; the job is dropped
    };
    struct Result {
        Outcome outcome = Outcome::Waiting;
        std::string errorCode;
        // "the printer Office", "+44 7700900123": for messages.
        std::string target;
    };

    explicit JobSender(Outbox& outbox) : outbox_(outbox) {}
    // The caller holds the outbox's claim.
    Result send(const std::string& key);
    // The target in words, from an entry.
    static std::string describeTarget(const PropertyValue& entry);

private:
    Outbox& outbox_;
};

}  // namespace nbx::backend
