#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace nbx {

// Key text to translated text.
using LangTable = std::map<std::string, std::string, std::less<>>;

// Reads a language file: Translation / Messages / Message / { Id, Value }.
class LangXMLParser {
public:
    // Larger files are refused rather than read whole.
    static constexpr std::size_t kMaxFileSize = 8 * 1024 * 1024;

    // Nothing for an empty path, an unreadable, oversized or non-UTF-8 file, or XML that does
    // not parse. Every "&amp;" of the file reads as the marker "[]".
    static std::optional<LangTable> parsingNBXD2LangWithPath(const std::string& path);
    // Nothing when the tree has no children, no "Translation" element or an empty one.
    static std::optional<LangTable> parseLocalXML(const pugi::xml_node& tree);
    // The first element called `name`: the node itself, then each child's subtree in order.
    static pugi::xml_node getTreeRefForNodeName(std::string_view name, const pugi::xml_node& tree);
};

}  // namespace nbx
