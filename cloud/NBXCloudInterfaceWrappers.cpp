// The four operations that build their own input, and the system facts they send.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "LangController.h"
#include "NBXCloudInterface.h"
#include "PropertyListFile.h"

namespace nbx {

namespace {

std::string preferredLanguage() {
    const std::string locale = LangController::processLocale();
    return locale.substr(0, locale.find('_'));
}

std::string unquoted(std::string value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front())
        return value.substr(1, value.size() - 2);
    return value;
}

std::optional<std::int64_t> marketAgreementStatus() {
    const auto settings = readPropertyListFile(NBXCloudInterface::installerSettingsFile());
    if (!settings) return std::nullopt;
    const PropertyValue& status = (*settings)["MarketAgreementStatus"];
    if (const auto* text = status.stringPtr()) return std::atoll(text->c_str());
    return status.integer();
}

PropertyValue senderOf(const PropertyValue& input) {
    PropertyDictionary sender;
    setObjectFromDictionary(sender, input, "senderCountryCode");
    setObjectFromDictionary(sender, input, "senderPhoneNumber");
    return sender;
}

}  // namespace

std::optional<std::string> NBXCloudInterface::MacOSVersionString() {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::ifstream in(path);
        std::string line;
        while (in && std::getline(in, line)) {
            if (line.starts_with("VERSION_ID=")) return unquoted(line.substr(11));
        }
    }
    return std::nullopt;
}

std::string NBXCloudInterface::systemLocationString() {
    return systemLocationString(LangController::processLocale());
}

std::string NBXCloudInterface::systemLocationString(std::string_view localeIdentifier) {
    const auto underscore = localeIdentifier.find('_');
    if (underscore == std::string_view::npos) return std::string(localeIdentifier);
    return std::string(localeIdentifier.substr(underscore + 1));
}

std::string NBXCloudInterface::installerSettingsFile() {
    std::error_code ec;
    return (std::filesystem::temp_directory_path(ec) / "NBXInst_Installer" /
            "NBXInst_UserSettings.plist")
        .string();
}

bool NBXCloudInterface::succeeded(bool (NBXCloudInterface::*operation)(const PropertyValue&,
                                                                       PropertyValue*,
                                                                       PropertyValue*),
                                  const PropertyValue& input) {
    PropertyValue answer;
    return (this->*operation)(input, &answer, nullptr) && isResponseASuccess(answer);
}

bool NBXCloudInterface::registerNbxd2InformationToServer(const PropertyValue& input, PropertyValue*,
                                                         PropertyValue*) {
    PropertyValue request = senderOf(input);
    request.set("clientOS", "Mac");
    if (auto version = MacOSVersionString()) request.set("clientOSVersion", *version);
    request.set("clientOSLanguage", preferredLanguage());
    request.set("clientSysLocation", systemLocationString());
    return succeeded(&NBXCloudInterface::RegisterNbxd2information, request);
}

bool NBXCloudInterface::updateNbxd2SettingInformation(const PropertyValue& input, PropertyValue*,
                                                      PropertyValue*) {
    PropertyValue request = senderOf(input);
    const PropertyValue& pushNoti = input["clientPushNoti"];
    request.set("clientPushNoti", pushNoti.isNull() ? PropertyValue("false") : pushNoti);
    return succeeded(&NBXCloudInterface::updateNbxd2SettingInformationForPushNoti, request);
}

bool NBXCloudInterface::updateEULAForSuppliesToServer(const PropertyValue& input, PropertyValue*,
                                                      PropertyValue*) {
    PropertyValue request = senderOf(input);
    const auto status = marketAgreementStatus();
    // The device flag follows the marketing choice; the market flag is always "false".
    request.set("isAgreedSuppliesMarketEULA", "false");
    request.set("isAgreedSuppliesDeviceEULA", !status || *status != 0 ? "true" : "false");
    return succeeded(&NBXCloudInterface::eulaAgreement, request);
}

bool NBXCloudInterface::updateMarketingEULAToServer(const PropertyValue& input, PropertyValue*,
                                                    PropertyValue*) {
    PropertyValue request = senderOf(input);
    const auto status = marketAgreementStatus();
    request.set("clientMarketingEula", !status || *status != 0 ? "true" : "false");
    return succeeded(&NBXCloudInterface::updateMarketingEula, request);
}

}  // namespace nbx
