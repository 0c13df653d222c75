// The small helpers of the cloud client: answer success, debug lines, the hardware address.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "DebugLine.h"
#include "HardwareAddress.h"
#include "NBXCommunicationInterface.h"

namespace nbx {
namespace {

namespace fs = std::filesystem;

TEST(CloudHelpers, ResponseSuccess) {
    const std::pair<PropertyValue, bool> successes[] = {
        {true, true},   {false, false},   {2, true},     {0, false},
        {"true", true}, {"  +007", true}, {"Yes", true}, {"false", false},
        {"no", false},  {"0", false},     {"", false},   {PropertyValue::array({1}), false},
    };
    for (const auto& [success, expected] : successes)
        EXPECT_EQ(isResponseASuccess(PropertyValue::dictionary({{"success", success}})), expected)
            << success.description();
    EXPECT_FALSE(isResponseASuccess(PropertyValue::dictionary({{"other", true}})));
    EXPECT_FALSE(isResponseASuccess(PropertyValue()));
}

TEST(CloudHelpers, DebugLinesKeepToOneLineOfPrintableText) {
    const std::pair<std::string, std::string> cases[] = {
        {"\n\nNBX_WSR: Sending", "  NBX_WSR: Sending"},
        {"caf\xC3\xA9", "caf\\xC3\\xA9"},
        {"tab\there", "tab\\x09here"},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(printableDebugText(in), out);
}

TEST(HardwareAddress, CompactForm) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"00:1B:63:AA:0C:FF", "001b63aa0cff"}, {"00-1b-63-aa-0c-ff\n", "001b63aa0cff"},
        {"00:1B:63:AA:0C", std::nullopt},      {"00:1B:63:AA:0C:FG", std::nullopt},
        {"001B:63:AA:0C:FF:", std::nullopt},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(compactHardwareAddress(text), expected) << text;
}

std::string route(const std::string& interface, bool isDefault) {
    return interface + (isDefault ? "\t00000000\t0110A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"
                                  : "\t0010A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n");
}

// Interfaces under a private sysfs-like tree ("*": backed by a device); the route table names
// the default one.
TEST(HardwareAddress, PrimaryAddressFallbacks) {
    using Interfaces = std::vector<std::pair<std::string, std::string>>;
    const Interfaces kAll = {{"lo", "00:00:00:00:00:00"},      {"docker0", "02:42:00:00:00:09"},
                             {"dummy0*", "00:00:00:00:00:00"}, {"wlan0*", "aa:bb:cc:dd:ee:01"},
                             {"eth1*", "02:00:00:00:00:02"},   {"eth0*", "02:00:00:00:00:01"}};
    const struct {
        const char* name;
        Interfaces interfaces;
        std::optional<std::string> routes;  // none: no route table
        std::optional<std::string> expected;
    } cases[] = {
        {"default route wins", kAll, route("eth1", false) + route("wlan0", true), "aabbccddee01"},
        {"default route through a bridge", kAll, route("docker0", true), "024200000009"},
        {"default through an interface without an address", kAll, route("tun0", true),
         "020000000001"},
        {"no default route: a device before a bridge", kAll, route("eth1", false), "020000000001"},
        {"broken route table", kAll, "broken line\n", "020000000001"},
        {"only virtual interfaces",
         {{"virbr0", "52:54:00:00:00:01"}, {"br0", "52:54:00:00:00:02"}},
         "",
         "525400000002"},
        {"no hardware address", {{"lo", "00:00:00:00:00:00"}}, std::nullopt, std::nullopt},
    };
    const fs::path root = fs::temp_directory_path() / ("nbx-hwaddr-" + std::to_string(::getpid()));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(root);
        for (auto [name, address] : c.interfaces) {
            const bool device = name.ends_with('*');
            if (device) name.pop_back();
            fs::create_directories(root / "net" / name / (device ? "device" : ""));
            std::ofstream(root / "net" / name / "address") << address << "\n";
        }
        if (c.routes) std::ofstream(root / "route") << "Iface\tDestination\tGateway\n" << *c.routes;
        EXPECT_EQ(primaryHardwareAddress((root / "route").string(), (root / "net").string()),
                  c.expected);
    }
    fs::remove_all(root);
}

}  // namespace
}  // namespace nbx
