#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nbx {

// The name of the interface carrying the default route in a /proc/net/route table.
std::optional<std::string> defaultRouteInterface(std::string_view routeTable);

// "00:1B:63:AA:0C:FF" as "001b63aa0cff"; none for anything but six hexadecimal octets.
std::optional<std::string> compactHardwareAddress(std::string_view text);

// The default route's interface address, else the first non-loopback interface with a
// non-zero hardware address: those backed by a device first, each group by name.
// `interfacesFolder` is /sys/class/net outside tests.
std::optional<std::string> primaryHardwareAddress(const std::string& routeTablePath,
                                                  const std::string& interfacesFolder);

}  // namespace nbx
