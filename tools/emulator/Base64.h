#pragma once

#include <string>
#include <string_view>

namespace nbx::emulator {

std::string base64Encode(std::string_view bytes);

}  // namespace nbx::emulator
