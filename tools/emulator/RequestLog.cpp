#include "RequestLog.h"

#include "Base64.h"

namespace nbx::emulator {

void RequestLog::add(const std::string& method, const std::string& path, const std::string& query,
                     const std::vector<std::pair<std::string, std::string>>& headers,
                     const std::string& body) {
    PropertyDictionary headerMap;
    for (const auto& [name, value] : headers)
        headerMap.set(name, value);
    PropertyDictionary entry{
        {"method", method}, {"path", path}, {"query", query}, {"headers", std::move(headerMap)}};
    if (isValidUtf8(body)) {
        entry.set("body", body);
    } else {
        entry.set("bodyBase64", base64Encode(body));
    }
    if (entries_.size() >= kMaxEntries) entries_.erase(entries_.begin());
    entries_.push_back(std::move(entry));
}

PropertyValue RequestLog::toValue() const {
    return PropertyValue::dictionary({{"requests", entries_}});
}

}  // namespace nbx::emulator
