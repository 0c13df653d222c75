#pragma once

#include "PropertyValue.h"

namespace nbx {

class AppDelegate;

// The exchange with the back-end polling agent that serves a printer this computer shares:
// commands go out, replies change the shared state. Main thread only, unless said otherwise.
class BackendLink {
public:
    explicit BackendLink(AppDelegate& app) : app_(app) {}

    // Makes the request and sends it.
    void post(PropertyValue request);
    void connectDistributedNotificatiion();
    bool makeSPInfoDic();
    // Any thread: false when this computer's own printer has left the agent list, which stops
    // the polling.
    bool checkPrinterRegistration();
    void ManagedPrinterRegistrationBtn();
    // The request that goes out next, or went out last.
    const PropertyValue& dicUpdateInfo() const { return dicUpdateInfo_; }

private:
    AppDelegate& app_;
    PropertyValue dicUpdateInfo_ = PropertyValue::dictionary();
};

}  // namespace nbx
