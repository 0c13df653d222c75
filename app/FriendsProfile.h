#pragma once

#include "ProfileVerification.h"

namespace nbx {

class AppDelegate;
class MainWindow;

// Friends and My Profile: the sender profile, its change and a new phone verification from the
// profile page.
class FriendsProfile {
public:
    explicit FriendsProfile(AppDelegate& app) : app_(app), verification_(app) {}

    // My Profile's "Edit"; Authenticate is wired by the controller.
    void connectWindow(MainWindow* window);
    // Opens the profile phone sheet.
    void clickProfileAuthenticate() { verification_.open(); }
    // Asks first: a new phone removes the current identity, which setup does.
    void clickProfileEdit();

    ProfileVerification& verification() { return verification_; }

private:
    AppDelegate& app_;
    ProfileVerification verification_;
};

}  // namespace nbx
