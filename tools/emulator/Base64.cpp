#include "Base64.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace nbx::emulator {

std::string base64Encode(std::string_view bytes) {
    std::vector<unsigned char> out(4 * ((bytes.size() + 2) / 3) + 1);
    int written = EVP_EncodeBlock(out.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                                  static_cast<int>(bytes.size()));
    return std::string(reinterpret_cast<const char*>(out.data()),
                       static_cast<std::size_t>(written));
}

std::optional<std::string> base64Decode(std::string_view text) {
    // The OpenSSL decoder skips white space and keeps padding as zero bytes; refuse the one,
    // count the other.
    bool alphabet = std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '+' || c == '/' || c == '=';
    });
    auto pad = text.find('=');
    bool padAtEnd = pad == std::string_view::npos ||
                    (pad + 2 >= text.size() && text.find_first_not_of('=', pad) == text.npos);
    if (!alphabet || !padAtEnd || text.size() % 4 != 0) return std::nullopt;
    std::vector<unsigned char> out(text.size() / 4 * 3 + 1);
    int written = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                  static_cast<int>(text.size()));
    std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
    if (written < 0 || static_cast<std::size_t>(written) < padding) return std::nullopt;
    return std::string(reinterpret_cast<const char*>(out.data()),
                       static_cast<std::size_t>(written) - padding);
}

}  // namespace nbx::emulator
