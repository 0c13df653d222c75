// Reads arbitrary bytes as an IEEE 1284 device id both ways; the strict fields must format and
// read back unchanged, and the lenient reading must be the strict one trimmed, plus at most
// an unterminated last piece.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "DeviceId.h"

namespace {

using nbx::DeviceId;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool wellFormed(const DeviceId::Field& field) {
    for (char c : field.key)
        if (c == ':' || c == ';' || (c >= 'a' && c <= 'z')) return false;
    return field.value.find(';') == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view id(reinterpret_cast<const char*>(data), size);
    const auto strict = DeviceId::fields(id, DeviceId::Reading::Strict);
    const auto lenient = DeviceId::fields(id, DeviceId::Reading::Lenient);
    if (lenient.size() < strict.size() || lenient.size() > strict.size() + 1) std::abort();
    for (const auto& field : lenient)
        if (!wellFormed(field)) std::abort();
    std::string formatted;
    for (std::size_t i = 0; i < strict.size(); ++i) {
        const auto& field = strict[i];
        if (!wellFormed(field)) std::abort();
        if (trimmed(field.key) != lenient[i].key || trimmed(field.value) != lenient[i].value)
            std::abort();
        formatted += field.key + ":" + field.value + ";";
    }
    if (formatted.size() > size) std::abort();
    const auto again = DeviceId::fields(formatted, DeviceId::Reading::Strict);
    if (again.size() != strict.size()) std::abort();
    for (std::size_t i = 0; i < strict.size(); ++i)
        if (again[i].key != strict[i].key || again[i].value != strict[i].value) std::abort();
    // A value looked up is the first lenient field of that name.
    if (!lenient.empty()) {
        const std::string& key = lenient.back().key;
        std::string first;
        for (const auto& field : lenient)
            if (field.key == key) {
                first = field.value;
                break;
            }
        if (DeviceId::value(id, key) != first) std::abort();
    }
    return 0;
}
