#include "NBXImages.h"

#include <QFileInfo>
#include <QHash>

#include "Configuration.h"

namespace nbx::NBXImages {

namespace {

QString themeName(const QString& key) {
    static const QHash<QString, QString> names = {
        {"icon_printer", "printer"},
        {"icon_profile01", "avatar-default"},
        {"icon_my-cloud-box", "folder-cloud"},
        {"btn_add_normal", "list-add"},
        {"icon_information_nor", "dialog-information"},
        {"icon_edit_nor", "document-edit"},
        {"icon_unlink_nor", "edit-delete"},
        {"icon_refresh", "view-refresh"},
        {"icon_about", "help-about"},
        {"clock_25x25", "appointment-soon"},
    };
    return names.value(key);
}

}  // namespace

QString fallbackFile(const QString& key) {
    const QString folder = QString::fromStdString(Configuration::resourcesFolder()) + "/images/";
    for (const char* ext : {".svg", ".png"}) {
        const QString path = folder + key + ext;
        if (QFileInfo::exists(path)) return path;
    }
    return {};
}

QIcon image(const QString& key) {
    // Each picture is read once: the printer rows ask for the same few again and again, and
    // reading one means a theme search and a decode. Widgets live on the main thread only.
    static QHash<QString, QIcon> cache;
    if (const auto found = cache.constFind(key); found != cache.constEnd()) return *found;
    const QString file = fallbackFile(key);
    const QIcon fallback = file.isEmpty() ? QIcon() : QIcon(file);
    const QString theme = themeName(key);
    return cache[key] = theme.isEmpty() ? fallback : QIcon::fromTheme(theme, fallback);
}

QIcon flag(const QString& alpha2) {
    if (alpha2.isEmpty() || alpha2.contains('/')) return {};
    const QString path =
        QString::fromStdString(Configuration::flagsFolder()) + "/" + alpha2.toLower() + ".png";
    return QFileInfo::exists(path) ? QIcon(path) : QIcon();
}

}  // namespace nbx::NBXImages
