#pragma once

#include <string>
#include <string_view>

namespace nbx {

// Case mapping of ASCII letters only: keys, schemes, header names and device ids are ASCII, and
// the process locale must not change how they compare.
inline std::string asciiLower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

inline std::string asciiUpper(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

}  // namespace nbx
