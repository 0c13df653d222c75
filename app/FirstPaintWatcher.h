#pragma once

#include <QObject>

class QWidget;

namespace nbx {

// Quits the application once a widget has been painted for the first time.
class FirstPaintWatcher : public QObject {
    Q_OBJECT
public:
    static void quitAfterFirstPaint(QWidget* widget);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    using QObject::QObject;
};

}  // namespace nbx
