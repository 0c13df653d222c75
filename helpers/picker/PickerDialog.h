#pragma once

#include <QDialog>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "DeviceCatalogue.h"

class QDialogButtonBox;
class QLabel;
class QTreeWidget;

namespace nbx::picker {

// Lists the printers this computer can print to and lets the user choose one. OK writes the
// choice to the return file; Cancel or closing writes nothing.
class PickerDialog : public QDialog {
    Q_OBJECT

public:
    using Show = std::function<void(std::vector<DeviceEntry>)>;
    // Hands its rows to `show`, in one go or several.
    using Lister = std::function<void(const Show& show)>;

    explicit PickerDialog(std::string returnInfoPath, QWidget* parent = nullptr);
    // Waits for a listing still under way; it is bounded by the device search timeout.
    ~PickerDialog() override;

    // Runs `lister` off the main thread, as the device search takes seconds; rows show as they
    // come, and listed() follows the last.
    void startListing(Lister lister);
    void addEntries(std::vector<DeviceEntry> entries);
    const std::vector<DeviceEntry>& entries() const { return entries_; }

    void accept() override;

signals:
    void listed();

private:
    void finishListing();
    void updateOkButton();

    std::string returnInfoPath_;
    std::vector<DeviceEntry> entries_;
    std::thread lister_;
    QTreeWidget* list_;
    QLabel* status_;
    QDialogButtonBox* buttons_;
};

}  // namespace nbx::picker
