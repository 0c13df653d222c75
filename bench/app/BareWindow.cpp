// One empty main window that says "painted" on standard output at its first paint and quits, timed
// against the agent's start-up; with "--text-widgets", the same window showing as many text widgets
// as the agent's first screen (a menu, a title, a heading, a message and two buttons); with
// "--no-window", a Qt Widgets program that starts and quits, timed against a direct print.
#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <cstdio>

namespace {

class QuitOnPaint : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            std::fputs("painted\n", stdout);
            std::fflush(stdout);
            QTimer::singleShot(0, qApp, &QApplication::quit);
        }
        return QObject::eventFilter(watched, event);
    }
};

QWidget* textWidgets(QMainWindow& window) {
    window.menuBar()->addMenu("Nimbrix")->addAction("Quit");
    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(new QLabel("Nimbrix 2.0"));
    layout->addStretch();
    layout->addWidget(new QLabel("Adding Nimbrix"), 0, Qt::AlignCenter);
    auto* message = new QLabel(
        "To print through Nimbrix, a Nimbrix printer must be added to this computer. Click Next "
        "to add it.");
    message->setWordWrap(true);
    layout->addWidget(message);
    layout->addStretch();
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(new QPushButton("Cancel"));
    buttons->addWidget(new QPushButton("Next"));
    layout->addLayout(buttons);
    return central;
}

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
    if (QApplication::arguments().contains("--text-widgets"))
        window.setCentralWidget(textWidgets(window));
    window.installEventFilter(new QuitOnPaint(&window));
    window.show();
    return app.exec();
}
