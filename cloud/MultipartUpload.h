#pragma once

#include <string>

namespace nbx {

// The one-part multipart/form-data body a document is uploaded in: its content type, and the
// part's boundary line and headers before the document and the closing delimiter after it.
struct MultipartUpload {
    std::string contentType;
    std::string head;
    std::string tail;

    // The boundary is the time the upload starts. The file name's quotes and line breaks,
    // which would end its header, become '-'.
    static MultipartUpload around(double secondsSince1970, std::string fileName);
};

}  // namespace nbx
