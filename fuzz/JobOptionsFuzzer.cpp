// Reads arbitrary scheduler words (copies, NUL, option text) as a job's options: they must come
// out as the agent's words, and the agent must read back from the launch arguments what the
// back end meant.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "JobOptions.h"
#include "LaunchArguments.h"

namespace {

bool agentWord(const std::string& paper) {
    if (paper.empty()) return false;
    for (char c : paper)
        if (!((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.'))
            return false;
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const auto split = input.find('\0');
    const std::string copies = input.substr(0, split);
    const std::string options = split == std::string::npos ? "" : input.substr(split + 1);

    const auto job = nbx::backend::JobOptions::parse(copies, options);
    if (job.copies < 1 || job.copies > 9999) std::abort();
    if (job.colorModel != "RGBA" && job.colorModel != "Gray") std::abort();
    if (job.duplex != "None" && job.duplex != "DUPLEXLONG" && job.duplex != "DUPLEXSHORT")
        std::abort();
    if (!agentWord(job.paperSize) ||
        (job.paperSize.size() > options.size() && job.paperSize.size() > 8))
        std::abort();

    const int pages = static_cast<int>(size) - 100;
    const auto read =
        nbx::LaunchArguments::parse(job.agentArguments(pages, "/var/spool/nbx/job-1.plist"));
    if (read.totalPages != pages || read.colorModel != job.colorModel ||
        read.duplex != job.duplex || read.paperSize != job.paperSize ||
        read.copies != std::to_string(job.copies) ||
        read.targetPath != "/var/spool/nbx/job-1.plist")
        std::abort();
    return 0;
}
