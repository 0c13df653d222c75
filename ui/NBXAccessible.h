#pragma once

#include <QString>
#include <vector>

class QListWidgetItem;
class QWidget;

namespace nbx {

// What a screen reader reads for controls whose own text does not say what they are (fields,
// tables, picture-only buttons, rows drawn by widgets), and the Tab order where the order widgets
// join their window is not the order on screen.
class NBXAccessible {
public:
    static void name(QWidget* control, const QString& name, const QString& description = {});
    static void name(QListWidgetItem* row, const QString& name, const QString& description = {});
    // Tab goes from each control to the next, in the order given; the first keeps its place.
    static void tabOrder(const std::vector<QWidget*>& controls);
};

}  // namespace nbx
