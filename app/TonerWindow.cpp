#include "TonerWindow.h"

#include <QCheckBox>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <vector>

#include "NBXAccessible.h"
#include "NBXTonerGuageCell.h"

namespace nbx {

namespace {
constexpr int kRowsShown = 3;
}  // namespace

TonerWindow::TonerWindow(const Localizer& tr, QWidget* parent)
    : Sheet(parent, tr("Out of Toner")),
      tr_(tr),
      table_(new QListWidget),
      week_(new QCheckBox(tr("Don't show this message for a week"))) {
    setMinimumWidth(600);
    table_->setObjectName("cardTable");
    table_->setStyleSheet("QListWidget::item { border-bottom: 1px solid #f0f1f3; }");
    table_->setMinimumHeight(160);
    table_->setSelectionMode(QAbstractItemView::NoSelection);
    table_->setFocusPolicy(Qt::NoFocus);
    NBXAccessible::name(table_, tr("Out of Toner"));
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    body()->addWidget(table_);
    body()->addWidget(week_);
    close_ = addButton(tr("Close Print Options"), true);
}

void TonerWindow::showPrinters(const PropertyValue& printers) {
    delete cell_;
    cell_ = new NBXTonerGuageCell(tr_, this);
    connect(cell_, &NBXTonerGuageCell::orderRequested, this, &TonerWindow::orderRequested);
    cell_->initPrintList(printers, table_);
    // The rows' buttons join the window last; Tab reaches them before the box and Close.
    std::vector<QWidget*> order;
    for (const NBXTonerGuageCell::Row& row : cell_->arrPrintList())
        order.push_back(row.orderButton);
    order.insert(order.end(), {week_, close_});
    NBXAccessible::tabOrder(order);
    // Up to three rows without scrolling.
    int height = 2 * table_->frameWidth();
    for (int row = 0; row < std::min(table_->count(), kRowsShown); ++row)
        height += table_->item(row)->sizeHint().height();
    table_->setMinimumHeight(std::max(height, 160));
}

void TonerWindow::reject() {
    close_->click();
}

}  // namespace nbx
