#pragma once

#include <optional>
#include <string>

#include "PropertyValue.h"

namespace nbx {

// Reads an XML or binary property-list file. A missing, unreadable, malformed or
// too deeply nested file reads as nothing.
std::optional<PropertyValue> readPropertyListFile(const std::string& path);
// Writes a dictionary or array whole as an XML property list, in place (not atomically).
// False, writing nothing, for a text holding a NUL character, which XML cannot carry.
bool writePropertyListFile(const std::string& path, const PropertyValue& value);

}  // namespace nbx
