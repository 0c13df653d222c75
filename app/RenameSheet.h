#pragma once

#include "Localizer.h"
#include "Sheet.h"

class QLineEdit;

namespace nbx {

class RenameSheet : public Sheet {
    Q_OBJECT
public:
    static constexpr int kMaxNameLength = 40;

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
