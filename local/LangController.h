#pragma once

#include <string>
#include <string_view>

#include "LangXMLParser.h"

namespace nbx {

// Answers the texts the application shows, looked up by their English wording.
//
// Choosing the file: the process locale (LC_ALL, then LC_MESSAGES, then LANG) names a
// language_REGION; the file is <resources>/languageXML/<language>_<REGION>.xml when present,
// else <language>.xml, else the English en.xml.
class LangController {
public:
    static constexpr std::string_view kFallbackFile = "en.xml";

    // An empty table: every look-up answers its key.
    LangController() = default;
    // The table of the language file at `path`; empty when the file cannot be read.
    explicit LangController(const std::string& path);
    // The language file chosen for the process locale in Configuration::resourcesFolder().
    static LangController forProcessLocale();

    // The translated text; the key itself when the table has none.
    std::string getLocalizedStringWithKey(std::string_view key) const;
    const LangTable& dicLang() const { return dicLang_; }

    // The process locale as language_REGION ("de_DE", "en"); "en_US" when unset, "C" or "POSIX".
    static std::string processLocale();
    // "%@/languageXML/%@" of the resources folder and the file chosen for `locale`.
    static std::string languageFilePath(const std::string& resourcesFolder,
                                        std::string_view locale);

private:
    LangTable dicLang_;
};

}  // namespace nbx
