#pragma once

#include <string>
#include <string_view>

namespace nbx {

// Whether values under this key are secrets: access tokens, PIN codes, passwords (any key
// ending in "token", whatever its case, counts).
bool isSecretKey(std::string_view key);

// The text with the value of every secret key hidden, for anything written to a log: JSON
// ("key":"v"), property-list XML (<key>key</key><string>v</string>), descriptions and forms
// (key = "v"; key=v&). The key stays and the value becomes "(hidden, N characters)".
std::string maskSecrets(std::string_view text);

}  // namespace nbx
