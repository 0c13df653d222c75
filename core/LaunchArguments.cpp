#include "LaunchArguments.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace nbx {

std::string LaunchArguments::textAfterKey(std::string_view argument, std::string_view key) {
    return argument.size() > key.size() + 1 ? std::string(argument.substr(key.size() + 1))
                                            : std::string();
}

int LaunchArguments::integerValue(std::string_view text) {
    const std::string digits(text);
    const long long value = std::strtoll(digits.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

LaunchArguments LaunchArguments::parse(const std::vector<std::string>& arguments) {
    LaunchArguments read;
    for (const std::string& argument : arguments) {
        auto has = [&](std::string_view key) { return argument.find(key) != std::string::npos; };
        if (has("TotalPages:"))
            read.totalPages = integerValue(textAfterKey(argument, "TotalPages:"));
        if (has("ColorModel:")) read.colorModel = textAfterKey(argument, "ColorModel:");
        if (has("Duplex:")) read.duplex = textAfterKey(argument, "Duplex:");
        if (has("PaperSize:")) read.paperSize = textAfterKey(argument, "PaperSize:");
        if (has("nbxtarget:")) read.targetPath = argument.substr(argument.rfind(':') + 1);
        if (has("TotalCopies:")) read.copies = textAfterKey(argument, "TotalCopies:");
    }
    return read;
}

std::vector<std::string> LaunchArguments::arguments() const {
    return {"-TotalPages:" + std::to_string(totalPages),
            "-ColorModel:" + colorModel,
            "-Duplex:" + duplex,
            "-PaperSize:" + paperSize,
            "-TotalCopies:" + copies,
            "-nbxtarget:" + targetPath};
}

}  // namespace nbx
