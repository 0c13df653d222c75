// One empty main window that quits after its first paint, timed against the agent's start-up;
// with "--no-window", a Qt Widgets program that starts and quits, timed against a direct print.
#include <QApplication>
#include <QEvent>
#include <QMainWindow>
#include <QTimer>

namespace {

class QuitOnPaint : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            QTimer::singleShot(0, qApp, &QApplication::quit);
        }
        return QObject::eventFilter(watched, event);
    }
};

}  // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    if (QApplication::arguments().contains("--no-window")) {
        QTimer::singleShot(0, &app, &QApplication::quit);
        return app.exec();
    }
    QMainWindow window;
    window.setWindowTitle("Nimbrix 2.0");
    window.resize(760, 560);
    window.installEventFilter(new QuitOnPaint(&window));
    window.show();
    return app.exec();
}
