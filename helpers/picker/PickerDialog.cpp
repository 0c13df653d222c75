#include "PickerDialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace nbx::picker {

namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

}  // namespace

PickerDialog::PickerDialog(std::string returnInfoPath, QWidget* parent)
    : QDialog(parent),
      returnInfoPath_(std::move(returnInfoPath)),
      list_(new QTreeWidget(this)),
      status_(new QLabel(this)),
      buttons_(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this)) {
    setWindowTitle(tr("Choose a Printer"));
    list_->setObjectName("devices");
    list_->setColumnCount(3);
    list_->setHeaderLabels({tr("Printer"), tr("Model"), tr("Connection")});
    list_->setRootIsDecorated(false);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    status_->setObjectName("status");

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Choose the printer to share:"), this));
    layout->addWidget(list_);
    layout->addWidget(status_);
    layout->addWidget(buttons_);
    resize(520, 320);

    connect(buttons_, &QDialogButtonBox::accepted, this, &PickerDialog::accept);
    connect(buttons_, &QDialogButtonBox::rejected, this, &PickerDialog::reject);
    connect(list_, &QTreeWidget::itemSelectionChanged, this, &PickerDialog::updateOkButton);
    connect(list_, &QTreeWidget::itemDoubleClicked, this, &PickerDialog::accept);
    updateOkButton();
}

PickerDialog::~PickerDialog() {
    if (lister_.joinable()) lister_.join();
}

void PickerDialog::startListing(Lister lister) {
    if (lister_.joinable()) return;
    status_->setText(tr("Looking for printers…"));
    // Results are queued to the dialog; the destructor joins first, so none is posted to a
    // dialog that is gone.
    lister_ = std::thread([this, lister = std::move(lister)] {
        lister([this](std::vector<DeviceEntry> found) {
            QMetaObject::invokeMethod(
                this, [this, found = std::move(found)]() mutable { addEntries(std::move(found)); },
                Qt::QueuedConnection);
        });
        QMetaObject::invokeMethod(this, &PickerDialog::finishListing, Qt::QueuedConnection);
    });
}

// Appended, so a row the user has already chosen stays chosen.
void PickerDialog::addEntries(std::vector<DeviceEntry> entries) {
    for (DeviceEntry& entry : entries) {
        list_->addTopLevelItem(new QTreeWidgetItem(
            {text(entry.displayName), text(entry.modelName), text(entry.connectionType)}));
        entries_.push_back(std::move(entry));
    }
    updateOkButton();
}

void PickerDialog::finishListing() {
    status_->setText(entries_.empty() ? tr("No printers found.") : QString());
    emit listed();
}

void PickerDialog::accept() {
    const QModelIndex chosen = list_->currentIndex();
    if (!chosen.isValid() || list_->selectedItems().isEmpty()) return;
    const auto row = static_cast<std::size_t>(chosen.row());
    if (row >= entries_.size()) return;
    if (!writePrinterInfo(returnInfoPath_, entries_[row])) {
        status_->setText(tr("The choice could not be saved."));
        return;
    }
    QDialog::accept();
}

void PickerDialog::updateOkButton() {
    buttons_->button(QDialogButtonBox::Ok)->setEnabled(!list_->selectedItems().isEmpty());
}

}  // namespace nbx::picker
