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

// Every occurrence of `from` replaced, left to right; replacements are not searched again.
inline std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
    if (from.empty()) return text;
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

}  // namespace nbx
