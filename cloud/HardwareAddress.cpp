#include "HardwareAddress.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace nbx {

namespace {

constexpr std::size_t kMaxFileBytes = 64 << 10;

std::string readSmallFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::string text(kMaxFileBytes, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, in.gcount())));
    return text;
}

std::optional<std::string> addressOf(const std::filesystem::path& folder, const std::string& name) {
    if (name.empty() || name == "lo" || name.find('/') != std::string::npos) return std::nullopt;
    auto address = compactHardwareAddress(readSmallFile(folder / name / "address"));
    if (!address || *address == "000000000000") return std::nullopt;
    return address;
}

}  // namespace

std::optional<std::string> defaultRouteInterface(std::string_view routeTable) {
    std::istringstream lines{std::string(routeTable)};
    std::string line;
    std::getline(lines, line);  // column titles
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string name, destination, gateway, flags, refCount, use, metric, mask;
        if (!(fields >> name >> destination >> gateway >> flags >> refCount >> use >> metric >>
              mask))
            continue;
        if (destination == "00000000" && mask == "00000000") return name;
    }
    return std::nullopt;
}

std::optional<std::string> compactHardwareAddress(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    if (text.size() != 17) return std::nullopt;
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (i % 3 == 2) {
            if (c != ':' && c != '-') return std::nullopt;
        } else {
            if (!std::isxdigit(c)) return std::nullopt;
            out += static_cast<char>(std::tolower(c));
        }
    }
    return out;
}

std::optional<std::string> primaryHardwareAddress(const std::string& routeTablePath,
                                                  const std::string& interfacesFolder) {
    const std::filesystem::path folder(interfacesFolder);
    if (const auto name = defaultRouteInterface(readSmallFile(routeTablePath))) {
        if (auto address = addressOf(folder, *name)) return address;
    }
    // Physical cards first: bridges and virtual interfaces (docker0, virbr0) have no device.
    std::vector<std::pair<bool, std::string>> names;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
        std::error_code deviceError;
        const bool physical = std::filesystem::exists(entry.path() / "device", deviceError);
        names.emplace_back(!physical, entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    for (const auto& entry : names) {
        if (auto address = addressOf(folder, entry.second)) return address;
    }
    return std::nullopt;
}

}  // namespace nbx
