#pragma once

#include "Localizer.h"
#include "PropertyValue.h"
#include "Sheet.h"

class QCheckBox;
class QListWidget;

namespace nbx {

class NBXTonerGuageCell;

// Lists printers running out of toner, one toner row each.
class TonerWindow : public Sheet {
    Q_OBJECT
public:
    TonerWindow(const Localizer& tr, QWidget* parent);
    // Fills the toner table through a fresh cell, one row per printer.
    void showPrinters(const PropertyValue& printers);

    QListWidget* tonerTable() const { return table_; }
    QCheckBox* weekCheckBox() const { return week_; }
    QPushButton* closeButton() const { return close_; }
    NBXTonerGuageCell* cell() const { return cell_; }
    // Escape and the window's own close button close it as "Close Print Options" does, so the
    // week's box is stored either way.
    void reject() override;

signals:
    // An "Order Now" button asks for this page.
    void orderRequested(const QString& url);

private:
    Localizer tr_;
    QListWidget* table_;
    QCheckBox* week_;
    QPushButton* close_;
    NBXTonerGuageCell* cell_ = nullptr;
};

}  // namespace nbx
