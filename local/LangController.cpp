#include "LangController.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "Configuration.h"
#include "Text.h"

namespace nbx {

namespace {

constexpr std::string_view kEscapedAmpersand = "&amp;";
constexpr std::string_view kMarker = "[]";

bool isFile(const std::filesystem::path& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

}  // namespace

LangController::LangController(const std::string& path)
    : dicLang_(LangXMLParser::parsingNBXD2LangWithPath(path).value_or(LangTable{})) {}

LangController LangController::forProcessLocale() {
    return LangController(languageFilePath(Configuration::resourcesFolder(), processLocale()));
}

std::string LangController::getLocalizedStringWithKey(std::string_view key) const {
    const auto escaped = key.find(kEscapedAmpersand);
    if (escaped == std::string_view::npos) {
        const auto found = dicLang_.find(key);
        return found != dicLang_.end() ? found->second : std::string(key);
    }
    std::string marked(key);
    marked.replace(escaped, kEscapedAmpersand.size(), kMarker);
    const auto found = dicLang_.find(marked);
    // Without a translation the English key is shown, its escape read as the "&" it stands for.
    return found != dicLang_.end() ? replaceAll(found->second, kMarker, "&")
                                   : replaceAll(std::string(key), kEscapedAmpersand, "&");
}

std::string LangController::processLocale() {
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value) {
            locale = value;
            break;
        }
    }
    // "de_DE.UTF-8@euro" → "de_DE"
    locale = locale.substr(0, locale.find_first_of(".@"));
    if (locale.empty() || locale == "C" || locale == "POSIX") return "en_US";
    return locale;
}

std::string LangController::languageFilePath(const std::string& resourcesFolder,
                                             std::string_view locale) {
    const auto folder = std::filesystem::path(resourcesFolder) / "languageXML";
    const std::string language(locale.substr(0, locale.find('_')));
    for (const auto& name : {std::string(locale), language}) {
        if (name.empty() || name.find('/') != std::string::npos) continue;
        if (isFile(folder / (name + ".xml"))) return (folder / (name + ".xml")).string();
    }
    return (folder / kFallbackFile).string();
}

}  // namespace nbx
