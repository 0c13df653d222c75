// Renders every screen and sheet of the agent to PNG files, in English and German, so the look
// can be checked without a display: QT_QPA_PLATFORM=offscreen nbx-screens OUTDIR
#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "ScreenTour.h"

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: nbx-screens OUTDIR\n");
        return 2;
    }
    // A throw-away home and no reachable scheduler: rendering must change nothing on this machine.
    std::string home = (std::filesystem::temp_directory_path() / "nbx-screens-XXXXXX").string();
    if (!mkdtemp(home.data())) return 1;
    setenv("HOME", home.c_str(), 1);
    setenv("CUPS_SERVER", "127.0.0.1:9", 1);
    QApplication app(argc, argv);
    const QString folder = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(folder);
    for (const auto& [locale, language] : {std::pair{"en_US.UTF-8", "en"}, {"de_DE.UTF-8", "de"}}) {
        nbx::tourScreens(locale, [&](QWidget* widget, const QString& name) {
            const QString path = folder + "/" + language + "-" + name + ".png";
            if (!widget->grab().save(path))
                std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        });
    }
    std::error_code ec;
    std::filesystem::remove_all(home, ec);
    return 0;
}
