#include <QApplication>
#include <QMainWindow>

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QMainWindow window;
    window.setWindowTitle("Nimbrix 2.0");
    window.resize(720, 520);
    window.show();
    return app.exec();
}
