#pragma once

#include <QColor>
#include <QPushButton>

namespace nbx {

// A link-like button: hand cursor, and its text colour changes while the pointer is over it.
class CIButton : public QPushButton {
    Q_OBJECT
public:
    explicit CIButton(const QString& text = {}, QWidget* parent = nullptr);

    void setTextColor(const QColor& color);
    void setHoverTextColor(const QColor& color);
    QColor currentTextColor() const;

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void applyColor(const QColor& color);

    QColor normalColor_{0x1a, 0x73, 0xe8};
    QColor hoverColor_{0x0b, 0x4f, 0xa8};
};

}  // namespace nbx
