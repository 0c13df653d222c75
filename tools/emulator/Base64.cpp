#include "Base64.h"

#include <openssl/evp.h>

#include <vector>

namespace nbx::emulator {

std::string base64Encode(std::string_view bytes) {
    std::vector<unsigned char> out(4 * ((bytes.size() + 2) / 3) + 1);
    int written = EVP_EncodeBlock(out.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                                  static_cast<int>(bytes.size()));
    return std::string(reinterpret_cast<const char*>(out.data()),
                       static_cast<std::size_t>(written));
}

}  // namespace nbx::emulator
