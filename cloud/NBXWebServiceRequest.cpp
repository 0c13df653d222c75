#include "NBXWebServiceRequest.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <string_view>

#include "CurlLibrary.h"
#include "DebugLine.h"

namespace nbx {

namespace {

constexpr long kMaxRedirects = 16;
// Past this size a stalled link, not merely a slow one, ends the transfer.
constexpr std::uint64_t kLargeBodyBytes = 1 << 20;

std::atomic<bool> abortTransfers{false};

struct CurlDeleter {
    const CurlLibrary* lib;
    void operator()(CURL* handle) const { lib->easy_cleanup(handle); }
};
struct SlistDeleter {
    const CurlLibrary* lib;
    void operator()(curl_slist* list) const { lib->slist_free_all(list); }
};

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

bool isValidFieldName(std::string_view name) {
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return c > 0x20 && c < 0x7f && c != ':'; });
}

// A line break in a value would end the header early and let the rest pose as a new header.
std::string withoutLineBreaks(std::string value) {
    std::erase_if(value, [](char c) { return c == '\r' || c == '\n'; });
    return value;
}

std::string textOrNull(const Bytes& bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return isValidUtf8(text) ? std::string(text) : std::string("(null)");
}

}  // namespace

struct TransferCallbacks {
    static size_t write(char* data, size_t size, size_t count, void* user) {
        auto* self = static_cast<NBXWebServiceRequest*>(user);
        const size_t n = size * count;
        if (self->responseData_.size() + n > NBXWebServiceRequest::kMaxResponseBytes) {
            self->responseTooLarge_ = true;
            return 0;
        }
        self->responseData_.insert(self->responseData_.end(), data, data + n);
        return n;
    }

    // Each response header block starts afresh, so after redirects only the final body stays.
    static size_t header(char* data, size_t size, size_t count, void* user) {
        auto* self = static_cast<NBXWebServiceRequest*>(user);
        const size_t n = size * count;
        if (std::string_view(data, n).starts_with("HTTP/")) self->responseData_.clear();
        return n;
    }

    static size_t read(char* out, size_t size, size_t count, void* user) {
        auto* self = static_cast<NBXWebServiceRequest*>(user);
        size_t room = size * count;
        size_t written = 0;
        std::uint64_t start = 0;
        for (const auto& piece : self->bodyPieces_) {
            const std::uint64_t end = start + piece.size();
            if (room > 0 && self->bodyOffset_ < end) {
                const auto from = static_cast<size_t>(self->bodyOffset_ - start);
                const size_t n = std::min<size_t>(room, piece.size() - from);
                std::memcpy(out + written, piece.data() + from, n);
                written += n;
                room -= n;
                self->bodyOffset_ += n;
            }
            start = end;
        }
        return written;
    }

    // Called at least once a second, also while waiting for the peer.
    static int progress(void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
        return NBXWebServiceRequest::abortingTransfers() ? 1 : 0;
    }

    static int seek(void* user, curl_off_t offset, int origin) {
        auto* self = static_cast<NBXWebServiceRequest*>(user);
        if (origin != SEEK_SET || offset < 0 ||
            static_cast<std::uint64_t>(offset) > self->bodySize_)
            return CURL_SEEKFUNC_FAIL;
        self->bodyOffset_ = static_cast<std::uint64_t>(offset);
        return CURL_SEEKFUNC_OK;
    }
};

void NBXWebServiceRequest::initializeTransport() {
    CurlLibrary::get();
}

void NBXWebServiceRequest::setAbortTransfers(bool abort) {
    abortTransfers.store(abort);
}

bool NBXWebServiceRequest::abortingTransfers() {
    return abortTransfers.load();
}

NBXWebServiceRequest::NBXWebServiceRequest(std::string url, std::chrono::milliseconds timeout)
    : url_(std::move(url)), timeout_(timeout) {}

void NBXWebServiceRequest::setRequestData(std::optional<Bytes> data) {
    requestData_ = std::move(data);
    bodyPieces_.clear();
    bodySize_ = 0;
    if (requestData_ && !requestData_->empty()) {
        bodyPieces_.emplace_back(requestData_->data(), requestData_->size());
        bodySize_ = requestData_->size();
    }
}

void NBXWebServiceRequest::setRequestBodyPieces(std::vector<std::span<const std::uint8_t>> pieces) {
    requestData_.reset();
    bodyPieces_ = std::move(pieces);
    bodySize_ = 0;
    for (const auto& piece : bodyPieces_)
        bodySize_ += piece.size();
}

void NBXWebServiceRequest::setValue(const std::optional<std::string>& value,
                                    const std::string& field) {
    if (!value || value->empty() || field.empty() || !isValidFieldName(field)) return;
    auto existing = std::find_if(headers_.begin(), headers_.end(),
                                 [&](const auto& h) { return equalsIgnoringCase(h.first, field); });
    if (existing != headers_.end()) {
        existing->second = withoutLineBreaks(*value);
    } else {
        headers_.emplace_back(field, withoutLineBreaks(*value));
    }
}

bool NBXWebServiceRequest::executeRequest() {
    if (debug_) writeDebugLine("\n\nNBX_WSR: Sending Request to url[" + url_ + "]");
    if (!requestProcessed_) perform();
    requestProcessed_ = true;
    httpLocalizdStringForStatusCode_ = localizedStringForStatusCode(httpStatusCode_);
    if (responseTooLarge_) responseData_.clear();
    logExchange();
    return !responseData_.empty();
}

void NBXWebServiceRequest::logExchange() const {
    if (!debug_) return;
    if (requestData_ && !requestData_->empty())
        writeDebugLine("NBX_WSR: requestData[" + textOrNull(*requestData_) + "]");
    writeDebugLine("NBX_WSR: httpResponseCode:[" + std::to_string(httpStatusCode_) + "]");
    if (!responseData_.empty())
        writeDebugLine("\n\nNBX_WSR: responseData[" + textOrNull(responseData_) + "]");
}

void NBXWebServiceRequest::perform() {
    if (abortingTransfers()) {
        if (debug_) writeDebugLine("NBX_WSR: transfer failed[aborted]");
        return;
    }
    const CurlLibrary* lib = CurlLibrary::get();
    if (!lib) {
        if (debug_)
            writeDebugLine(std::string("NBX_WSR: transfer failed[") + CurlLibrary::loadError() +
                           "]");
        return;
    }
    std::unique_ptr<CURL, CurlDeleter> curl(lib->easy_init(), CurlDeleter{lib});
    if (!curl) return;
    CURL* h = curl.get();
    char errorText[CURL_ERROR_SIZE] = {};
    lib->easy_setopt(h, CURLOPT_URL, url_.c_str());
    lib->easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
    lib->easy_setopt(h, CURLOPT_ERRORBUFFER, errorText);
    lib->easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https");
    lib->easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    lib->easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L);
    lib->easy_setopt(h, CURLOPT_MAXREDIRS, kMaxRedirects);
    lib->easy_setopt(h, CURLOPT_WRITEFUNCTION, &TransferCallbacks::write);
    lib->easy_setopt(h, CURLOPT_WRITEDATA, this);
    lib->easy_setopt(h, CURLOPT_HEADERFUNCTION, &TransferCallbacks::header);
    lib->easy_setopt(h, CURLOPT_HEADERDATA, this);
    lib->easy_setopt(h, CURLOPT_NOPROGRESS, 0L);
    lib->easy_setopt(h, CURLOPT_XFERINFOFUNCTION, &TransferCallbacks::progress);

    const long timeoutMs = static_cast<long>(std::max<std::int64_t>(1, timeout_.count()));
    lib->easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs);
    if (bodySize_ >= kLargeBodyBytes) {
        lib->easy_setopt(h, CURLOPT_LOW_SPEED_LIMIT, 1L);
        lib->easy_setopt(h, CURLOPT_LOW_SPEED_TIME, std::max(1L, (timeoutMs + 999) / 1000));
    } else {
        lib->easy_setopt(h, CURLOPT_TIMEOUT_MS, timeoutMs);
    }

    const bool hasBody = !bodyPieces_.empty() || httpMethod_ != "GET";
    if (hasBody) {
        bodyOffset_ = 0;
        lib->easy_setopt(h, CURLOPT_POST, 1L);
        lib->easy_setopt(h, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bodySize_));
        lib->easy_setopt(h, CURLOPT_READFUNCTION, &TransferCallbacks::read);
        lib->easy_setopt(h, CURLOPT_READDATA, this);
        lib->easy_setopt(h, CURLOPT_SEEKFUNCTION, &TransferCallbacks::seek);
        lib->easy_setopt(h, CURLOPT_SEEKDATA, this);
    }
    if (httpMethod_ != "GET" && httpMethod_ != "POST") {
        lib->easy_setopt(h, CURLOPT_CUSTOMREQUEST, httpMethod_.c_str());
    } else if (httpMethod_ == "GET" && hasBody) {
        lib->easy_setopt(h, CURLOPT_CUSTOMREQUEST, "GET");
    }

    curl_slist* list = nullptr;
    bool hasContentType = false;
    for (const auto& [name, value] : headers_) {
        list = lib->slist_append(list, (name + ": " + value).c_str());
        hasContentType = hasContentType || equalsIgnoringCase(name, "Content-Type");
    }
    // Only the headers the caller set: no form content type, no 100-continue pause.
    if (hasBody && !hasContentType) list = lib->slist_append(list, "Content-Type:");
    list = lib->slist_append(list, "Expect:");
    std::unique_ptr<curl_slist, SlistDeleter> headerList(list, SlistDeleter{lib});
    lib->easy_setopt(h, CURLOPT_HTTPHEADER, list);

    const CURLcode rc = lib->easy_perform(h);
    long status = 0;
    lib->easy_getinfo(h, CURLINFO_RESPONSE_CODE, &status);
    httpStatusCode_ = static_cast<int>(status);
    // Half an answer is no answer when the application is quitting.
    if (rc == CURLE_ABORTED_BY_CALLBACK) {
        httpStatusCode_ = 0;
        responseData_.clear();
    }
    if (rc != CURLE_OK && debug_)
        writeDebugLine(std::string("NBX_WSR: transfer failed[") +
                       (errorText[0] ? errorText : lib->easy_strerror(rc)) + "]");
}

std::string NBXWebServiceRequest::localizedStringForStatusCode(int statusCode) {
    switch (statusCode) {
        case 100:
            return "Continue";
        case 101:
            return "Switching Protocols";
        case 102:
            return "Processing";
        case 103:
            return "Early Hints";
        case 200:
            return "OK";
        case 201:
            return "Created";
        case 202:
            return "Accepted";
        case 203:
            return "Non-Authoritative Information";
        case 204:
            return "No Content";
        case 205:
            return "Reset Content";
        case 206:
            return "Partial Content";
        case 207:
            return "Multi-Status";
        case 208:
            return "Already Reported";
        case 226:
            return "IM Used";
        case 300:
            return "Multiple Choices";
        case 301:
            return "Moved Permanently";
        case 302:
            return "Found";
        case 303:
            return "See Other";
        case 304:
            return "Not Modified";
        case 305:
            return "Use Proxy";
        case 307:
            return "Temporary Redirect";
        case 308:
            return "Permanent Redirect";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 402:
            return "Payment Required";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 406:
            return "Not Acceptable";
        case 407:
            return "Proxy Authentication Required";
        case 408:
            return "Request Timeout";
        case 409:
            return "Conflict";
        case 410:
            return "Gone";
        case 411:
            return "Length Required";
        case 412:
            return "Precondition Failed";
        case 413:
            return "Content Too Large";
        case 414:
            return "URI Too Long";
        case 415:
            return "Unsupported Media Type";
        case 416:
            return "Range Not Satisfiable";
        case 417:
            return "Expectation Failed";
        case 421:
            return "Misdirected Request";
        case 422:
            return "Unprocessable Content";
        case 423:
            return "Locked";
        case 424:
            return "Failed Dependency";
        case 425:
            return "Too Early";
        case 426:
            return "Upgrade Required";
        case 428:
            return "Precondition Required";
        case 429:
            return "Too Many Requests";
        case 431:
            return "Request Header Fields Too Large";
        case 451:
            return "Unavailable For Legal Reasons";
        case 500:
            return "Internal Server Error";
        case 501:
            return "Not Implemented";
        case 502:
            return "Bad Gateway";
        case 503:
            return "Service Unavailable";
        case 504:
            return "Gateway Timeout";
        case 505:
            return "HTTP Version Not Supported";
        case 506:
            return "Variant Also Negotiates";
        case 507:
            return "Insufficient Storage";
        case 508:
            return "Loop Detected";
        case 510:
            return "Not Extended";
        case 511:
            return "Network Authentication Required";
        default:
            break;
    }
    if (statusCode >= 100 && statusCode < 200) return "Informational";
    if (statusCode >= 200 && statusCode < 300) return "Success";
    if (statusCode >= 300 && statusCode < 400) return "Redirection";
    if (statusCode >= 400 && statusCode < 500) return "Client Error";
    if (statusCode >= 500 && statusCode < 600) return "Server Error";
    return "No Response";
}

}  // namespace nbx
