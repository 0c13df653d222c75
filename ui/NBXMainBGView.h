#pragma once

#include <QColor>
#include <QWidget>

namespace nbx {

// A background filled with one colour.
class NBXMainBGView : public QWidget {
    Q_OBJECT
public:
    explicit NBXMainBGView(const QColor& fillColor, QWidget* parent = nullptr);
    QColor fillColor() const { return fillColor_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor fillColor_;
};

}  // namespace nbx
