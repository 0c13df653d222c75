#pragma once

namespace nbx {

class AppDelegate;

// Friends and My Profile: the sender profile and a new phone verification from the profile page.
class FriendsProfile {
public:
    explicit FriendsProfile(AppDelegate& app) : app_(app) {}

    // Until the profile page has its own verification sheet, its button walks the registration
    // screen and comes back to the main window.
    void clickProfileAuthenticate();

private:
    AppDelegate& app_;
};

}  // namespace nbx
