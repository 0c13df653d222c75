#include "DeviceId.h"

#include "Text.h"

namespace nbx {

namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::vector<DeviceId::Field> DeviceId::fields(std::string_view id, Reading reading) {
    const bool lenient = reading == Reading::Lenient;
    std::vector<Field> found;
    while (!id.empty()) {
        const auto end = id.find(';');
        if (end == std::string_view::npos && !lenient) break;
        const std::string_view piece = id.substr(0, end);
        const auto colon = piece.find(':');
        if (colon != std::string_view::npos) {
            std::string_view key = piece.substr(0, colon), value = piece.substr(colon + 1);
            if (lenient) {
                key = trimmed(key);
                value = trimmed(value);
            }
            found.push_back({asciiUpper(key), std::string(value)});
        }
        if (end == std::string_view::npos) break;
        id.remove_prefix(end + 1);
    }
    return found;
}

std::string DeviceId::value(std::string_view id, std::string_view key, std::string_view longKey) {
    for (auto& field : fields(id, Reading::Lenient))
        if (field.key == key || (!longKey.empty() && field.key == longKey))
            return std::move(field.value);
    return {};
}

}  // namespace nbx
