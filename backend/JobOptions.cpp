#include "JobOptions.h"

#include <cups/cups.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <map>

#include "LaunchArguments.h"
#include "Text.h"

namespace nbx::backend {

namespace {

constexpr int kMaxCopies = 9999;

int copiesFrom(const std::string& text) {
    int copies = 1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), copies);
    if (error != std::errc() || end != text.data() + text.size() || copies < 1) return 1;
    return std::min(copies, kMaxCopies);
}

std::string colorFrom(const std::string& colorModel, const std::string& colorMode) {
    const std::string model = asciiLower(colorModel);
    const std::string mode = asciiLower(colorMode);
    const bool gray = model == "gray" || model == "grayscale" || model == "black" ||
                      model == "kgray" || mode == "monochrome" || mode == "bi-level" ||
                      mode == "process-monochrome";
    return gray ? "Gray" : "RGBA";
}

std::string duplexFrom(const std::string& duplex, const std::string& sides) {
    const std::string d = asciiLower(duplex);
    const std::string s = asciiLower(sides);
    if (d == "duplexnotumble" || s == "two-sided-long-edge") return "DUPLEXLONG";
    if (d == "duplextumble" || s == "two-sided-short-edge") return "DUPLEXSHORT";
    return "None";
}

// Names from the description file's PageSize and the standard media names, in the agent's
// words; anything else goes on upper-cased.
std::string paperFrom(std::string name) {
    static const std::map<std::string, std::string> known = {
        {"letter", "LETTER"},
        {"na_letter_8.5x11in", "LETTER"},
        {"legal", "LEGAL"},
        {"na_legal_8.5x14in", "LEGAL"},
        {"executive", "EXCUTIVE"},
        {"na_executive_7.25x10.5in", "EXCUTIVE"},
        {"folio", "FOLIO"},
        {"na_foolscap_8.5x13in", "FOLIO"},
        {"a4", "A4"},
        {"iso_a4_210x297mm", "A4"},
        {"a5", "A5"},
        {"iso_a5_148x210mm", "A5"},
        {"b5", "B5"},
        {"iso_b5_176x250mm", "B5"},
        {"jis_b5_182x257mm", "B5"},
    };
    name = name.substr(0, name.find(','));
    if (name.empty()) return "A4";
    const auto found = known.find(asciiLower(name));
    if (found != known.end()) return found->second;
    // Only letters, digits and a few marks reach the agent's arguments.
    std::string cleaned;
    for (char c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == '.')
            cleaned += c;
    return cleaned.empty() ? "A4" : asciiUpper(cleaned);
}

}  // namespace

JobOptions JobOptions::parse(const std::string& copies, const std::string& options) {
    cups_option_t* parsed = nullptr;
    const int count = cupsParseOptions(options.c_str(), 0, &parsed);
    auto value = [&](const char* name) {
        const char* text = cupsGetOption(name, count, parsed);
        return std::string(text ? text : "");
    };
    JobOptions job;
    job.copies = copiesFrom(copies);
    job.colorModel = colorFrom(value("ColorModel"), value("print-color-mode"));
    job.duplex = duplexFrom(value("Duplex"), value("sides"));
    const std::string pageSize = value("PageSize");
    job.paperSize = paperFrom(pageSize.empty() ? value("media") : pageSize);
    cupsFreeOptions(count, parsed);
    return job;
}

std::vector<std::string> JobOptions::agentArguments(int totalPages,
                                                    const std::string& targetPath) const {
    return LaunchArguments{totalPages, colorModel, duplex, paperSize, std::to_string(copies),
                           targetPath}
        .arguments();
}

}  // namespace nbx::backend
