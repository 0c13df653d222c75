#pragma once

#include <QStringList>
#include <string>

class QMenu;

namespace nbx {

class AppDelegate;
class MainWindow;

// What a printer row offers on right-click: its information, renaming and unlinking, each
// through its sheet. Main thread.
class PrinterActions {
public:
    enum Tag { kInformation = 1, kEditName = 2, kUnlink = 3 };

    explicit PrinterActions(AppDelegate& app) : app_(app) {}
    void connectWindow(MainWindow* window);

    // Fills the menu for the row right-clicked; only own computers and printers get one.
    void menuNeedsUpdate(QMenu* menu, int clickedRow);
    void clickPopMenuPrinter(int tag);
    void clickWRename_OKBtn();
    void clickWRename_CancelBtn();
    void clickWUnlink_YesBtn();
    void clickWUnlink_NoBtn();
    void clickWInfo_OKBtn();

    // The three titles with two leading blanks; the longest also gets two trailing ones, the
    // later of equals winning.
    static QStringList menuTitles(const QStringList& texts);
    // The new name as the rename sends it: cut to 45 characters, blanks collapsed.
    static std::string renameText(const QString& field);

private:
    AppDelegate& app_;
};

}  // namespace nbx
