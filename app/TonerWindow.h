#pragma once

#include "Localizer.h"
#include "Sheet.h"

class QCheckBox;
class QListWidget;

namespace nbx {

// Lists printers running out of toner, one toner row each.
class TonerWindow : public Sheet {
    Q_OBJECT
public:
    TonerWindow(const Localizer& tr, QWidget* parent);
    QListWidget* tonerTable() const { return table_; }
    QCheckBox* weekCheckBox() const { return week_; }
    QPushButton* closeButton() const { return close_; }

private:
    QListWidget* table_;
    QCheckBox* week_;
    QPushButton* close_;
};

}  // namespace nbx
