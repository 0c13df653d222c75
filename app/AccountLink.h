#pragma once

#include <string>

namespace nbx {

class AppDelegate;
class MainWindow;

// Signing in to and out of the account through the account program, and binding the account to
// the registered phone afterwards. Main thread; the program runs on a worker.
class AccountLink {
public:
    explicit AccountLink(AppDelegate& app) : app_(app) {}
    void connectWindow(MainWindow* window);

    void clickAccountSignIn();
    // From the button, the user is asked first.
    void clickAccountSignOut(bool fromButton);

    bool accountApplicationExists() const;
    // The shell command line for "-signin" or "-signout".
    std::string accountCommand(const std::string& mode) const;

private:
    void afterSignOut();

    AppDelegate& app_;
};

}  // namespace nbx
