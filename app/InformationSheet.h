#pragma once

#include "Localizer.h"
#include "Sheet.h"

class QFormLayout;

namespace nbx {

// Name, model and address of the selected printer.
class InformationSheet : public Sheet {
    Q_OBJECT
public:
    InformationSheet(const Localizer& tr, QWidget* parent);
    void setInformation(const QString& name, const QString& model, const QString& mac);
    QPushButton* okButton() const { return ok_; }

private:
    QLabel* name_;
    QLabel* model_;
    QLabel* mac_;
    QPushButton* ok_;
};

}  // namespace nbx
