#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nbx::emulator {

// A multipart/form-data body split into its parts, the way the upload endpoint reads it.
class MultipartBody {
public:
    struct Part {
        std::string name;
        std::optional<std::string> fileName;
        std::string contentType;
        std::string data;
    };

    static constexpr std::size_t kMaxParts = 64;
    static constexpr std::size_t kMaxHeaderBytes = 8192;

    // The boundary parameter of a multipart/form-data content type, quotes removed.
    static std::optional<std::string> boundaryOf(std::string_view contentType);
    // None with `error` set when the body does not follow the boundary framing.
    static std::optional<MultipartBody> parse(std::string_view contentType, std::string_view body,
                                              std::string* error);

    const std::vector<Part>& parts() const { return parts_; }
    // True when the closing delimiter was followed by CR LF.
    bool endsWithLineBreak() const { return endsWithLineBreak_; }
    const Part* find(std::string_view name) const;

private:
    static bool parseHeaders(std::string_view block, Part* part);

    std::vector<Part> parts_;
    bool endsWithLineBreak_ = false;
};

}  // namespace nbx::emulator
