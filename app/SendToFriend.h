#pragma once

#include <QVariantMap>
#include <string>

namespace nbx {

class AppDelegate;
class MainWindow;

// Sending a job to a friend's phone from the Printer tab: the friend entry, its country popup and
// the next button's "Send Job" state. Main thread only.
class SendToFriend {
public:
    explicit SendToFriend(AppDelegate& app) : app_(app) {}
    void connectWindow(MainWindow* window);

    void clickFriendTableView();
    // A friend's phone typed or handed over through "insertUserInfo".
    void isInputFriendInfo(const QVariantMap& userInfo);
    void clickContryFlag_Friend(int index);
    // Signed in, and a country code and a phone number left after their leading zeros.
    bool canSend(const std::string& code, const std::string& phone) const;

private:
    AppDelegate& app_;
};

}  // namespace nbx
