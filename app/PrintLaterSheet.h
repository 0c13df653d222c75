#pragma once

#include "Localizer.h"
#include "Sheet.h"

class QCheckBox;

namespace nbx {

class PrintLaterSheet : public Sheet {
    Q_OBJECT
public:
    PrintLaterSheet(const Localizer& tr, QWidget* parent);
    QCheckBox* dontShowAgain() const { return dontShow_; }
    QPushButton* okButton() const { return ok_; }

private:
    QCheckBox* dontShow_;
    QPushButton* ok_;
};

}  // namespace nbx
