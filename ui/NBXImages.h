#pragma once

#include <QIcon>
#include <QString>

namespace nbx::NBXImages {

// The icon for one of the application's image keys: the desktop theme's icon where a fitting one
// exists, else the project's own picture from the resources' images/ folder.
QIcon image(const QString& key);
// The picture file behind an image key, or "" when the project ships none.
QString fallbackFile(const QString& key);
// The flag of a country ("<flags>/<alpha2>.png"); a null icon when there is no picture.
QIcon flag(const QString& alpha2);

}  // namespace nbx::NBXImages
