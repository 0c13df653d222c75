#include "PrinterScreen.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QToolButton>
#include <QVBoxLayout>

#include "NBXAccessible.h"
#include "NBXPrinterCell.h"
#include "PhoneEntry.h"

namespace nbx {

namespace {
QString text(const PropertyValue& record, const char* key) {
    return QString::fromStdString(record[key].string().value_or(""));
}
}  // namespace

PrinterScreen::PrinterScreen(const Localizer& tr, const PropertyValue& countryTable,
                             QAbstractItemModel* countryModel, QWidget* parent)
    : QWidget(parent),
      tr_(tr),
      printers_(new QListWidget),
      friends_(new QListWidget),
      friendEntry_(new PhoneEntry(tr, countryTable, countryModel, nullptr)),
      popupCheck_(new QCheckBox(tr("Don't show again. Always use recent printer."))),
      cancel_(new QPushButton(tr("Cancel"))),
      next_(new QPushButton(tr("Print Job"))) {
    auto* intro =
        new QLabel(tr("Add your printer and use the cloud printing. You can save files "
                      "for printing later to `My Drive' in the NBX mobile application."));
    intro->setWordWrap(true);
    intro->setObjectName("hint");
    auto* hint =
        new QLabel(tr("Please, enter the phone number of the friend you want to send the file."));
    hint->setWordWrap(true);
    hint->setObjectName("hint");
    NBXAccessible::name(printers_, tr("My Printer"), intro->text());
    NBXAccessible::name(friends_, tr("Send to Friend"));
    NBXAccessible::name(friendEntry_->phoneField(), tr("phone number"), hint->text());
    for (QListWidget* table : {printers_, friends_}) {
        table->setObjectName("cardTable");
        table->setSelectionMode(QAbstractItemView::SingleSelection);
        connect(table, &QListWidget::itemSelectionChanged, this, [table] { markSelection(table); });
    }
    addRow(friends_, "Friend", tr("Contacts"), QString());
    friends_->setFixedHeight(NBXPrinterCell::heightOfRow("Friend") + 6);
    next_->setDefault(true);
    next_->setObjectName("primary");

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(popupCheck_);
    buttons->addStretch();
    buttons->addWidget(cancel_);
    buttons->addWidget(next_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 12, 18, 12);
    layout->addWidget(intro);
    layout->addWidget(printers_, 1);
    layout->addWidget(friends_);
    layout->addWidget(friendEntry_);
    layout->addWidget(hint);
    layout->addLayout(buttons);
    reloadPrinters(
        PropertyValue::array({PropertyValue::dictionary({{"agentType", "TitleMyPrinter"}}),
                              PropertyValue::dictionary({{"agentType", "TitleFriendPrinter"}})}));
}

QString PrinterScreen::cellTypeFor(const PropertyValue& record) {
    const std::string type = record["agentType"].string().value_or("");
    if (type == "My Drive" || type == "TitleMyPrinter" || type == "TitleFriendPrinter") {
        return QString::fromStdString(type);
    }
    const bool paid = record["isPaidDevice"].isTrue();
    if (record["friendUserId"].isString()) return paid ? "PaymentPrinter" : "Printer";
    if (type == "POST_AGENT") return paid ? "PaymentPrinter" : "PostOffice";
    return "Printer";
}

QString PrinterScreen::displayMac(const std::string& macAddress) {
    const QString hex = QString::fromStdString(macAddress.substr(0, macAddress.find(',')))
                            .remove(QRegularExpression("[^0-9A-Fa-f]"))
                            .toUpper();
    QStringList pairs;
    for (int i = 0; i < hex.size(); i += 2)
        pairs << hex.mid(i, 2);
    return pairs.join(':');
}

std::pair<QString, QString> PrinterScreen::titlesFor(const PropertyValue& record) const {
    if (record["friendUserId"].isString()) {
        return {NBXPrinterCell::friendPrinterTitle(tr_, text(record, "firstName"),
                                                   text(record, "lastName")),
                text(record, "agentModelName")};
    }
    const QString type = cellTypeFor(record);
    if (type == "TitleMyPrinter") return {tr_("My Printer"), {}};
    if (type == "TitleFriendPrinter") return {tr_("Friend's Printer"), {}};
    if (type == "My Drive") return {tr_("My Drive"), {}};
    const QString mac = displayMac(record["agentMacAddress"].string().value_or(""));
    return {text(record, "agentAlias"), mac.isEmpty() ? QString() : "MAC: " + mac};
}

void PrinterScreen::reloadPrinters(const PropertyValue& agentList) {
    // The selection stays on its row, as long as the row is there.
    const int selected = selectedPrinterRow();
    printers_->clear();
    for (std::size_t i = 0; i < agentList.size(); ++i) {
        const auto [title, subTitle] = titlesFor(agentList.at(i));
        addRow(printers_, cellTypeFor(agentList.at(i)), title, subTitle);
    }
    if (QListWidgetItem* item = printers_->item(selected);
        item && item->flags() & Qt::ItemIsSelectable) {
        printers_->setCurrentItem(item);
    }
    setPlusButton(plusEnabled_, plusToolTip_);
    // The rows' widgets join the window last; Tab reaches the add button right after the table.
    for (int row = 0; row < printers_->count(); ++row) {
        NBXPrinterCell* cell = printerCell(row);
        if (cell && cell->cellType() == "TitleMyPrinter")
            NBXAccessible::tabOrder({printers_, cell->addButton(), friends_});
    }
}

void PrinterScreen::addRow(QListWidget* table, const QString& type, const QString& title,
                           const QString& subTitle) {
    auto* cell = new NBXPrinterCell(tr_);
    cell->setCellType(type, title, subTitle, table->count());
    auto* item = new QListWidgetItem(table);
    item->setSizeHint(QSize(0, NBXPrinterCell::heightOfRow(type)));
    // Row 0 stays selectable even as a header: selecting it means "no printer".
    if (cell->isHeader() && item->listWidget()->row(item) != 0) item->setFlags(Qt::ItemIsEnabled);
    table->setItemWidget(item, cell);
    NBXAccessible::name(item, cell->title(), cell->subTitle());
    connect(cell, &NBXPrinterCell::addClicked, this, &PrinterScreen::addPrinterClicked);
}

void PrinterScreen::markSelection(QListWidget* table) {
    for (int row = 0; row < table->count(); ++row) {
        auto* cell = qobject_cast<NBXPrinterCell*>(table->itemWidget(table->item(row)));
        if (cell) cell->setSelected(table->item(row)->isSelected());
    }
}

int PrinterScreen::selectedPrinterRow() const {
    const auto items = printers_->selectedItems();
    return items.isEmpty() ? -1 : printers_->row(items.first());
}

int PrinterScreen::selectedFriendRow() const {
    const auto items = friends_->selectedItems();
    return items.isEmpty() ? -1 : friends_->row(items.first());
}

NBXPrinterCell* PrinterScreen::printerCell(int row) const {
    auto* item = printers_->item(row);
    return item ? qobject_cast<NBXPrinterCell*>(printers_->itemWidget(item)) : nullptr;
}

void PrinterScreen::setPlusButton(bool enable, const QString& toolTip) {
    plusEnabled_ = enable;
    plusToolTip_ = toolTip;
    for (int row = 0; row < printers_->count(); ++row) {
        NBXPrinterCell* cell = printerCell(row);
        if (cell && cell->cellType() == "TitleMyPrinter") cell->setAddBtnStaus(enable, toolTip);
    }
}

}  // namespace nbx
