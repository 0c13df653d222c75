#pragma once

#include <QWidget>
#include <string>
#include <utility>

#include "Localizer.h"
#include "PropertyValue.h"

class QAbstractItemModel;
class QCheckBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace nbx {

class NBXPrinterCell;
class PhoneEntry;

// The "Printer" tab: the printer table, the friend table with its entry, the pop-up check box and
// the Cancel / next buttons of a print launch.
class PrinterScreen : public QWidget {
    Q_OBJECT
public:
    PrinterScreen(const Localizer& tr, const PropertyValue& countryTable,
                  QAbstractItemModel* countryModel, QWidget* parent = nullptr);

    // Shows the saved agent list, marker rows included.
    void reloadPrinters(const PropertyValue& agentList);
    // The row style an agent list entry is drawn with.
    static QString cellTypeFor(const PropertyValue& record);
    // The first of the addresses, upper case, in colon-separated pairs.
    static QString displayMac(const std::string& macAddress);
    // Title and sub-title of a row.
    std::pair<QString, QString> titlesFor(const PropertyValue& record) const;

    int selectedPrinterRow() const;
    int selectedFriendRow() const;
    NBXPrinterCell* printerCell(int row) const;
    void setPlusButton(bool enable, const QString& toolTip);

    QListWidget* printerTable() const { return printers_; }
    QListWidget* friendTable() const { return friends_; }
    PhoneEntry* friendEntry() const { return friendEntry_; }
    QCheckBox* popupCheckBox() const { return popupCheck_; }
    QPushButton* nextButton() const { return next_; }
    QPushButton* cancelButton() const { return cancel_; }

signals:
    void addPrinterClicked();

private:
    void addRow(QListWidget* table, const QString& type, const QString& title,
                const QString& subTitle);
    static void markSelection(QListWidget* table);

    Localizer tr_;
    bool plusEnabled_ = true;
    QString plusToolTip_;
    QListWidget* printers_;
    QListWidget* friends_;
    PhoneEntry* friendEntry_;
    QCheckBox* popupCheck_;
    QPushButton* cancel_;
    QPushButton* next_;
};

}  // namespace nbx
