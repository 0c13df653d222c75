#pragma once

#include <string>
#include <utility>
#include <vector>

#include "PropertyValue.h"

namespace nbx::polling {

// The local print queue the shared printer's jobs go to, through libcups on CUPS_HTTP_DEFAULT
// (each thread has its own connection).
namespace PrintQueue {

enum class Reach { Known, Unknown, Unreachable };

struct QueueState {
    Reach reach = Reach::Unreachable;
    std::string message;  // why not Known
    // "Black", "Cyan", "Magenta", "Yellow"; empty when the printer reports no markers.
    PropertyDictionary toner;
};
QueueState inspect(const std::string& queue);

// Levels by colour from the scheduler's marker attributes; a colour without a marker is -1.
PropertyDictionary tonerLevels(const std::vector<int>& levels,
                               const std::vector<std::string>& colors,
                               const std::vector<std::string>& types);

using Options = std::vector<std::pair<std::string, std::string>>;
// The job's print options from the service ("copies", "colorMode", "sides", "mediaSize").
Options optionsForJob(const PropertyValue& job);

// The scheduler's job id, or 0 with the reason in *error.
int submit(const std::string& queue, const std::string& file, const std::string& title,
           const Options& options, std::string* error);

enum class JobState { Pending, Completed, Failed, Unreachable };
struct JobProgress {
    JobState state = JobState::Unreachable;
    std::string message;
    int impressions = 0;  // 0 when the scheduler did not count any
};
JobProgress progress(int jobId);

}  // namespace PrintQueue
}  // namespace nbx::polling
