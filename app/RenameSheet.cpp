#include "RenameSheet.h"

#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "NBXAccessible.h"
#include "NBXTextFieldFormatter.h"

namespace nbx {

RenameSheet::RenameSheet(const Localizer& tr, QWidget* parent)
    : Sheet(parent, tr("Rename")), name_(new QLineEdit) {
    addText(tr("Please enter a new cloud printer name"));
    NBXAccessible::name(name_, tr("Printer Name"), tr("Please enter a new cloud printer name"));
    body()->addWidget(name_);
    cancel_ = addButton(tr("Cancel"));
    ok_ = addButton(tr("OK"), true);
    (new NBXTextFieldFormatter(kMaxNameLength, ok_, this))->attach(name_);
}

}  // namespace nbx
