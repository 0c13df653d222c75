#include "CIButton.h"

namespace nbx {

CIButton::CIButton(const QString& text, QWidget* parent) : QPushButton(text, parent) {
    setFlat(true);
    setCursor(Qt::PointingHandCursor);
    applyColor(normalColor_);
}

void CIButton::setTextColor(const QColor& color) {
    normalColor_ = color;
    applyColor(color);
}

void CIButton::setHoverTextColor(const QColor& color) {
    hoverColor_ = color;
}

QColor CIButton::currentTextColor() const {
    return palette().color(QPalette::ButtonText);
}

void CIButton::enterEvent(QEnterEvent* event) {
    applyColor(hoverColor_);
    QPushButton::enterEvent(event);
}

void CIButton::leaveEvent(QEvent* event) {
    applyColor(normalColor_);
    QPushButton::leaveEvent(event);
}

void CIButton::applyColor(const QColor& color) {
    QPalette p = palette();
    p.setColor(QPalette::ButtonText, color);
    setPalette(p);
    setStyleSheet(
        QStringLiteral("QPushButton{border:none;background:transparent;color:%1;padding:0px;"
                       "text-decoration:underline;text-align:left;}")
            .arg(color.name()));
}

}  // namespace nbx
