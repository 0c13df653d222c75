#include "DebugLine.h"

#include <syslog.h>

#include <cstdio>

#include "SecretMask.h"

namespace nbx {

std::string printableDebugText(std::string_view message) {
    static const char* kHex = "0123456789ABCDEF";
    std::string out;
    out.reserve(message.size());
    for (const char ch : message) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '\n') {
            out += ' ';
        } else if (c < 0x20 || c >= 0x7f) {
            out += "\\x";
            out += kHex[c >> 4];
            out += kHex[c & 15];
        } else {
            out += ch;
        }
    }
    return out;
}

void writeDebugLine(std::string_view message) {
    std::fprintf(stderr, "WARNING: %s\n", printableDebugText(maskSecrets(message)).c_str());
}

void writeSystemLogLine(std::string_view message) {
    const std::string text = printableDebugText(maskSecrets(message));
    syslog(LOG_NOTICE, "%s", text.c_str());
    std::fprintf(stderr, "%s\n", text.c_str());
}

}  // namespace nbx
