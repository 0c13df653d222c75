#pragma once

namespace nbx {

// Writes a finite double exactly as printf's "%.17g" does in the C locale, whatever the
// process locale is, and returns the end of the text. `out` must hold at least 32 chars.
char* formatDouble17(double value, char* out);

}  // namespace nbx
