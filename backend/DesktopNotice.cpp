#include "DesktopNotice.h"

#include <systemd/sd-bus.h>

#include <cstdint>

namespace nbx::backend::DesktopNotice {

namespace {

constexpr std::uint64_t kCallTimeoutUs = 3'000'000;
constexpr std::int32_t kBriefMs = 5000;
// The service's "never expire".
constexpr std::int32_t kLasting = 0;

}  // namespace

bool show(const std::string& summary, const std::string& body, Urgency urgency) {
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) < 0) return false;
    sd_bus_set_method_call_timeout(bus, kCallTimeoutUs);
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    const int sent =
        sd_bus_call_method(bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                           "org.freedesktop.Notifications", "Notify", &error, &reply,
                           "susssasa{sv}i", "Nimbrix", 0u, "printer", summary.c_str(), body.c_str(),
                           0, 0, urgency == Urgency::Brief ? kBriefMs : kLasting);
    sd_bus_message_unref(reply);
    sd_bus_error_free(&error);
    sd_bus_flush_close_unref(bus);
    return sent >= 0;
}

}  // namespace nbx::backend::DesktopNotice
