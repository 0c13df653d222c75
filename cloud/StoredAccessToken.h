#pragma once

#include <optional>
#include <string>

namespace nbx {

// The access token kept by the local store, or none when there is none to read.
std::optional<std::string> storedAccessToken();

}  // namespace nbx
