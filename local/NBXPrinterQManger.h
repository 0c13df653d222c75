#pragma once

#include <string>

namespace nbx {

// Finds, installs and removes the system print queue whose device is the service's back end.
class NBXPrinterQManger {
public:
    static constexpr const char* kQueueName = "_Nimbrix_";
    static constexpr const char* kDescription = "Nimbrix";
    static constexpr const char* kLpadmin = "/usr/sbin/lpadmin";

    NBXPrinterQManger() = delete;

    // True when the scheduler lists a queue of that name, ignoring letter case.
    static bool checkPrinterQ();
    // True when lpadmin installed the queue, enabled and accepting jobs.
    static bool makePrinterQ();
    // True when lpadmin removed the queue.
    static bool removePrinterQ();

    // The command lines run through the shell; empty when a configured value could break out
    // of its double quotes.
    static std::string makeCommand();
    static std::string removeCommand();
    static std::string deviceUri();
};

}  // namespace nbx
