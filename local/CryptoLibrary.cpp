#include "CryptoLibrary.h"

#include "SharedLibrary.h"

namespace nbx {

namespace {

const CryptoLibrary* load() {
    SharedLibrary so("libcrypto.so.3");
    static CryptoLibrary lib;
    const bool bound =
        so.bind("EVP_CIPHER_CTX_new", lib.cipherContextNew) &&
        so.bind("EVP_CIPHER_CTX_free", lib.cipherContextFree) &&
        so.bind("EVP_CipherInit_ex", lib.cipherInit) &&
        so.bind("EVP_CipherUpdate", lib.cipherUpdate) &&
        so.bind("EVP_CipherFinal_ex", lib.cipherFinal) &&
        so.bind("EVP_aes_256_cbc", lib.aes256Cbc) && so.bind("EVP_EncodeBlock", lib.encodeBlock) &&
        so.bind("EVP_DecodeBlock", lib.decodeBlock) && so.bind("RAND_bytes", lib.randomBytes);
    return bound ? &lib : nullptr;
}

}  // namespace

const CryptoLibrary* CryptoLibrary::get() {
    // Initialized once, and other threads asking meanwhile wait for it.
    static const CryptoLibrary* const lib = load();
    return lib;
}

}  // namespace nbx
