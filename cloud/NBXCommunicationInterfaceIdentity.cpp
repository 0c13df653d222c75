// How the communication layer identifies the computer, the application and its build.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "Configuration.h"
#include "DebugLine.h"
#include "HardwareAddress.h"
#include "NBXCommunicationInterface.h"
#include "NBXUtility.h"
#include "PropertyListFile.h"

namespace nbx {

namespace {

constexpr const char* kDefaultVersion = "2.00.125";
constexpr std::size_t kMaxVersionFileBytes = 4096;

std::optional<std::string> installerVersionText() {
    std::error_code ec;
    const auto path =
        std::filesystem::temp_directory_path(ec) / "NBXInst_Installer" / "version.txt";
    if (ec || !std::filesystem::exists(path, ec)) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    std::string text(kMaxVersionFileBytes, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (!in && !in.eof()) return std::string();
    text.resize(static_cast<std::size_t>(in.gcount()));
    return isValidUtf8(text) ? text : std::string();
}

std::string bundleVersionText() {
    const auto info = readPropertyListFile(Configuration::resourcesFolder() + "/Info.plist");
    if (info) {
        if (auto version = (*info)["CFBundleShortVersionString"].string()) return *version;
    }
    return kDefaultVersion;
}

std::vector<std::string> splitAtDots(const std::string& text) {
    std::vector<std::string> parts;
    std::string part;
    std::istringstream in(text);
    while (std::getline(in, part, '.'))
        parts.push_back(part);
    if (!text.empty() && text.back() == '.') parts.emplace_back();
    return parts;
}

}  // namespace

const std::string& NBXCommunicationInterface::pcDriverAppId() {
    static const std::string id =
        "t1pJRh0v5UB6gV38CrhJWsGBTVG4P3E0KL1hQkpAbzfPFgl3lJvAGpifO6nKDUp5tdqynBsKzY7C7Lp4BI8JXaNrBZ"
        "fjLDcK3uXUrCAdlcKYCodBlOvtWCFkBoF1f6ph";
    return id;
}

const std::string& NBXCommunicationInterface::NBXD2AppID() {
    static const std::string id =
        "4Ripr2IgV8CpTYDfPhQZanZ1EsQNvbsXC2IEyJ9sxr2qKiiCnWX2BmpaErRjEG0lZUPgkqIH8iCUig4saqfobxmref"
        "Ur4IKRnDc7p7ekbpScbpGYetuvf2EXuVKRdncD";
    return id;
}

const std::string& NBXCommunicationInterface::nbxAgentAppID() {
    static const std::string id =
        "Lc4mgcnyKlAXINn0WW1vzzXdQYGmgmPP6zD05WjeVt1PUyX4yIxZ1VDG84zxNFpIANcPNp71eJuwSJapReUrrekGAV"
        "9CLcdCVUJTeYB9A7zgUAsWRDGs2wvXEHBuQam7";
    return id;
}

NBXCommunicationInterface::NBXCommunicationInterface() {
    getClientMajorAndMinorVersionStrings();
    accessToken_ = NBXUtility::valmoraAccessToken();
    macAddress_ = getMACAddress();
    clientVer_ = lookUpClientVersion();
}

std::optional<std::string> NBXCommunicationInterface::getMACAddress() {
    auto address = primaryHardwareAddress("/proc/net/route", "/sys/class/net");
    if (!address) writeDebugLine("GetMACAddress returned 0x00000005\n");
    return address;
}

void NBXCommunicationInterface::getClientMajorAndMinorVersionStrings() {
    auto text = installerVersionText();
    if (!text) text = bundleVersionText();
    const auto parts = splitAtDots(*text);
    // Too few components reads like an unreadable file rather than failing.
    if (parts.size() < 3) {
        versionMajor_.reset();
        versionMinor_.emplace(1, '.');
        return;
    }
    versionMajor_ = parts[0];
    std::string minor = parts[1];
    minor += '.';
    minor += parts[2];
    versionMinor_ = std::move(minor);
}

std::optional<std::string> NBXCommunicationInterface::lookUpClientVersion() const {
    if (!versionMajor_ || !versionMinor_) return std::nullopt;
    return *versionMajor_ + "." + *versionMinor_;
}

}  // namespace nbx
