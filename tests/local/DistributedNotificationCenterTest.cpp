#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "DistributedNotificationCenter.h"
#include "PrivateSessionBus.h"

namespace nbx {
namespace {

using namespace std::chrono_literals;

// Collects what one observer receives.
struct Inbox {
    std::mutex mutex;
    std::condition_variable arrived;
    std::vector<PropertyValue> items;

    DistributedNotificationCenter::Observer observer() {
        return [this](const std::string&, const PropertyValue& info) {
            std::lock_guard lock(mutex);
            items.push_back(info);
            arrived.notify_all();
        };
    }
    bool waitFor(std::size_t count, std::chrono::milliseconds limit = 5s) {
        std::unique_lock lock(mutex);
        return arrived.wait_for(lock, limit, [&] { return items.size() >= count; });
    }
};

class NotificationCenterTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string whyNot;
        bus = test::PrivateSessionBus::start(&whyNot);
        if (!bus) GTEST_SKIP() << whyNot;
        sender = DistributedNotificationCenter::connectSessionBus(&whyNot);
        receiver = DistributedNotificationCenter::connectSessionBus(&whyNot);
        ASSERT_TRUE(sender && receiver) << whyNot;
    }
    std::unique_ptr<test::PrivateSessionBus> bus;
    std::unique_ptr<DistributedNotificationCenter> sender, receiver;
};

TEST_F(NotificationCenterTest, ValuesArriveAsSentOnlyForTheObservedNameAndUntilRemoved) {
    Inbox inbox, removed;
    receiver->addObserver("com.Valmora.NBX.NBXSetting.Agent", inbox.observer());
    receiver->removeObserver(
        receiver->addObserver("com.Valmora.NBX.NBXSetting.Agent", removed.observer()));
    const PropertyValue info = PropertyValue::dictionary(
        {{"Command", "GetPolling"},
         {"Black", -1},
         {"PaidDevice", false},
         {"Ratio", 0.5},
         {"Raw", Bytes{0, 255}},
         {"List", PropertyValue::array({"a", 2})},
         {"Nested",
          PropertyValue::dictionary({{"Deep", PropertyValue::dictionary({{"k", "v"}})}})}});
    EXPECT_TRUE(sender->postNotificationName("com.Valmora.NBX.Backend.Agent", info));
    EXPECT_TRUE(sender->postNotificationName("com.Valmora.NBX.NBXSetting.Agent", info));
    ASSERT_TRUE(inbox.waitFor(1));
    EXPECT_EQ(inbox.items[0], info);
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(inbox.items.size(), 1u);
    EXPECT_TRUE(removed.items.empty());
}

TEST_F(NotificationCenterTest, OtherToolsSpeakTheSameSignalAndForeignFormsAreDropped) {
    Inbox inbox;
    receiver->addObserver("com.Valmora.NBX.Backend.Agent", inbox.observer());
    const std::string emit =
        "gdbus emit --session --object-path /com/Valmora/NBX --signal "
        "com.Valmora.NBX.DistributedNotification.Post ";
    // A wrong signature first: it must be skipped without harm.
    ASSERT_EQ(std::system((emit + "'com.Valmora.NBX.Backend.Agent' 42 >/dev/null").c_str()), 0);
    ASSERT_EQ(std::system((emit + "'com.Valmora.NBX.Backend.Agent' "
                                  "\"{'Command': <'StopPolling'>, 'n': <int32 7>}\" >/dev/null")
                              .c_str()),
              0);
    ASSERT_TRUE(inbox.waitFor(1));
    EXPECT_EQ(inbox.items[0], PropertyValue::dictionary({{"Command", "StopPolling"}, {"n", 7}}));
}

TEST_F(NotificationCenterTest, RefusesWhatCannotBeSent) {
    PropertyValue deep = PropertyValue::dictionary();
    for (int i = 0; i <= DistributedNotificationCenter::kMaxDepth + 1; ++i)
        deep = PropertyValue::dictionary({{"d", deep}});
    EXPECT_FALSE(sender->postNotificationName("n", deep));
    EXPECT_FALSE(sender->postNotificationName("n", PropertyValue("not a dictionary")));
}

TEST_F(NotificationCenterTest, NoticesWhenTheBusGoesAway) {
    EXPECT_TRUE(receiver->isConnected());
    bus.reset();
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (receiver->isConnected() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(receiver->isConnected());
}

}  // namespace
}  // namespace nbx
