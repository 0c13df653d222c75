#pragma once

#include <optional>
#include <string>
#include <vector>

#include "PropertyValue.h"

namespace nbx::cloudcli {

struct CommandLine {
    bool help = false;
    bool debug = false;
    std::string operation;
    PropertyValue input = PropertyValue::dictionary();
};

// The parsed arguments, or none with `error` saying why.
std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                            std::string* error);

// A value made printable as JSON: data becomes base64 text, dates their description.
PropertyValue printable(const PropertyValue& value);

std::string usageText();

}  // namespace nbx::cloudcli
