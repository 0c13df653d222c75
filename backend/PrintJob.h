#pragma once

#include <optional>
#include <string>

namespace nbx::backend {

// One job as the scheduler hands it over: job-id user title copies options [file].
struct PrintJob {
    std::string jobId, user, title, copies, options;
    std::optional<std::string> file;

    // Lets the user's agent decide the target, then sends the job; answers the scheduler's
    // exit status. Progress and errors go to standard error in the scheduler's words.
    int run() const;
};

}  // namespace nbx::backend
