// Every control a user operates, on every screen and sheet of the tour, has a name a screen reader
// reads and is reached by Tab, in reading order.
#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QAccessible>
#include <QMainWindow>
#include <QWidget>
#include <set>
#include <vector>

#include "QtTestApp.h"
#include "ScopedEnv.h"
#include "ScreenTour.h"
#include "TempHome.h"

namespace nbx::test {
namespace {

enum class Kind { Other, Control, Row };

Kind kindOf(QAccessible::Role role) {
    using enum QAccessible::Role;
    static const std::set<QAccessible::Role> controls = {
        PushButton, CheckBox, RadioButton, ComboBox, EditableText, SpinBox,        Slider,
        List,       Table,    Tree,        Link,     ButtonMenu,   ButtonDropDown, PageTab};
    if (controls.contains(role)) return Kind::Control;
    return role == ListItem || role == Cell || role == TreeItem ? Kind::Row : Kind::Other;
}

// What Tab reaches: the window's focus chain, less what is hidden or disabled or takes no Tab.
std::set<QObject*> tabReach(QWidget* window) {
    std::set<QObject*> reached;
    QWidget* widget = window;
    do {
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus))
            reached.insert(widget);
        widget = widget->nextInFocusChain();
    } while (widget != window);
    return reached;
}

// Tab reads a screen from top to bottom: it never goes from a control to one wholly above it.
// The toolbar and menu stay out: Tab reaches them after the screen, as it wraps around.
void expectTopToBottom(QWidget* window, const QString& screen) {
    const auto* main = qobject_cast<QMainWindow*>(window);
    QWidget* scope = main ? main->centralWidget() : window;
    QWidget* previous = nullptr;
    for (QWidget* widget = window->nextInFocusChain(); widget != window;
         widget = widget->nextInFocusChain()) {
        if (!scope->isAncestorOf(widget) || !widget->isVisible() || !widget->isEnabled() ||
            !(widget->focusPolicy() & Qt::TabFocus))
            continue;
        if (previous) {
            const QRect was(previous->mapTo(window, QPoint()), previous->size());
            const QRect is(widget->mapTo(window, QPoint()), widget->size());
            EXPECT_GT(is.bottom(), was.top()) << screen.toStdString() << ": Tab goes up from "
                                              << previous->metaObject()->className() << " to "
                                              << widget->metaObject()->className() << " \""
                                              << widget->accessibleName().toStdString() << "\"";
        }
        previous = widget;
    }
}

void walk(QAccessibleInterface* node, std::set<QAccessibleInterface*>& seen) {
    if (!node || node->state().invisible || !seen.insert(node).second) return;
    for (int i = 0; i < node->childCount(); ++i)
        walk(node->child(i), seen);
}

// The accessible tree, and every widget of the window too: rows' widgets inside item views are
// not children in that tree but still take focus and get read.
std::set<QAccessibleInterface*> interfacesOf(QWidget* window) {
    std::set<QAccessibleInterface*> seen;
    walk(QAccessible::queryAccessibleInterface(window), seen);
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        if (widget->window() == window) walk(QAccessible::queryAccessibleInterface(widget), seen);
    }
    return seen;
}

void expectAccessible(QWidget* window, const QString& screen) {
    const std::set<QObject*> reached = tabReach(window);
    for (QAccessibleInterface* node : interfacesOf(window)) {
        const Kind kind = kindOf(node->role());
        const QAccessible::State state = node->state();
        if (kind == Kind::Other || state.invisible || state.disabled) continue;
        // Rows are not objects of their own: name their view.
        const QObject* object = node->object() ? node->object() : node->parent()->object();
        const QString name = node->text(QAccessible::Name).trimmed();
        const std::string where =
            QStringLiteral("%1: %2 %3 \"%4\"")
                .arg(screen, object->metaObject()->className(), object->objectName(), name)
                .toStdString();
        EXPECT_FALSE(name.isEmpty()) << "unnamed " << where;
        // A list nothing can be chosen in is read, not operated: its rows' buttons take the focus.
        const auto* view = qobject_cast<const QAbstractItemView*>(object);
        const bool readOnlyList = view && view->selectionMode() == QAbstractItemView::NoSelection;
        if (kind == Kind::Control && !readOnlyList) {
            EXPECT_TRUE(reached.count(node->object())) << "not reached by Tab: " << where;
        }
    }
}

TEST(ScreensAccessibility, EveryControlIsNamedAndReachedByTabInReadingOrder) {
    qtApp();
    TempHome home;
    ScopedEnv noScheduler("CUPS_SERVER", "127.0.0.1:9");
    int screens = 0;
    tourScreens("en_US.UTF-8", [&](QWidget* window, const QString& name) {
        ++screens;
        expectAccessible(window, name);
        expectTopToBottom(window, name);
    });
    EXPECT_GT(screens, 20);
}

}  // namespace
}  // namespace nbx::test
