#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace nbx {

using ScreenVisitor = std::function<void(QWidget* widget, const QString& name)>;

// Shows every screen and sheet of the agent, filled with sample data, in the language of a locale
// ("de_DE.UTF-8"), and hands each to the visitor while it is on display. Needs a QApplication, a
// throw-away HOME and no reachable scheduler.
void tourScreens(const char* locale, const ScreenVisitor& visit);

}  // namespace nbx
