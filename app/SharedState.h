#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "PropertyValue.h"

namespace nbx {

// A value that workers and the main thread both read and write: every access takes the lock,
// and a read hands out a copy, so nobody holds a reference across another thread's write.
template <class T>
class Guarded {
public:
    explicit Guarded(T value = T()) : value_(std::move(value)) {}
    T get() const {
        std::lock_guard lock(mutex_);
        return value_;
    }
    void set(T value) {
        std::lock_guard lock(mutex_);
        value_ = std::move(value);
    }

private:
    mutable std::mutex mutex_;
    T value_;
};

// [country code, phone number] as stored; nothing when the user is not signed in.
using SenderIdentity = std::optional<std::array<std::string, 2>>;

// The screen states by number, as the log and the stored state know them.
enum ScreenState : int {
    kAuthScreen = 1,
    kAddPrinterScreen,
    kSharingPrinterScreen,
    kRegistrationEnableScreen,
    kRegistrationScreen,
    kGuideScreen,
    kPrinterTab,
    kSettingTab,
};

// What several flows share. The refresh, the back-end watchdog and the cloud calls run on
// workers, so each member is atomic or guarded; everything else a flow keeps is its own and
// main-thread only unless its class says otherwise.
struct SharedState {
    // Set on the main thread, read by workers to choose their work.
    std::atomic<int> nCrtFunctionNum = kAuthScreen;
    // Read from the identity store by whichever thread checks it last.
    Guarded<SenderIdentity> arrGetuserInfo;
    // The Printer tab's rows and this computer's own agent record.
    Guarded<PropertyValue> arrSaveAgentList{PropertyValue::array()};
    Guarded<PropertyValue> dicGetAgentInfo{PropertyValue::dictionary()};
    // The back-end exchange: the last reply succeeded; a reply has been handled.
    std::atomic<bool> isSendPostNotification = false;
    std::atomic<bool> isObserverExist = false;
};

}  // namespace nbx
