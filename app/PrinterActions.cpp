#include "PrinterActions.h"

#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>

#include "AppDelegate.h"
#include "BackendLink.h"
#include "InformationSheet.h"
#include "MainWindow.h"
#include "NBXImages.h"
#include "PrinterList.h"
#include "PrinterScreen.h"
#include "RenameSheet.h"
#include "StateFiles.h"
#include "UnlinkSheet.h"

namespace nbx {

namespace {
constexpr int kMaxAliasLength = 45;
}  // namespace

void PrinterActions::connectWindow(MainWindow* w) {
    w->printerScreen.whenBuilt([this](PrinterScreen* screen) {
        QListWidget* table = screen->printerTable();
        table->setContextMenuPolicy(Qt::CustomContextMenu);
        QObject::connect(
            table, &QListWidget::customContextMenuRequested, &app_,
            [this, table](const QPoint& at) {
                QMenu menu;
                menuNeedsUpdate(&menu, table->indexAt(at).row());
                if (QAction* chosen =
                        menu.isEmpty() ? nullptr : menu.exec(table->viewport()->mapToGlobal(at)))
                    clickPopMenuPrinter(chosen->data().toInt());
            });
    });
    w->renameSheet.whenBuilt([this](RenameSheet* sheet) {
        QObject::connect(sheet->okButton(), &QPushButton::clicked, &app_,
                         [this] { clickWRename_OKBtn(); });
        QObject::connect(sheet->cancelButton(), &QPushButton::clicked, &app_,
                         [this] { clickWRename_CancelBtn(); });
    });
    w->unlinkSheet.whenBuilt([this](UnlinkSheet* sheet) {
        QObject::connect(sheet->yesButton(), &QPushButton::clicked, &app_,
                         [this] { clickWUnlink_YesBtn(); });
        QObject::connect(sheet->noButton(), &QPushButton::clicked, &app_,
                         [this] { clickWUnlink_NoBtn(); });
    });
    w->informationSheet.whenBuilt([this](InformationSheet* sheet) {
        QObject::connect(sheet->okButton(), &QPushButton::clicked, &app_,
                         [this] { clickWInfo_OKBtn(); });
    });
}

void PrinterActions::menuNeedsUpdate(QMenu* menu, int clickedRow) {
    menu->clear();
    const int selected = app_.window()->printerScreen->selectedPrinterRow();
    const auto list = StateFiles::agentList();
    if (clickedRow < 0 || clickedRow != selected || !list ||
        static_cast<std::size_t>(selected) >= list->size()) {
        return;
    }
    const PropertyValue& record = (*list)[selected];
    const auto type = record["agentType"].string();
    if (!record["friendUserId"].isNull() || (type != "PC_AGENT" && type != "PRT_AGENT")) return;
    const QStringList titles =
        menuTitles({app_.localized("Information"), app_.localized("Edit Printer Name"),
                    app_.localized("Unlink")});
    const char* images[] = {"icon_information_nor", "icon_edit_nor", "icon_unlink_nor"};
    for (int i = 0; i < titles.size(); ++i) {
        if (i > 0) menu->addSeparator();
        menu->addAction(NBXImages::image(images[i]), titles[i])->setData(i + 1);
    }
}

QStringList PrinterActions::menuTitles(const QStringList& texts) {
    QStringList titles;
    int longest = 0;
    for (int i = 0; i < texts.size(); ++i) {
        titles << "  " + texts[i];
        if (titles[i].size() >= titles[longest].size()) longest = i;
    }
    if (!titles.isEmpty()) titles[longest] += "  ";
    return titles;
}

void PrinterActions::clickPopMenuPrinter(int tag) {
    MainWindow* w = app_.window();
    const PropertyValue info = app_.printers().getSelectedRowInfo();
    const auto text = [&](const char* key) {
        return QString::fromStdString(info[key].string().value_or(""));
    };
    switch (tag) {
        case kInformation:
            w->informationSheet->setInformation(
                text("PrinterName"), text("ModelName"),
                PrinterScreen::displayMac(info["MACAddress"].string().value_or("")));
            w->informationSheet->open();
            return;
        case kEditName:
            w->renameSheet->nameField()->setText(text("PrinterName"));
            w->renameSheet->open();
            return;
        case kUnlink:
            w->unlinkSheet->setPrinterName(text("PrinterName"));
            w->unlinkSheet->open();
            return;
        default:
            return;
    }
}

std::string PrinterActions::renameText(const QString& field) {
    return PrinterList::convertToSendRename(field.left(kMaxAliasLength).toStdString());
}

void PrinterActions::clickWRename_OKBtn() {
    MainWindow* w = app_.window();
    w->renameSheet->hide();
    app_.showRefreshWindow("START", true);
    const PropertyValue info = app_.printers().getSelectedRowInfo();
    std::string name = renameText(w->renameSheet->nameField()->text());
    if (name == info["PrinterName"].string().value_or("")) {
        app_.showRefreshWindow("STOP", false);
        return;
    }
    name = PrinterList::uniqueAlias(name, app_.shared().arrSaveAgentList.get());
    if (app_.printers().isOwnAgent(info["MACAddress"].string().value_or(""))) {
        // The back end's answer takes the name from the field.
        w->renameSheet->nameField()->setText(QString::fromStdString(name));
        app_.backend().post(
            PropertyValue::dictionary({{"Command", "ChangeAlias"}, {"Alias", name}}));
        return;
    }
    app_.printers().updateAgentAlias(name);
}

void PrinterActions::clickWRename_CancelBtn() {
    app_.window()->renameSheet->hide();
}

void PrinterActions::clickWUnlink_YesBtn() {
    app_.window()->unlinkSheet->hide();
    app_.showRefreshWindow("START", true);
    const PropertyValue info = app_.printers().getSelectedRowInfo();
    if (app_.printers().isOwnAgent(info["MACAddress"].string().value_or(""))) {
        app_.backend().post(PropertyValue::dictionary({{"Command", "StopPolling"}}));
        return;
    }
    app_.printers().requestToReleaseAgent();
}

void PrinterActions::clickWUnlink_NoBtn() {
    app_.window()->unlinkSheet->hide();
}

void PrinterActions::clickWInfo_OKBtn() {
    app_.window()->informationSheet->hide();
}

}  // namespace nbx
