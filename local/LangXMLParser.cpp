#include "LangXMLParser.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "PropertyValue.h"
#include "Text.h"

namespace nbx {

namespace {

std::optional<std::string> readSmallFile(const std::string& path) {
    // Devices and pipes could block or never end.
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string text;
    char buffer[64 * 1024];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
        text.append(buffer, static_cast<std::size_t>(in.gcount()));
        if (text.size() > LangXMLParser::kMaxFileSize) return std::nullopt;
    }
    if (in.bad()) return std::nullopt;
    return text;
}

// Text of a node's first child, when that child is text.
std::optional<std::string> firstChildText(const pugi::xml_node& node) {
    const auto child = node.first_child();
    if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) return std::nullopt;
    return std::string(child.value());
}

void readMessage(const pugi::xml_node& message, std::optional<LangTable>& table) {
    std::string key;  // a Value before any Id is stored under the empty key
    for (const auto& child : message.children()) {
        if (!table) table.emplace();
        const std::string_view name = child.name();
        if (name == "Id") {
            key = firstChildText(child).value_or("");
        } else if (name == "Value") {
            if (auto value = firstChildText(child)) (*table)[key] = std::move(*value);
        }
    }
}

}  // namespace

std::optional<LangTable> LangXMLParser::parsingNBXD2LangWithPath(const std::string& path) {
    if (path.empty()) return std::nullopt;
    auto text = readSmallFile(path);
    if (!text || !isValidUtf8(*text)) return std::nullopt;
    // An escaped ampersand survives parsing as a plain marker; look-ups undo it.
    *text = replaceAll(std::move(*text), "&amp;", "[]");
    pugi::xml_document document;
    if (!document.load_buffer(text->data(), text->size(), pugi::parse_default, pugi::encoding_utf8))
        return std::nullopt;
    return parseLocalXML(document);
}

std::optional<LangTable> LangXMLParser::parseLocalXML(const pugi::xml_node& tree) {
    if (!tree.first_child()) return std::nullopt;
    const auto translation = getTreeRefForNodeName("Translation", tree);
    if (!translation || !translation.first_child()) return std::nullopt;
    std::optional<LangTable> table;
    for (const auto& messages : translation.children("Messages"))
        for (const auto& message : messages.children("Message"))
            readMessage(message, table);
    return table;
}

pugi::xml_node LangXMLParser::getTreeRefForNodeName(std::string_view name,
                                                    const pugi::xml_node& tree) {
    // Walks parent and sibling links instead of recursing, so deep nesting cannot overflow.
    for (auto node = tree; node;) {
        if (node.type() == pugi::node_element && name == node.name()) return node;
        if (node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node != tree && !node.next_sibling())
            node = node.parent();
        if (node == tree) break;
        node = node.next_sibling();
    }
    return {};
}

}  // namespace nbx
