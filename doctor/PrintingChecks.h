#pragma once

#include <optional>
#include <string>

#include "CheckResult.h"

namespace nbx::doctor {

// The system side of printing: the service's print queue and the back end it sends jobs to.
class PrintingChecks {
public:
    // The queue exists, prints to the service's device and was made with its description file.
    static CheckResult queue();
    // The back end of the device's scheme is where the scheduler looks, in a form it runs.
    static CheckResult backend();

    // The "*NickName" of a printer description file, plain or gzipped.
    static std::optional<std::string> nickName(const std::string& descriptionFile);
};

}  // namespace nbx::doctor
