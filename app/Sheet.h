#pragma once

#include <QDialog>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace nbx {

// A window-modal sheet over the main window: a title, a body and a row of buttons on the right.
class Sheet : public QDialog {
    Q_OBJECT
public:
    Sheet(QWidget* parent, const QString& title);

    QLabel* addText(const QString& text);
    QPushButton* addButton(const QString& text, bool primary = false);
    QVBoxLayout* body() const { return body_; }

private:
    QVBoxLayout* body_;
    QHBoxLayout* buttons_;
};

}  // namespace nbx
