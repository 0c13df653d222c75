#include "NBXMainBGView.h"

#include <QPainter>

namespace nbx {

NBXMainBGView::NBXMainBGView(const QColor& fillColor, QWidget* parent)
    : QWidget(parent), fillColor_(fillColor) {}

void NBXMainBGView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), fillColor_);
}

}  // namespace nbx
