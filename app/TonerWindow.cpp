#include "TonerWindow.h"

#include <QCheckBox>
#include <QListWidget>
#include <QVBoxLayout>

namespace nbx {

TonerWindow::TonerWindow(const Localizer& tr, QWidget* parent)
    : Sheet(parent, tr("Out of Toner")),
      table_(new QListWidget),
      week_(new QCheckBox(tr("Don't show this message for a week"))) {
    table_->setObjectName("cardTable");
    table_->setMinimumHeight(160);
    body()->addWidget(table_);
    body()->addWidget(week_);
    close_ = addButton(tr("Close Print Options"), true);
}

}  // namespace nbx
