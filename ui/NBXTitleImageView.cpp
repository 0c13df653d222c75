#include "NBXTitleImageView.h"

#include <QMouseEvent>

namespace nbx {

NBXTitleImageView::NBXTitleImageView(QWidget* parent) : QLabel(parent) {
    setCursor(Qt::PointingHandCursor);
}

void NBXTitleImageView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) emit clicked(id_);
    QLabel::mousePressEvent(event);
}

}  // namespace nbx
