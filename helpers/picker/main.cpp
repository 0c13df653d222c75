#include <QApplication>
#include <cstdio>
#include <string>
#include <vector>

#include "PickerArguments.h"
#include "PickerDialog.h"

using namespace nbx::picker;

// Exit status: 0 when a printer was chosen and written, 1 when cancelled, 2 on a usage error.
int main(int argc, char** argv) {
    // Read before Qt takes its own options out of argv.
    const auto arguments = parsePickerArguments(std::vector<std::string>(argv + 1, argv + argc));
    if (!arguments) {
        std::fputs(kPickerUsage, stderr);
        return 2;
    }
    QApplication app(argc, argv);
    PickerDialog dialog(arguments->returnInfoPath);
    dialog.startListing(
        [](const PickerDialog::Show& show) { listCatalogue(kDeviceSearchTimeout, show); });
    return dialog.exec() == QDialog::Accepted ? 0 : 1;
}
