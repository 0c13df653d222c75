#include <QApplication>
#include <csignal>
#include <memory>

#include "AppDelegate.h"
#include "FirstPaintWatcher.h"
#include "MainWindow.h"
#include "QtAlertPresenter.h"
#include "QtUrlOpener.h"

int main(int argc, char* argv[]) {
    // A peer closing its end must fail the exchange, not end the program.
    std::signal(SIGPIPE, SIG_IGN);
    QApplication app(argc, argv);
    QStringList arguments = QApplication::arguments();
    // Start-up timing: quit as soon as the main window has been painted once.
    const bool quitAfterShow = arguments.removeAll("--quit-after-show") > 0;

    auto alerts = std::make_shared<nbx::QtAlertPresenter>();
    // Queued: a direct print may quit before exec() runs, when quit() alone does nothing.
    const auto quit = [&app] {
        QMetaObject::invokeMethod(&app, &QCoreApplication::quit, Qt::QueuedConnection);
    };
    nbx::AppPlatform platform{alerts, std::make_shared<nbx::QtUrlOpener>(), quit, {}};
    nbx::AppDelegate delegate(std::move(platform));
    delegate.applicationDidFinishLaunching(arguments);
    alerts->setParentWindow(delegate.window());
    if (quitAfterShow && delegate.window())
        nbx::FirstPaintWatcher::quitAfterFirstPaint(delegate.window());
    return app.exec();
}
