#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "PropertyValue.h"

namespace nbx {

// One blocking HTTP exchange on the calling thread. Single use: configure, execute once, read.
class NBXWebServiceRequest {
public:
    static constexpr std::chrono::milliseconds kTimeout{60'000};
    static constexpr std::chrono::milliseconds kExtendedTimeout{600'000};
    // A response larger than this is dropped rather than exhausting memory.
    static constexpr std::size_t kMaxResponseBytes = std::size_t{256} << 20;

    // Process-wide transport set-up, which the first exchange does otherwise: a program that
    // wants a missing library to show at its start calls it there. Idempotent and thread-safe.
    static void initializeTransport();

    // While on, transfers in flight end within about a second and new ones fail at once,
    // both as a transport failure does. The application turns it on while it quits.
    static void setAbortTransfers(bool abort);
    static bool abortingTransfers();

    explicit NBXWebServiceRequest(std::string url, std::chrono::milliseconds timeout = kTimeout);
    // The body spans may point into the object itself and the transfer holds its address.
    NBXWebServiceRequest(const NBXWebServiceRequest&) = delete;
    NBXWebServiceRequest& operator=(const NBXWebServiceRequest&) = delete;
    NBXWebServiceRequest(NBXWebServiceRequest&&) = delete;
    NBXWebServiceRequest& operator=(NBXWebServiceRequest&&) = delete;
    // Returned as a prvalue, so it is built in the caller's place.
    static NBXWebServiceRequest initWithURLForExtendedTimeout(std::string url) {
        return NBXWebServiceRequest(std::move(url), kExtendedTimeout);
    }

    const std::string& url() const { return url_; }
    const std::string& httpMethod() const { return httpMethod_; }
    void setHttpMethod(std::string method) { httpMethod_ = std::move(method); }
    const std::optional<Bytes>& requestData() const { return requestData_; }
    void setRequestData(std::optional<Bytes> data);
    // A body streamed from the caller's buffers, which must outlive executeRequest.
    void setRequestBodyPieces(std::vector<std::span<const std::uint8_t>> pieces);
    // Ignored when either part is absent or empty, so such headers are never sent.
    void setValue(const std::optional<std::string>& value, const std::string& field);
    const std::vector<std::pair<std::string, std::string>>& headers() const { return headers_; }
    std::chrono::milliseconds timeout() const { return timeout_; }
    void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }
    bool debug() const { return debug_; }
    void setDebug(bool debug) { debug_ = debug; }

    // True exactly when a non-empty body came back, whatever the status.
    bool executeRequest();

    const Bytes& responseData() const { return responseData_; }
    int httpStatusCode() const { return httpStatusCode_; }
    const std::optional<std::string>& httpLocalizdStringForStatusCode() const {
        return httpLocalizdStringForStatusCode_;
    }
    bool requestProcessed() const { return requestProcessed_; }

    // The standard English reason phrase of an HTTP status code.
    static std::string localizedStringForStatusCode(int statusCode);

private:
    friend struct TransferCallbacks;

    void perform();
    void logExchange() const;

    std::string url_;
    std::string httpMethod_ = "GET";
    std::optional<Bytes> requestData_;
    std::vector<std::span<const std::uint8_t>> bodyPieces_;
    std::uint64_t bodySize_ = 0;
    std::uint64_t bodyOffset_ = 0;
    std::vector<std::pair<std::string, std::string>> headers_;
    Bytes responseData_;
    bool responseTooLarge_ = false;
    int httpStatusCode_ = 0;
    std::optional<std::string> httpLocalizdStringForStatusCode_;
    bool requestProcessed_ = false;
    bool debug_ = false;
    std::chrono::milliseconds timeout_;
};

}  // namespace nbx
