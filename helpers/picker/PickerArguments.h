#pragma once

#include <optional>
#include <string>
#include <vector>

namespace nbx::picker {

// What the agent asks of the picker on its command line, e.g.
//   -Type:ALL "-ReturnInfo://home/u/.../PrinterInfo.plist" - Caller:Nimbrix -SkipList -singleselect
struct PickerArguments {
    std::string returnInfoPath;  // where OK writes the chosen device
    std::string type = "ALL";
    std::string caller;
};

// Unknown arguments are ignored; nothing when -ReturnInfo: is missing or empty.
std::optional<PickerArguments> parsePickerArguments(const std::vector<std::string>& args);

constexpr const char* kPickerUsage =
    "usage: PDLM -ReturnInfo:<file> [-Type:ALL] [Caller:<name>] [-SkipList] [-singleselect]\n";

}  // namespace nbx::picker
