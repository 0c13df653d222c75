#pragma once

#include <QLabel>

namespace nbx {

// A clickable title image that reports clicks with its identifier.
class NBXTitleImageView : public QLabel {
    Q_OBJECT
public:
    explicit NBXTitleImageView(QWidget* parent = nullptr);

    void setID(int identifier) { id_ = identifier; }
    int identifier() const { return id_; }

signals:
    void clicked(int identifier);

protected:
    void mousePressEvent(QMouseEvent* event) override;

private:
    int id_ = 0;
};

}  // namespace nbx
