#pragma once

#include <charconv>

namespace nbx {

// Writes a finite double exactly as printf's "%.17g" does in the C locale, whatever the
// process locale is, and returns the end of the text. `out` must hold at least 32 chars.
inline char* formatDouble17(double value, char* out) {
    return std::to_chars(out, out + 32, value, std::chars_format::general, 17).ptr;
}

}  // namespace nbx
