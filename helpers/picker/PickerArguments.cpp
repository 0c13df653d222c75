#include "PickerArguments.h"

#include <string_view>

namespace nbx::picker {

namespace {

std::optional<std::string> valueAfter(std::string_view arg, std::string_view prefix) {
    if (arg.substr(0, prefix.size()) != prefix) return std::nullopt;
    return std::string(arg.substr(prefix.size()));
}

// The agent writes the path after a "/" of its own ("//home/..."); one leading slash is enough.
std::string withoutRepeatedLeadingSlashes(std::string path) {
    const auto first = path.find_first_not_of('/');
    if (first != std::string::npos && first > 1) path.erase(0, first - 1);
    return path;
}

}  // namespace

std::optional<PickerArguments> parsePickerArguments(const std::vector<std::string>& args) {
    PickerArguments parsed;
    for (const std::string& arg : args) {
        if (auto path = valueAfter(arg, "-ReturnInfo:")) {
            parsed.returnInfoPath = withoutRepeatedLeadingSlashes(std::move(*path));
        } else if (auto type = valueAfter(arg, "-Type:")) {
            parsed.type = std::move(*type);
        } else if (auto caller = valueAfter(arg, "Caller:")) {
            parsed.caller = std::move(*caller);
        }
    }
    if (parsed.returnInfoPath.empty()) return std::nullopt;
    return parsed;
}

}  // namespace nbx::picker
