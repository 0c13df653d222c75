// Reads arbitrary arguments (the input split at NUL and space) as the agent's launch arguments;
// values without a ':' must format and read back unchanged.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "LaunchArguments.h"

namespace {

bool same(const nbx::LaunchArguments& a, const nbx::LaunchArguments& b) {
    return a.totalPages == b.totalPages && a.colorModel == b.colorModel && a.duplex == b.duplex &&
           a.paperSize == b.paperSize && a.copies == b.copies && a.targetPath == b.targetPath;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> arguments(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == '\0' || data[i] == ' ')
            arguments.emplace_back();
        else
            arguments.back() += static_cast<char>(data[i]);
    }
    const auto read = nbx::LaunchArguments::parse(arguments);
    const std::string* texts[] = {&read.colorModel, &read.duplex, &read.paperSize, &read.copies,
                                  &read.targetPath};
    bool hasColon = false;
    for (const std::string* text : texts) {
        if (text->size() > size) std::abort();
        hasColon = hasColon || text->find(':') != std::string::npos;
    }
    // The target is what follows the last ':'.
    if (read.targetPath.find(':') != std::string::npos) std::abort();
    // A value with a ':' may hold another key, which formatting would let loose.
    if (!hasColon && !same(nbx::LaunchArguments::parse(read.arguments()), read)) std::abort();
    return 0;
}
