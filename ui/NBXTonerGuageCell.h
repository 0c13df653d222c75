#pragma once

#include <QObject>
#include <QString>
#include <vector>

#include "Localizer.h"
#include "PropertyValue.h"

class QListWidget;
class QPushButton;
class QWidget;

namespace nbx {

// The rows of the toner table: one record and one row widget per printer, each with its
// gauges and an "Order Now" button that asks for the printer's ordering page.
class NBXTonerGuageCell : public QObject {
    Q_OBJECT
public:
    // A level below this is low, for choosing printers and for the warning text alike.
    static constexpr int kLowLevel = 16;
    static constexpr const char* kDefaultOrderingPage = "https://www.nimbrix.example/supplies";

    struct Row {
        QString title;
        QString model;
        QString warning;
        // Set when the printer has no colour toner: only the K gauge is drawn.
        bool hideColours = false;
        int k = 0, c = -1, m = -1, y = -1;
        QPushButton* orderButton = nullptr;
    };

    explicit NBXTonerGuageCell(Localizer localizer, QObject* parent = nullptr);

    // Replaces the table's rows with one per printer of the list.
    void initPrintList(const PropertyValue& printers, QListWidget* table);
    void clickOrderLow(int index);
    static QString replaceString(const QString& text, const QString& from, const QString& to);
    // A toner level of a printer record; a missing colour reads as "no such toner" (-1).
    static int level(const PropertyValue& printer, const char* key);

    const std::vector<Row>& arrPrintList() const { return arrPrintList_; }

signals:
    void orderRequested(const QString& url);

private:
    Row makeRow(const PropertyValue& printer) const;
    QString warningFor(const Row& row) const;
    QWidget* makeRowWidget(Row& row, int index);

    Localizer localizer_;
    PropertyValue arrGetPrintInfoList_;
    std::vector<Row> arrPrintList_;
};

}  // namespace nbx
