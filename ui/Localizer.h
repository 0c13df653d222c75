#pragma once

#include <QString>
#include <functional>

namespace nbx {

// Turns an English text key into the text shown in the current language.
using Localizer = std::function<QString(const QString& key)>;

}  // namespace nbx
