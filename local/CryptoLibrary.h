#pragma once

#include <openssl/evp.h>
#include <openssl/rand.h>

namespace nbx {

// The libcrypto calls of the identity and state files, bound at their first use: the library is
// large, and a window that opens without reading a secret should not wait for it.
struct CryptoLibrary {
    decltype(&EVP_CIPHER_CTX_new) cipherContextNew;
    decltype(&EVP_CIPHER_CTX_free) cipherContextFree;
    decltype(&EVP_CipherInit_ex) cipherInit;
    decltype(&EVP_CipherUpdate) cipherUpdate;
    decltype(&EVP_CipherFinal_ex) cipherFinal;
    decltype(&EVP_aes_256_cbc) aes256Cbc;
    decltype(&EVP_EncodeBlock) encodeBlock;
    decltype(&EVP_DecodeBlock) decodeBlock;
    decltype(&RAND_bytes) randomBytes;

    // Loaded once, on whichever thread asks first; null when it cannot be, and every caller then
    // fails as it does on a cipher error.
    static const CryptoLibrary* get();
};

}  // namespace nbx
