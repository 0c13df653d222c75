// Parses arbitrary bodies under arbitrary boundaries (the input is boundary, NUL, body): a
// refusal says why, what parses is made of the body's own bytes, within the limits, and the
// parts written again in plain form parse the same.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "MultipartBody.h"

using nbx::emulator::MultipartBody;

namespace {

// The parts as a client would plainly write them; nothing when a name holds a quote.
std::optional<std::string> written(const MultipartBody& body, const std::string& boundary) {
    std::string text;
    for (const auto& part : body.parts()) {
        if (part.name.find('"') != std::string::npos ||
            part.fileName.value_or("").find('"') != std::string::npos)
            return std::nullopt;
        text += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + part.name + "\"";
        if (part.fileName) text += "; filename=\"" + *part.fileName + "\"";
        if (!part.contentType.empty()) text += "\r\nContent-Type: " + part.contentType;
        text += "\r\n\r\n" + part.data + "\r\n";
    }
    text += "--" + boundary + "--" + (body.endsWithLineBreak() ? "\r\n" : "");
    return text;
}

bool same(const MultipartBody::Part& a, const MultipartBody::Part& b) {
    return a.name == b.name && a.fileName == b.fileName && a.contentType == b.contentType &&
           a.data == b.data;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto split = input.find('\0');
    const std::string_view boundary = input.substr(0, split);
    const std::string_view body = split == std::string_view::npos ? "" : input.substr(split + 1);
    MultipartBody::boundaryOf(boundary);
    const std::string contentType = "multipart/form-data; boundary=" + std::string(boundary);

    std::string error;
    const auto parsed = MultipartBody::parse(contentType, body, &error);
    if (!parsed) {
        if (error.empty()) std::abort();
        return 0;
    }
    const auto& parts = parsed->parts();
    if (parts.empty() || parts.size() > MultipartBody::kMaxParts) std::abort();
    std::size_t used = 0;
    for (const auto& part : parts) {
        if (part.name.empty() || body.find(part.data) == std::string_view::npos) std::abort();
        used += part.data.size() + part.name.size();
    }
    if (used > body.size() || parsed->find(parts.front().name) != &parts.front()) std::abort();

    const auto boundaryText = MultipartBody::boundaryOf(contentType);
    const auto again = written(*parsed, *boundaryText);
    if (!again) return 0;
    const auto reparsed = MultipartBody::parse(contentType, *again, &error);
    if (!reparsed || reparsed->parts().size() != parts.size() ||
        reparsed->endsWithLineBreak() != parsed->endsWithLineBreak())
        std::abort();
    for (std::size_t i = 0; i < parts.size(); ++i)
        if (!same(reparsed->parts()[i], parts[i])) std::abort();
    return 0;
}
