#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace nbx {

// One step of the set-up wizard: an image, a heading, a message and optional controls below.
class WizardScreen : public QWidget {
    Q_OBJECT
public:
    WizardScreen(const QString& imageKey, const QString& heading, const QString& message,
                 QWidget* parent = nullptr);

    void addBody(QWidget* body);
    QString heading() const;
    QString message() const;

private:
    QLabel* heading_;
    QLabel* message_;
    QVBoxLayout* layout_;
};

}  // namespace nbx
