// Parses arbitrary bodies under arbitrary boundaries (the input is boundary, NUL, body): a
// refusal says why, and what parses is made of the body's own bytes, within the limits.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "MultipartBody.h"

using nbx::emulator::MultipartBody;

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
    return 0;
}
