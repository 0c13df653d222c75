#include "SecretMask.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "Text.h"

namespace nbx {

namespace {

bool isWordChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

std::size_t skipBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])))
        ++at;
    return at;
}

bool startsAt(std::string_view text, std::size_t at, std::string_view what) {
    return text.substr(at, what.size()) == what;
}

// End of a quoted value whose opening quote is at `open`: the closing quote, or the text's end.
std::size_t quotedEnd(std::string_view text, std::size_t open) {
    std::size_t at = open + 1;
    while (at < text.size() && text[at] != '"')
        at += text[at] == '\\' ? 2 : 1;
    return std::min(at, text.size());
}

struct Span {
    std::size_t begin = 0, end = 0;
};

// Where the value that follows a key ending at `at` lies; empty when nothing secret follows.
Span valueAfterKey(std::string_view text, std::size_t at, bool quotedKey) {
    if (quotedKey) {
        if (!startsAt(text, at, "\"")) return {};
        at = skipBlanks(text, at + 1);
        if (startsAt(text, at, ":")) {
            at = skipBlanks(text, at + 1);
            if (!startsAt(text, at, "\"")) return {};
            return {at + 1, quotedEnd(text, at)};
        }
    }
    if (startsAt(text, at, "</key>")) {
        at = skipBlanks(text, at + 6);
        if (!startsAt(text, at, "<string>")) return {};
        const std::size_t close = text.find("</string>", at + 8);
        return {at + 8, close == std::string_view::npos ? text.size() : close};
    }
    at = skipBlanks(text, at);
    if (!startsAt(text, at, "=")) return {};
    at = skipBlanks(text, at + 1);
    if (startsAt(text, at, "\"")) return {at + 1, quotedEnd(text, at)};
    std::size_t end = at;
    while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end])) &&
           std::string_view("&;,}\"").find(text[end]) == std::string_view::npos) {
        ++end;
    }
    return {at, end};
}

}  // namespace

bool isSecretKey(std::string_view key) {
    static constexpr std::array<std::string_view, 4> kNames = {"pin", "pincode", "password",
                                                               "passcode"};
    const std::string name = asciiLower(key);
    return std::find(kNames.begin(), kNames.end(), name) != kNames.end() ||
           (name.size() >= 5 && name.ends_with("token"));
}

std::string maskSecrets(std::string_view text) {
    std::string out;
    std::size_t copied = 0, at = 0;
    while (at < text.size()) {
        if (!isWordChar(text[at])) {
            ++at;
            continue;
        }
        const std::size_t start = at;
        while (at < text.size() && isWordChar(text[at]))
            ++at;
        if (!isSecretKey(text.substr(start, at - start))) continue;
        const bool quoted = start > 0 && text[start - 1] == '"';
        const Span value = valueAfterKey(text, at, quoted);
        if (value.end <= value.begin) continue;
        out.append(text.substr(copied, value.begin - copied));
        out += "(hidden, " + std::to_string(value.end - value.begin) + " characters)";
        copied = at = value.end;
    }
    out.append(text.substr(copied));
    return out;
}

}  // namespace nbx
