#pragma once

#include <QApplication>
#include <cstdlib>

namespace nbx::test {

// One offscreen application per test program, made on first use.
inline QApplication& qtApp() {
    static int argc = 1;
    static char name[] = "nbx-tests";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    // Never destroyed: other Qt statics may go first at exit.
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

// As a first member, makes sure the application exists before any widget member.
struct QtAppUser {
    QtAppUser() { qtApp(); }
};

}  // namespace nbx::test
