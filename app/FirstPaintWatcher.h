#pragma once

#include <QObject>

class QWidget;

namespace nbx {

// Once a widget has been painted for the first time, says "painted" on standard output (the
// start-up benchmark times that line) and quits the application.
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
