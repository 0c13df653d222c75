#pragma once

#include "Localizer.h"
#include "Sheet.h"

class QLineEdit;

namespace nbx {

class RenameSheet : public Sheet {
    Q_OBJECT
public:
    // One past the 45 characters a new name keeps, so the rename can cut a longer one itself.
    static constexpr int kMaxNameLength = 46;

    RenameSheet(const Localizer& tr, QWidget* parent);
    QLineEdit* nameField() const { return name_; }
    QPushButton* okButton() const { return ok_; }
    QPushButton* cancelButton() const { return cancel_; }

private:
    QLineEdit* name_;
    QPushButton* cancel_;
    QPushButton* ok_;
};

}  // namespace nbx
