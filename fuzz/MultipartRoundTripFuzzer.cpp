// What the upload frames, the service's parser must give back: the document and the file name,
// for any start time, document and name (the input is name, NUL, document).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "MultipartBody.h"
#include "MultipartUpload.h"

using nbx::emulator::MultipartBody;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    double seconds = 1.7e9;
    if (size >= sizeof seconds) {
        std::memcpy(&seconds, data, sizeof seconds);
        data += sizeof seconds;
        size -= sizeof seconds;
    }
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto split = input.find('\0');
    const std::string fileName(input.substr(0, split));
    const std::string_view document =
        split == std::string_view::npos ? "" : input.substr(split + 1);

    const auto upload = nbx::MultipartUpload::around(seconds, fileName);
    // A document holding the delimiter cannot be framed by it; the time makes that unlikely.
    const auto boundary = MultipartBody::boundaryOf(upload.contentType);
    if (!boundary) std::abort();
    if (document.find("\r\n--" + *boundary) != std::string_view::npos) return 0;

    std::string error;
    const auto parsed = MultipartBody::parse(
        upload.contentType, upload.head + std::string(document) + upload.tail, &error);
    if (!parsed || parsed->parts().size() != 1 || !parsed->endsWithLineBreak()) std::abort();
    const auto* content = parsed->find("content");
    std::string sentName = fileName;
    for (char& c : sentName)
        if (c == '"' || c == '\r' || c == '\n') c = '-';
    if (!content || content->data != document || content->fileName != sentName ||
        content->contentType != "application/x-bittorrent")
        std::abort();
    return 0;
}
