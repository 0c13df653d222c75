// Reads arbitrary bytes as a language file; the entries plain XML text carries must write as a
// language file and read back unchanged.
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "LangXMLParser.h"
#include "MemoryFile.h"
#include "PropertyValue.h"

namespace {

// Ampersands read back as the "[]" marker, line ends are normalised and blank text is dropped,
// so only other texts can come back as they went.
bool plain(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") != std::string::npos &&
           text.find_first_of("&\r") == std::string::npos && nbx::isValidUtf8(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile input, output;
    const auto table = nbx::LangXMLParser::parsingNBXD2LangWithPath(input.hold(data, size));
    if (!table) return 0;
    // Every entry needs an element of its own in the file.
    if (table->size() > size) std::abort();

    nbx::LangTable expected;
    pugi::xml_document document;
    auto messages = document.append_child("Translation").append_child("Messages");
    for (const auto& [key, value] : *table) {
        if ((!key.empty() && !plain(key)) || !plain(value)) continue;
        auto message = messages.append_child("Message");
        message.append_child("Id").text().set(key.c_str());
        message.append_child("Value").text().set(value.c_str());
        expected.emplace(key, value);
    }
    if (expected.empty()) return 0;
    std::ostringstream text;
    document.save(text);
    const std::string written = text.str();
    const auto again = nbx::LangXMLParser::parsingNBXD2LangWithPath(
        output.hold(reinterpret_cast<const std::uint8_t*>(written.data()), written.size()));
    if (!again || *again != expected) std::abort();
    return 0;
}
