#pragma once

#include <httplib.h>

#include <atomic>
#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <string>

#include "CloudService.h"
#include "CloudState.h"
#include "FaultTable.h"
#include "RequestLog.h"

namespace nbx::emulator {

// The HTTP face of the emulator: the lookup path, the cloud operations, the /__admin/ paths,
// the request log and the staged faults.
class EmulatorServer {
public:
    static constexpr const char* kAdminPrefix = "/__admin/";
    static constexpr const char* kRedirectParameter = "nbxRedirectsLeft";
    static constexpr const char* kRedirectMethodParameter = "nbxRedirectMethod";
    static constexpr std::size_t kWorkerThreads = 32;

    EmulatorServer(CloudState& state, std::ostream& console, bool quiet);

    // Binds 127.0.0.1:port (0 = any free port); answers the bound port or none.
    std::optional<int> bind(int port);
    // Serves until stop(); call on a thread of its own.
    void serve();
    // Ends pending delays and the server; safe from any thread.
    void stop();

private:
    struct Exchange;

    void install();
    void handle(const httplib::Request& request, httplib::Response& response);
    void handleAdmin(const Exchange& exchange, httplib::Response& response);
    // `operation` is "METHOD name"; answers an error text, or fills `result`.
    std::optional<std::string> runAdmin(const std::string& operation, const PropertyValue& body,
                                        PropertyValue* result);
    void handleCloud(const Exchange& exchange, httplib::Response& response);
    ApiReply answer(const Exchange& exchange);
    bool waitFor(int delayMs) const;
    void redirect(const Exchange& exchange, int remaining, httplib::Response& response) const;
    static void applyFault(const Fault& fault, httplib::Response& response);
    static void dropConnection(const httplib::Request& request);
    static void sendJson(httplib::Response& response, int status, const PropertyValue& document);

    httplib::Server server_;
    std::mutex mutex_;  // guards everything below
    CloudState& state_;
    CloudService service_;
    FaultTable faults_;
    RequestLog log_;
    std::ostream& console_;
    bool quiet_;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::condition_variable changed_;  // the state changed, or the server stops
};

}  // namespace nbx::emulator
