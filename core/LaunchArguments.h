#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace nbx {

// What the back end tells the agent about a job on the agent's command line:
// "-TotalPages:N -ColorModel:... -Duplex:... -PaperSize:... -TotalCopies:N -nbxtarget:PATH".
struct LaunchArguments {
    int totalPages = 0;
    std::string colorModel, duplex, paperSize, copies, targetPath;

    // The program's arguments without its name. An argument is read for every key it contains,
    // its value starting one character past the key's length (the leading "-"); the target is
    // what follows the argument's last ':'. Unknown arguments are ignored.
    static LaunchArguments parse(const std::vector<std::string>& arguments);
    // The arguments in the order the back end has always passed them.
    std::vector<std::string> arguments() const;

    // The argument from one character past `key`'s length on; empty when nothing is left.
    static std::string textAfterKey(std::string_view argument, std::string_view key);
    // The number the text starts with (after blanks, signed), clamped to int; 0 when none.
    static int integerValue(std::string_view text);
};

}  // namespace nbx
