#include "FirstPaintWatcher.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>

namespace nbx {

void FirstPaintWatcher::quitAfterFirstPaint(QWidget* widget) {
    widget->installEventFilter(new FirstPaintWatcher(widget));
}

bool FirstPaintWatcher::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        QTimer::singleShot(0, qApp, &QApplication::quit);
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace nbx
