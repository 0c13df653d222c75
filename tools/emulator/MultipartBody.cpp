#include "MultipartBody.h"

#include "Text.h"

namespace nbx::emulator {
namespace {

std::string_view trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

// The value of `name` in a header's parameter list ("form-data; name=\"a; b\"; filename=c"),
// quotes removed. Parameters are taken in turn, so a quoted value may hold ';' and "name=".
std::optional<std::string> parameter(std::string_view header, std::string_view name) {
    const std::string wanted = asciiLower(name);
    for (auto semicolon = header.find(';'); semicolon != std::string_view::npos;) {
        header.remove_prefix(semicolon + 1);
        const auto equals = header.find('=');
        semicolon = header.find(';');
        if (equals == std::string_view::npos) return std::nullopt;
        if (semicolon < equals) continue;  // a parameter without a value
        const bool found = asciiLower(trim(header.substr(0, equals))) == wanted;
        const std::string_view value = trim(header.substr(equals + 1, semicolon - equals - 1));
        if (value.empty() || value.front() != '"') {
            if (found) return std::string(value);
            continue;
        }
        const auto open = static_cast<std::size_t>(value.data() - header.data());
        const auto close = header.find('"', open + 1);
        if (close == std::string_view::npos) return std::nullopt;
        if (found) return std::string(header.substr(open + 1, close - open - 1));
        semicolon = header.find(';', close);
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> MultipartBody::boundaryOf(std::string_view contentType) {
    if (asciiLower(trim(contentType.substr(0, contentType.find(';')))) != "multipart/form-data") {
        return std::nullopt;
    }
    auto boundary = parameter(contentType, "boundary");
    if (!boundary || boundary->empty() || boundary->size() > 200) return std::nullopt;
    return boundary;
}

bool MultipartBody::parseHeaders(std::string_view block, Part* part) {
    while (!block.empty()) {
        auto end = block.find("\r\n");
        std::string_view line = block.substr(0, end);
        block = end == std::string_view::npos ? std::string_view() : block.substr(end + 2);
        auto colon = line.find(':');
        if (colon == std::string_view::npos) return false;
        std::string name = asciiLower(trim(line.substr(0, colon)));
        std::string_view value = trim(line.substr(colon + 1));
        if (name == "content-disposition") {
            if (asciiLower(value.substr(0, value.find(';'))) != "form-data") return false;
            part->name = parameter(value, "name").value_or("");
            part->fileName = parameter(value, "filename");
        } else if (name == "content-type") {
            part->contentType = std::string(value);
        }
    }
    return !part->name.empty();
}

std::optional<MultipartBody> MultipartBody::parse(std::string_view contentType,
                                                  std::string_view body, std::string* error) {
    auto boundary = boundaryOf(contentType);
    if (!boundary) {
        *error = "Content-Type is not multipart/form-data with a boundary";
        return std::nullopt;
    }
    const std::string opening = "--" + *boundary + "\r\n";
    const std::string delimiter = "\r\n--" + *boundary;
    if (body.substr(0, opening.size()) != opening) {
        *error = "body does not start with the boundary";
        return std::nullopt;
    }
    MultipartBody result;
    std::size_t at = opening.size();
    while (result.parts_.size() < kMaxParts) {
        auto headersEnd = body.find("\r\n\r\n", at);
        if (headersEnd == std::string_view::npos || headersEnd - at > kMaxHeaderBytes) {
            *error = "part headers are not terminated";
            return std::nullopt;
        }
        Part part;
        if (!parseHeaders(body.substr(at, headersEnd - at), &part)) {
            *error = "part lacks a form-data Content-Disposition with a name";
            return std::nullopt;
        }
        auto dataStart = headersEnd + 4;
        auto dataEnd = body.find(delimiter, dataStart);
        if (dataEnd == std::string_view::npos) {
            *error = "closing boundary missing";
            return std::nullopt;
        }
        part.data = std::string(body.substr(dataStart, dataEnd - dataStart));
        result.parts_.push_back(std::move(part));
        std::string_view rest = body.substr(dataEnd + delimiter.size());
        if (rest.substr(0, 2) == "--") {
            result.endsWithLineBreak_ = rest.substr(2) == "\r\n";
            return result;
        }
        if (rest.substr(0, 2) != "\r\n") {
            *error = "boundary not followed by a line break";
            return std::nullopt;
        }
        at = dataEnd + delimiter.size() + 2;
    }
    *error = "too many parts";
    return std::nullopt;
}

const MultipartBody::Part* MultipartBody::find(std::string_view name) const {
    for (const auto& part : parts_) {
        if (part.name == name) return &part;
    }
    return nullptr;
}

}  // namespace nbx::emulator
