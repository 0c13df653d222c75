#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ScopedEnv.h"

namespace nbx::test {

// A scheduler of the test's own in a temporary folder, listening on a free loopback port, with
// the project's nbxbackend installed. While it lives, CUPS_SERVER points this process (and the
// commands it runs) at it; the machine's own printing system is never read or changed.
class PrivateCupsd {
public:
    using Environment = std::vector<std::pair<std::string, std::string>>;
    // Null, with the reason in *whyNot, when this machine cannot run one (not root, no cupsd).
    // The environment is what the scheduler gives its back ends, beside its own.
    static std::unique_ptr<PrivateCupsd> start(std::string* whyNot,
                                               Environment backendEnvironment = {});
    ~PrivateCupsd();
    PrivateCupsd(const PrivateCupsd&) = delete;
    PrivateCupsd& operator=(const PrivateCupsd&) = delete;

    // "127.0.0.1:PORT"
    std::string server() const;
    const std::filesystem::path& folder() const { return base_; }
    // The scheduler's own messages, for failure reports.
    std::string errorLog() const;

private:
    PrivateCupsd(std::filesystem::path base, Environment environment)
        : base_(std::move(base)), environment_(std::move(environment)) {}
    bool prepareFolders(std::string* whyNot) const;
    bool writeConfiguration(std::string* whyNot) const;
    bool launch(std::string* whyNot);
    bool waitUntilRunning(std::string* whyNot);
    void stop();
    void pointClientsHere();
    void restoreClients();

    std::filesystem::path base_;
    Environment environment_;
    int port_ = 0;
    pid_t pid_ = -1;
    std::optional<ScopedEnv> serverEnv_, serverRootEnv_;
};

// One private scheduler per test suite; each test skips, saying why, when none could start.
// A fixture that overrides SetUp calls PrivateCupsdTest::SetUp() first and returns when
// IsSkipped().
class PrivateCupsdTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;
    static PrivateCupsd& cupsd() { return *cupsd_; }

private:
    static std::unique_ptr<PrivateCupsd> cupsd_;
    static std::string whyNot_;
};

}  // namespace nbx::test
