#pragma once

#include <string>
#include <vector>

namespace nbx::backend {

// A job's options in the words the agent's launch arguments use.
struct JobOptions {
    int copies = 1;
    std::string colorModel = "RGBA";  // or "Gray"
    std::string duplex = "None";      // or "DUPLEXLONG", "DUPLEXSHORT"
    std::string paperSize = "A4";     // upper-case names; "EXCUTIVE" is the agent's spelling

    // From the scheduler's copies argument and option text ("ColorModel=Gray sides=...").
    static JobOptions parse(const std::string& copies, const std::string& options);
    // "-TotalPages:N", "-ColorModel:...", ..., "-nbxtarget:PATH", in the agent's order.
    std::vector<std::string> agentArguments(int totalPages, const std::string& targetPath) const;
};

}  // namespace nbx::backend
