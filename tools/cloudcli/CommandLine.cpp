#include "CommandLine.h"

#include <fstream>
#include <iterator>

#include "CloudOperations.h"
#include "JSONKit.h"

namespace nbx::cloudcli {

namespace {

std::string base64(const Bytes& data) {
    static const char* kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((data.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < data.size(); i += 3) {
        const std::uint32_t n = (std::uint32_t{data[i]} << 16) |
                                (i + 1 < data.size() ? std::uint32_t{data[i + 1]} << 8 : 0) |
                                (i + 2 < data.size() ? std::uint32_t{data[i + 2]} : 0);
        out += kAlphabet[(n >> 18) & 63];
        out += kAlphabet[(n >> 12) & 63];
        out += i + 1 < data.size() ? kAlphabet[(n >> 6) & 63] : '=';
        out += i + 2 < data.size() ? kAlphabet[n & 63] : '=';
    }
    return out;
}

bool addFile(const std::string& assignment, PropertyValue& input, std::string* error) {
    const auto equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == assignment.size()) {
        *error = "--file wants KEY=PATH, got \"" + assignment + "\"";
        return false;
    }
    const std::string path = assignment.substr(equals + 1);
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        *error = "cannot read " + path;
        return false;
    }
    Bytes data{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    input.set(assignment.substr(0, equals), std::move(data));
    return true;
}

bool mergeJSON(const std::string& text, PropertyValue& input, std::string* error) {
    const auto decoded = objectFromJSONData(std::string_view(text));
    if (!decoded || !decoded->isDictionary()) {
        *error = "the input must be a JSON object";
        return false;
    }
    for (const auto& [key, value] : *decoded->dictionaryPtr())
        input.set(key, value);
    return true;
}

}  // namespace

std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                            std::string* error) {
    CommandLine line;
    bool haveInput = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& arg = arguments[i];
        if (arg == "--help" || arg == "-h") {
            line.help = true;
        } else if (arg == "--debug") {
            line.debug = true;
        } else if (arg == "--file") {
            if (i + 1 == arguments.size()) {
                *error = "--file needs KEY=PATH";
                return std::nullopt;
            }
            if (!addFile(arguments[++i], line.input, error)) return std::nullopt;
        } else if (line.operation.empty() && !arg.starts_with("-")) {
            line.operation = arg;
        } else if (!haveInput && !arg.starts_with("--")) {
            if (!mergeJSON(arg, line.input, error)) return std::nullopt;
            haveInput = true;
        } else {
            *error = "unexpected argument \"" + arg + "\"";
            return std::nullopt;
        }
    }
    if (line.help) return line;
    if (line.operation.empty()) {
        *error = "no operation given";
        return std::nullopt;
    }
    if (!findCloudOperation(line.operation)) {
        *error = "unknown operation \"" + line.operation + "\"";
        return std::nullopt;
    }
    return line;
}

PropertyValue printable(const PropertyValue& value) {
    if (const auto* data = value.data()) return base64(*data);
    if (value.isDate()) return value.description();
    if (const auto* array = value.arrayPtr()) {
        PropertyArray out;
        for (const auto& item : *array)
            out.push_back(printable(item));
        return out;
    }
    if (const auto* dict = value.dictionaryPtr()) {
        PropertyDictionary out;
        for (const auto& [key, item] : *dict)
            out.set(key, printable(item));
        return out;
    }
    return value;
}

std::string usageText() {
    std::string text =
        "usage: nbx-cloud OPERATION [JSON-INPUT] [--file KEY=PATH]... [--debug]\n"
        "\n"
        "Finds the service through the lookup server (NBX_LOOKUP_SERVER=host:port overrides\n"
        "it), calls OPERATION with the JSON object as input and prints one JSON object:\n"
        "  {\"result\": true|false, \"returnedInformation\": ..., \"errorInformation\": ...}\n"
        "--file KEY=PATH puts the file's bytes under KEY as data (the upload's \"pdfData\").\n"
        "Data values in the output are printed as base64 text.\n"
        "Exit status: 0 when the call was made, whatever its result; 1 when the interface\n"
        "could not be created (its error information is printed the same way); 2 for usage\n"
        "errors.\n"
        "\n"
        "Operations:\n";
    for (const auto& op : cloudOperations())
        text += "  " + std::string(op.name) + "\n";
    return text;
}

}  // namespace nbx::cloudcli
