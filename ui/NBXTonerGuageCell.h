#pragma once

#include <QWidget>

namespace nbx {

// A toner row; the toner window fills it in.
class NBXTonerGuageCell : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;
};

}  // namespace nbx
