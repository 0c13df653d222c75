#include "SetupHelper.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "CloudEmulator.h"
#include "NBXAuthenticationManger.h"
#include "NotificationHelper.h"
#include "PollingFiles.h"
#include "PrivateSessionBus.h"
#include "ScopedEnv.h"
#include "StateFiles.h"
#include "TempHome.h"

namespace nbx::setup {
namespace {

namespace fs = std::filesystem;

TEST(SetupHelper, OtherModesAreUsageErrors) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {}, {"userchange"}, {"-signin"}, {"-userchange", "-userchange"}}) {
        std::ostringstream errors;
        EXPECT_EQ(run(args, errors), 2);
        EXPECT_EQ(errors.str(), kUsage);
    }
    // The built program where the agent runs it from.
    EXPECT_EQ(std::system("'" NBX_HELPER_DIR "/Nimbrix Setup.app/Contents/MacOS/Nimbrix Setup' "
                          "-bogus 2>/dev/null"),
              2 << 8);
}

// The real polling agent, serving a printer of the old phone, on a private bus.
class UserChangeTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string whyNot;
        bus_ = test::PrivateSessionBus::start(&whyNot);
        if (!bus_) GTEST_SKIP() << whyNot;
        ASSERT_TRUE(emulator_.ok());
    }
    void TearDown() override {
        const notification::AgentStatus left = notification::agentStatus();
        const pid_t group = left.pid > 0 ? getpgid(left.pid) : -1;
        if (group > 1 && group != getpgrp()) kill(-group, SIGKILL);
    }

    test::TempHome home_;
    test::ScopedEnv config_{"XDG_CONFIG_HOME", home_.path() + "/config"};
    test::ScopedEnv program_{"NBX_POLLING_AGENT", NBX_HELPER_DIR "/nbx-polling-agent"};
    std::unique_ptr<test::PrivateSessionBus> bus_;
    test::CloudEmulator emulator_{{"--no-token-check", "--quiet"}};
    test::ScopedEnv lookup_{"NBX_LOOKUP_SERVER", emulator_.hostPort()};
};

TEST_F(UserChangeTest, UnregistersStopsTheAgentAndClearsTheIdentity) {
    ASSERT_TRUE(
        polling::PollingFiles::saveRegistration({"agent-1", "Front", "001b63aa0cff", "Laser",
                                                 "Laser", "Shared_Laser", "44", "7700900123"}));
    ASSERT_TRUE(StateFiles::setPrinterLater(true));
    ASSERT_TRUE(StateFiles::setAgentList({PropertyValue::dictionary({{"agentId", "a1"}})}));
    ASSERT_TRUE(StateFiles::setEncryptedAccountValue("ValmoraAccountID", "ann@va"));
    std::string error;
    ASSERT_TRUE(notification::installAutostartEntry(&error)) << error;
    ASSERT_TRUE(notification::startAgent(&error)) << error;

    for (int pass = 0; pass < 2; ++pass) {  // the second finds nothing left to do
        std::ostringstream errors;
        EXPECT_EQ(run({"-userchange"}, errors), 0) << errors.str();
        EXPECT_EQ(errors.str(), "");
    }
    EXPECT_FALSE(notification::agentStatus().running);
    for (const std::string& gone :
         {NBXAuthenticationManger::myInfoPath(), StateFiles::pathTo(StateFiles::kAgentListFile),
          polling::PollingFiles::registrationPath(), notification::autostartEntryPath()})
        EXPECT_FALSE(fs::exists(gone)) << gone;
    EXPECT_TRUE(fs::exists(StateFiles::pathTo(StateFiles::kAccountFile)));
    // Asked before it was stopped, the agent told the service.
    int unregistered = 0;
    const PropertyValue log = emulator_.requests();
    for (std::size_t i = 0; i < log.size(); ++i)
        unregistered += log.at(i)["path"] == PropertyValue("/nbx/v2/printmgtsvc/agent/unregister");
    EXPECT_EQ(unregistered, 1) << log.description();
}

}  // namespace
}  // namespace nbx::setup
