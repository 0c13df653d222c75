#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "PropertyValue.h"

namespace nbx::test {

// Runs the cloud emulator program as a child process on a free loopback port for one test.
// Problems are reported as test failures; ok() tells whether the emulator is usable.
class CloudEmulator {
public:
    static constexpr int kStartTimeoutMs = 10000;
    static constexpr int kStopTimeoutMs = 5000;

    // `extraArguments` go after the harness's own (for example "--no-token-check").
    explicit CloudEmulator(std::vector<std::string> extraArguments = {});
    ~CloudEmulator();
    CloudEmulator(const CloudEmulator&) = delete;
    CloudEmulator& operator=(const CloudEmulator&) = delete;

    bool ok() const { return port_ > 0; }
    int port() const { return port_; }
    std::string hostPort() const { return "127.0.0.1:" + std::to_string(port_); }

    // One admin exchange; the decoded answer, or null after a reported failure.
    PropertyValue admin(const std::string& method, const std::string& path,
                        const PropertyValue& body = {});
    void reset();
    void seed(const PropertyValue& state);
    PropertyValue requests();
    void clearRequests();
    std::optional<std::string> latestPin(const std::string& countryCode,
                                         const std::string& phoneNumber);
    void injectFault(const PropertyValue& fault);
    void clearFaults();
    PropertyValue state();
    // Queues a print job for an agent ({"agentId", "fileName", "data" or "dataBase64", options});
    // the answer ({"jobId", "jobHistoryId"} or an error), unchecked.
    PropertyValue pushJob(const PropertyValue& job);
    // Every job record as the emulator keeps it.
    PropertyValue jobs();

    // Stops the emulator now (SIGTERM, then SIGKILL); answers whether it exited cleanly.
    bool stop();

private:
    void start(const std::vector<std::string>& arguments);
    bool readFirstLine(int fd);
    void drain(int fd);
    void expectSuccess(const PropertyValue& answer, const std::string& what);

    pid_t pid_ = -1;
    int port_ = 0;
    std::thread drainer_;
};

}  // namespace nbx::test
