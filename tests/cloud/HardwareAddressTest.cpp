#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "HardwareAddress.h"

namespace nbx {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRouteHeader =
    "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";

TEST(HardwareAddress, CompactForm) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"00:1B:63:AA:0C:FF", "001b63aa0cff"},
        {"00:1b:63:aa:0c:ff\n", "001b63aa0cff"},
        {"00-1B-63-AA-0C-FF", "001b63aa0cff"},
        {"00:1B:63:AA:0C", std::nullopt},
        {"00:1B:63:AA:0C:FG", std::nullopt},
        {"001B:63:AA:0C:FF:", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(compactHardwareAddress(text), expected) << text;
}

TEST(HardwareAddress, DefaultRouteInterface) {
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {std::string(kRouteHeader) +
             "eth1\t0010A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
             "eth0\t00000000\t0110A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n",
         "eth0"},
        {std::string(kRouteHeader) + "eth1\t0010A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n",
         std::nullopt},
        {std::string(kRouteHeader) + "broken line\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [table, expected] : cases)
        EXPECT_EQ(defaultRouteInterface(table), expected);
}

class PrimaryHardwareAddress : public ::testing::Test {
protected:
    void SetUp() override {
        root = fs::temp_directory_path() /
               ("nbx-hwaddr-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(root / "net");
    }
    void TearDown() override { fs::remove_all(root); }

    void addInterface(const std::string& name, const std::string& address) {
        fs::create_directories(root / "net" / name);
        std::ofstream(root / "net" / name / "address") << address << "\n";
    }
    void writeRoutes(const std::string& defaultInterface) {
        std::ofstream(root / "route")
            << kRouteHeader << defaultInterface
            << "\t00000000\t0110A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n";
    }
    std::optional<std::string> lookUp() {
        return primaryHardwareAddress((root / "route").string(), (root / "net").string());
    }

    fs::path root;
};

TEST_F(PrimaryHardwareAddress, PrefersTheDefaultRouteInterface) {
    addInterface("lo", "00:00:00:00:00:00");
    addInterface("eth0", "00:1B:63:AA:0C:FF");
    addInterface("wlan0", "aa:bb:cc:dd:ee:01");
    writeRoutes("wlan0");
    EXPECT_EQ(lookUp(), "aabbccddee01");
}

TEST_F(PrimaryHardwareAddress, FallsBackToFirstNamedInterfaceWithAnAddress) {
    addInterface("lo", "00:00:00:00:00:00");
    addInterface("dummy0", "00:00:00:00:00:00");
    addInterface("eth1", "02:00:00:00:00:02");
    addInterface("eth0", "02:00:00:00:00:01");
    writeRoutes("tun0");  // a default route through an interface without an address
    EXPECT_EQ(lookUp(), "020000000001");
}

TEST_F(PrimaryHardwareAddress, NoneWithoutAnyHardwareAddress) {
    addInterface("lo", "00:00:00:00:00:00");
    EXPECT_EQ(lookUp(), std::nullopt);
}

}  // namespace
}  // namespace nbx
