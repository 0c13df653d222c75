#include "FriendsProfile.h"

#include "AppDelegate.h"
#include "MainWindow.h"
#include "PhoneRegistration.h"

namespace nbx {

void FriendsProfile::clickProfileAuthenticate() {
    MainWindow* w = app_.window();
    w->setToolbarVisible(false);
    w->setTitleViewVisible(true);
    w->setWizardButtonsVisible(true);
    app_.registration().returnToMainWindowWhenDone(true);
    app_.showAuthScreen();
}

}  // namespace nbx
