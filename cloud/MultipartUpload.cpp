#include "MultipartUpload.h"

#include <cstdio>

namespace nbx {

MultipartUpload MultipartUpload::around(double secondsSince1970, std::string fileName) {
    for (char& c : fileName)
        if (c == '"' || c == '\r' || c == '\n') c = '-';
    char boundary[96];
    std::snprintf(boundary, sizeof boundary, "AJAX-----------------------%f", secondsSince1970);
    const std::string delimiter = std::string("--") + boundary;
    return {std::string("multipart/form-data; boundary=") + boundary,
            delimiter + "\r\nContent-Disposition: form-data; name=\"content\"; filename=\"" +
                fileName + "\"\r\nContent-Type: application/x-bittorrent\r\n\r\n",
            "\r\n" + delimiter + "--\r\n"};
}

}  // namespace nbx
