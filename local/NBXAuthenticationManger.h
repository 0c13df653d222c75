#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "PropertyValue.h"

namespace nbx {

// The user's verified phone identity in the MyInfo file, and the cipher that guards the
// account secrets. No state of its own.
class NBXAuthenticationManger {
public:
    // Text of the product's fixed key for stored secrets.
    static constexpr std::string_view kApplicationKey = "Nbx.Desktop.Agent.Store.Key.2026";
    using Pause = std::function<void()>;

    // Replaces the MyInfo file with the country code and the number without leading zeros.
    // `pause` runs between the checks that the new file appeared (one second unless a test
    // says otherwise).
    static bool makeAuthInfoWithKey(const std::optional<std::string>& key,
                                    const std::optional<std::string>& WithData,
                                    const Pause& pause = oneSecond);
    // [country code, phone number], or nothing when either is missing or blank.
    static std::optional<std::array<std::string, 2>> returnAuthInfo();

    static std::optional<Bytes> AES256EncryptWithKey(std::string_view key,
                                                     const Bytes& WithOriginalData);
    static std::optional<Bytes> AES256DecryptWithKey(std::string_view key,
                                                     const Bytes& WithEncryptData);

    // Administrator rights are not needed on this platform.
    static bool changeAuthority() { return true; }
    static void removeAuthInfoTmpFile();

    static std::string myInfoPath();
    static std::string temporaryMyInfoPath();

private:
    static void oneSecond();
};

std::optional<Bytes> AES256EncryptWithKey(const Bytes& data, std::string_view key);
std::optional<Bytes> AES256DecryptWithKey(const Bytes& data, std::string_view key);
// Deciphers with the fixed key; nothing for empty input, a bad cipher text or non-UTF-8 text.
std::optional<std::string> stringByAESDecryption(const Bytes& data);
// Enciphers the UTF-8 bytes with the fixed key; nothing for the empty text.
std::optional<Bytes> dataByAESEncryption(std::string_view text);

}  // namespace nbx
