#include "QtUrlOpener.h"

#include <QDesktopServices>
#include <QUrl>

namespace nbx {

void QtUrlOpener::openURL(const std::string& url) {
    QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

}  // namespace nbx
