#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "PropertyValue.h"

struct sd_bus;
struct sd_bus_message;

namespace nbx {

// Named notifications with a dictionary between the programs of one user session: each is the
// session-bus signal "Post" (s name, a{sv} userInfo) on the object "/com/Valmora/NBX" of the
// interface "com.Valmora.NBX.DistributedNotification", so any bus tool can send or watch them.
// Values travel as strings, integers, booleans, reals, data, arrays and nested dictionaries.
class DistributedNotificationCenter {
public:
    static constexpr const char* kObjectPath = "/com/Valmora/NBX";
    static constexpr const char* kInterface = "com.Valmora.NBX.DistributedNotification";
    static constexpr const char* kMember = "Post";
    // The back-end exchange: the application's request and the polling agent's reply.
    static constexpr const char* kBackendRequest = "com.Valmora.NBX.Backend.Agent";
    static constexpr const char* kBackendReply = "com.Valmora.NBX.NBXSetting.Agent";
    // Deeper values are refused on both sides.
    static constexpr int kMaxDepth = 32;

    using Observer = std::function<void(const std::string& name, const PropertyValue& userInfo)>;

    // Connects to the session bus (DBUS_SESSION_BUS_ADDRESS); null, with the reason in
    // *whyNot, when there is none.
    static std::unique_ptr<DistributedNotificationCenter> connectSessionBus(std::string* whyNot);
    // Stops delivering: no observer runs after this returns.
    ~DistributedNotificationCenter();
    DistributedNotificationCenter(const DistributedNotificationCenter&) = delete;
    DistributedNotificationCenter& operator=(const DistributedNotificationCenter&) = delete;

    // Any thread. False when the signal could not be sent or userInfo is not a dictionary.
    bool postNotificationName(const std::string& name, const PropertyValue& userInfo);
    // Any thread. The observer runs on the center's own receiving thread, once per signal of
    // that name from any sender; it may add or remove observers. Answers a token for removal.
    int addObserver(const std::string& name, Observer observer);
    // After this returns the observer is not running and will not run again, unless called
    // from inside an observer.
    void removeObserver(int token);
    // False once the bus has gone away (the session ended); nothing arrives after that.
    bool isConnected() const { return !disconnected_; }

private:
    DistributedNotificationCenter(sd_bus* sender, sd_bus* receiver);
    static int onSignal(sd_bus_message* message, void* self, void* error);
    void deliver(const std::string& name, const PropertyValue& userInfo);
    void receive();

    sd_bus* sender_;
    sd_bus* receiver_;
    std::mutex sendMutex_;
    std::recursive_mutex observersMutex_;
    std::map<int, std::pair<std::string, Observer>> observers_;
    int nextToken_ = 1;
    std::atomic<bool> stopping_ = false;
    std::atomic<bool> disconnected_ = false;
    int wakeFd_ = -1;
    std::thread thread_;
};

}  // namespace nbx
