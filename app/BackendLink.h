#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "DistributedNotificationCenter.h"
#include "PropertyValue.h"

namespace nbx {

class AppDelegate;

// The exchange with the polling agent that serves a printer this computer shares: one request
// out on the session bus, one reply back or the watchdog's alert. Requests and replies are
// handled on the main thread; the watchdog and the follow-up run on workers.
class BackendLink {
public:
    static constexpr const char* kRequestName = DistributedNotificationCenter::kBackendRequest;
    static constexpr const char* kReplyName = DistributedNotificationCenter::kBackendReply;
    static constexpr int kUpdateLimitSteps = 120;
    static constexpr int kLimitSteps = 20;

    explicit BackendLink(AppDelegate& app);
    ~BackendLink();

    // Main thread: makes the request and sends it.
    void post(PropertyValue request);
    void setRequest(PropertyValue request) { dicUpdateInfo_ = std::move(request); }
    void connectDistributedNotificatiion();
    void receivedNotificationSelector(const PropertyValue& userInfo);
    // Worker bodies.
    void waitReceiveNotification(int request, int limitSteps);
    void refreshThread();
    // Any thread: false when this computer's own printer has left the agent list, which stops
    // the polling.
    bool checkPrinterRegistration();
    // Quitting: watchdogs end at once, no reply is handled any more.
    void stop();
    // The reply awaited no longer matters (the phone it was for changed); later requests work.
    void stopListening();
    // The request that goes out next, or went out last.
    const PropertyValue& dicUpdateInfo() const { return dicUpdateInfo_; }

private:
    void subscribe(int request);
    void unsubscribe();
    void giveUp(int request);
    void replyToGetPolling(const PropertyValue& userInfo);
    void replyToChangeAlias(const PropertyValue& userInfo);
    static PropertyValue agentRecordFrom(const PropertyValue& userInfo);

    AppDelegate& app_;
    PropertyValue dicUpdateInfo_ = PropertyValue::dictionary();
    std::unique_ptr<DistributedNotificationCenter> center_;
    std::mutex mutex_;
    std::condition_variable wake_;
    int observer_ = 0;
    // Numbers the requests: a watchdog or a reply of an older one is ignored.
    std::atomic<int> request_ = 0;
    bool stopping_ = false;
};

}  // namespace nbx
