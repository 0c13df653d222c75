#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "AlertPresenter.h"
#include "UrlOpener.h"

namespace nbx {

// What the controller reaches outside this machine or process: the product wires Qt in, tests
// script or record them.
struct AppPlatform {
    std::shared_ptr<AlertPresenter> alerts;
    std::shared_ptr<UrlOpener> urls;
    std::function<void()> quit;
    // Starts a one-shot worker; a plain detached thread when empty.
    std::function<void(std::function<void()>)> detach;
    // How long a PIN stays valid, in countdown ticks, and one tick; only tests shorten them.
    int pinValiditySeconds = 1800;
    std::chrono::milliseconds countdownTick{1000};
    // The back-end watchdog's polling step; its limits are counted in steps.
    std::chrono::milliseconds backendTick{1000};
};

}  // namespace nbx
