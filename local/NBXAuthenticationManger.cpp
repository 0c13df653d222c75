#include "NBXAuthenticationManger.h"

#include <climits>
#include <cstring>
#include <filesystem>
#include <memory>
#include <thread>

#include "CryptoLibrary.h"
#include "NBXLogger.h"
#include "NBXUtility.h"
#include "PropertyListFile.h"

namespace nbx {

namespace {

constexpr int kChecksForNewFile = 5;

std::optional<Bytes> crypt(std::string_view key, const Bytes& input, bool encrypt) {
    if (input.size() > INT_MAX - 16) return std::nullopt;
    // At most 32 key bytes; a shorter key is padded with zeros.
    unsigned char keyBuffer[33] = {};
    std::memcpy(keyBuffer, key.data(), std::min<std::size_t>(key.size(), 32));
    const unsigned char iv[16] = {};
    const CryptoLibrary* c = CryptoLibrary::get();
    if (!c) return std::nullopt;
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(c->cipherContextFree)> ctx(c->cipherContextNew(),
                                                                              c->cipherContextFree);
    Bytes output(input.size() + 16);
    int moved = 0, last = 0;
    if (!ctx || c->cipherInit(ctx.get(), c->aes256Cbc(), nullptr, keyBuffer, iv, encrypt) != 1 ||
        c->cipherUpdate(ctx.get(), output.data(), &moved, input.data(),
                        static_cast<int>(input.size())) != 1 ||
        c->cipherFinal(ctx.get(), output.data() + moved, &last) != 1)
        return std::nullopt;
    output.resize(static_cast<std::size_t>(moved + last));
    return output;
}

std::string withoutLeadingZeros(const std::string& number) {
    const auto first = number.find_first_not_of('0');
    return first == std::string::npos ? std::string() : number.substr(first);
}

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n\v\f") == std::string::npos;
}

}  // namespace

void NBXAuthenticationManger::oneSecond() {
    std::this_thread::sleep_for(std::chrono::seconds(1));
}

std::string NBXAuthenticationManger::myInfoPath() {
    return NBXUtility::homeFolder() + "/Library/Application Support/Valmora/Nimbrix/MyInfo.plist";
}

std::string NBXAuthenticationManger::temporaryMyInfoPath() {
    return NBXUtility::temporaryFolder() + "MyInfo.plist";
}

bool NBXAuthenticationManger::makeAuthInfoWithKey(const std::optional<std::string>& key,
                                                  const std::optional<std::string>& WithData,
                                                  const Pause& pause) {
    if (!key || !WithData) return false;
    PropertyDictionary info{{"CountryCode", *key}, {"PhoneNumber", withoutLeadingZeros(*WithData)}};
    const std::string path = myInfoPath();
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) {
        writePropertyListFile(path, info);
        for (int i = 0; i < kChecksForNewFile && !std::filesystem::exists(path, ec); ++i)
            pause();
        return true;
    }
    // The old file is gone before it is read, so the new one holds just the two keys.
    std::filesystem::remove(path, ec);
    if (const auto old = readPropertyListFile(path); old && old->isDictionary())
        for (const auto& [name, value] : *old->dictionaryPtr())
            info.set(name, value);
    writePropertyListFile(path, info);
    return true;
}

std::optional<std::array<std::string, 2>> NBXAuthenticationManger::returnAuthInfo() {
    const auto file = readPropertyListFile(myInfoPath());
    if (!file) return std::nullopt;
    const std::string* code = (*file)["CountryCode"].stringPtr();
    const std::string* number = (*file)["PhoneNumber"].stringPtr();
    if (!code || !number || isBlank(*code) || isBlank(*number)) return std::nullopt;
    return std::array<std::string, 2>{*code, withoutLeadingZeros(*number)};
}

std::optional<Bytes> NBXAuthenticationManger::AES256EncryptWithKey(std::string_view key,
                                                                   const Bytes& WithOriginalData) {
    return crypt(key, WithOriginalData, true);
}

std::optional<Bytes> NBXAuthenticationManger::AES256DecryptWithKey(std::string_view key,
                                                                   const Bytes& WithEncryptData) {
    return crypt(key, WithEncryptData, false);
}

void NBXAuthenticationManger::removeAuthInfoTmpFile() {
    std::error_code ec;
    if (!std::filesystem::remove(temporaryMyInfoPath(), ec)) NBXSystemLog("removeAuthInfoTmpFile");
}

std::optional<Bytes> AES256EncryptWithKey(const Bytes& data, std::string_view key) {
    return crypt(key, data, true);
}

std::optional<Bytes> AES256DecryptWithKey(const Bytes& data, std::string_view key) {
    return crypt(key, data, false);
}

std::optional<std::string> stringByAESDecryption(const Bytes& data) {
    if (data.empty()) return std::nullopt;
    const auto plain = crypt(NBXAuthenticationManger::kApplicationKey, data, false);
    if (!plain) return std::nullopt;
    const std::string text(plain->begin(), plain->end());
    return isValidUtf8(text) ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<Bytes> dataByAESEncryption(std::string_view text) {
    if (text.empty()) return std::nullopt;
    return crypt(NBXAuthenticationManger::kApplicationKey, Bytes(text.begin(), text.end()), true);
}

}  // namespace nbx
