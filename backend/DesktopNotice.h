#pragma once

#include <string>

namespace nbx::backend {

// A message in the user's desktop through the session's notification service; quietly nothing
// when the session has none.
namespace DesktopNotice {

enum class Urgency { Brief, Lasting };
bool show(const std::string& summary, const std::string& body, Urgency urgency);

}  // namespace DesktopNotice
}  // namespace nbx::backend
