#pragma once

#include "Localizer.h"
#include "Sheet.h"

namespace nbx {

class UnlinkSheet : public Sheet {
    Q_OBJECT
public:
    UnlinkSheet(const Localizer& tr, QWidget* parent);
    void setPrinterName(const QString& name);
    QString question() const;
    QPushButton* yesButton() const { return yes_; }
    QPushButton* noButton() const { return no_; }

private:
    QString template_;
    QLabel* question_;
    QPushButton* no_;
    QPushButton* yes_;
};

}  // namespace nbx
