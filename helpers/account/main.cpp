#include <QApplication>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "AccountDialog.h"
#include "AccountHelper.h"
#include "NBXWebServiceRequest.h"

using namespace nbx::account;

int main(int argc, char** argv) {
    // Read before Qt takes its own options out of argv.
    const std::vector<std::string> args(argv + 1, argv + argc);
    return run(args, std::cerr, [&argc, argv] {
        // Qt would abort without a display; the caller gets an answer instead.
        if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY") &&
            !std::getenv("QT_QPA_PLATFORM")) {
            std::cerr << "Valmora Account: no display to show the sign-in dialog on\n";
            return false;
        }
        nbx::NBXWebServiceRequest::initializeTransport();
        QApplication app(argc, argv);
        AccountDialog dialog(signIn);
        return dialog.exec() == QDialog::Accepted;
    });
}
