#include "FirstPaintWatcher.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>
#include <cstdio>

namespace nbx {

void FirstPaintWatcher::quitAfterFirstPaint(QWidget* widget) {
    widget->installEventFilter(new FirstPaintWatcher(widget));
}

bool FirstPaintWatcher::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        // Start-up is timed to this line, not to the exit that follows.
        std::fputs("painted\n", stdout);
        std::fflush(stdout);
        QTimer::singleShot(0, qApp, &QApplication::quit);
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace nbx
