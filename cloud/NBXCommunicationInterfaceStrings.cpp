// URL, query, form and file-name helpers of the communication layer.

#include <algorithm>
#include <cctype>
#include <memory>
#include <string_view>

#include "CurlLibrary.h"
#include "DebugLine.h"
#include "NBXCommunicationInterface.h"

namespace nbx {

namespace {

// Characters that may not stand in a URL at all; reserved ones are left to the caller.
bool needsEscape(unsigned char c) {
    if (c <= 0x20 || c >= 0x7f) return true;
    return std::string_view("\"%<>\\^`{|}#[]").find(static_cast<char>(c)) != std::string_view::npos;
}

bool isPlausibleURL(const std::string& text) {
    if (std::any_of(text.begin(), text.end(), [](char ch) {
            const auto c = static_cast<unsigned char>(ch);
            return c <= 0x20 || c >= 0x7f ||
                   std::string_view("\"<>\\^`{|}").find(ch) != std::string_view::npos;
        }))
        return false;
    const CurlLibrary* lib = CurlLibrary::get();
    if (!lib) return false;
    std::unique_ptr<CURLU, decltype(lib->url_cleanup)> parsed(lib->url(), lib->url_cleanup);
    return parsed && lib->url_set(parsed.get(), CURLUPART_URL, text.c_str(),
                                  CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK;
}

void appendPathComponent(std::string& url, std::string_view component) {
    while (!url.empty() && url.back() == '/')
        url.pop_back();
    while (!component.empty() && component.front() == '/')
        component.remove_prefix(1);
    url += '/';
    url += component;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i == text.size() || text[i] == separator) {
            parts.push_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    return parts;
}

}  // namespace

std::optional<std::string> NBXCommunicationInterface::constructURLStringWithProtocol(
    const std::optional<std::string>& protocol, const std::optional<std::string>& domain,
    const std::optional<std::string>& apiServer, const std::optional<std::string>& apiURL) {
    if (!protocol || protocol->empty()) return std::nullopt;
    if (!domain || domain->empty()) {
        writeDebugLine("NBX_COI: protocl and domain are not available to construct URL");
        return std::nullopt;
    }
    std::string url = *protocol + *domain;
    if (apiServer && !apiServer->empty()) {
        appendPathComponent(url, *apiServer);
        if (apiURL) appendPathComponent(url, *apiURL);
    }
    if (!isPlausibleURL(url)) return std::nullopt;
    return url;
}

std::optional<std::string> NBXCommunicationInterface::fillURL(const std::optional<std::string>& url,
                                                              const PropertyValue& parameters) {
    if (!url) {
        writeDebugLine("NBX_COI: No URL to fill");
        return std::nullopt;
    }
    std::string query;
    if (const auto* dict = parameters.dictionaryPtr()) {
        for (const auto& [key, value] : *dict) {
            if (!query.empty()) query += '&';
            query += urlEncode(PropertyValue(key)) + "=" + urlEncode(value);
        }
    }
    std::string filled = *url + "?" + query;
    if (!isPlausibleURL(filled)) return std::nullopt;
    return filled;
}

std::string NBXCommunicationInterface::toString(const PropertyValue& value) {
    if (const auto* text = value.stringPtr()) return *text;
    return value.description();
}

std::string NBXCommunicationInterface::urlEncode(const PropertyValue& value) {
    static const char* kHex = "0123456789ABCDEF";
    std::string out;
    for (const char ch : toString(value)) {
        const auto c = static_cast<unsigned char>(ch);
        if (needsEscape(c)) {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        } else {
            out += ch;
        }
    }
    return out;
}

std::string NBXCommunicationInterface::createXwwwformurlencodedString(
    const PropertyValue& parameters) {
    std::string out;
    if (const auto* dict = parameters.dictionaryPtr()) {
        for (const auto& [key, value] : *dict) {
            if (!out.empty()) out += '&';
            out += key + "=" + toString(value);
        }
    }
    return out;
}

std::optional<PropertyValue> NBXCommunicationInterface::parseXwwwFormURLEncodedResponseData(
    const Bytes& data) {
    const std::string text = SafeStringFromNSData(&data);
    if (text.empty()) return std::nullopt;
    PropertyValue result = PropertyValue::dictionary();
    // The answers this reads separate their pairs with "?", not "&".
    for (const auto piece : split(text, '?')) {
        const auto parts = split(piece, '=');
        if (parts.size() == 2) result.set(std::string(parts[0]), std::string(parts[1]));
    }
    return result;
}

std::optional<std::string> NBXCommunicationInterface::filterOutUnSupportedCharactersForFileName(
    const std::optional<std::string>& fileName) {
    if (!fileName) return std::nullopt;
    std::string out = *fileName;
    for (char& c : out) {
        if (std::string_view("\\/*|\":<>?").find(c) != std::string_view::npos) c = '-';
    }
    return out;
}

bool isResponseASuccess(const PropertyValue& response) {
    const PropertyValue& success = response["success"];
    if (const auto* text = success.stringPtr()) {
        std::string_view t = *text;
        while (!t.empty() && std::isspace(static_cast<unsigned char>(t.front())))
            t.remove_prefix(1);
        if (!t.empty() && (t.front() == '+' || t.front() == '-')) t.remove_prefix(1);
        while (!t.empty() && t.front() == '0')
            t.remove_prefix(1);
        return !t.empty() &&
               std::string_view("YyTt123456789").find(t.front()) != std::string_view::npos;
    }
    return success.isTrue();
}

}  // namespace nbx
