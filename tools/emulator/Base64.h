#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nbx::emulator {

std::string base64Encode(std::string_view bytes);
// Padded standard alphabet only; none for anything else.
std::optional<std::string> base64Decode(std::string_view text);

}  // namespace nbx::emulator
