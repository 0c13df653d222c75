// The toner rows: warning texts, which gauges a row draws and friends' printer titles.
#include <gtest/gtest.h>

#include <QLabel>
#include <QListWidget>
#include <tuple>

#include "NBXPrinterCell.h"
#include "NBXTonerGuageCell.h"
#include "QtTestApp.h"

namespace nbx {
namespace {

QString asKey(const QString& key) {
    return key;
}

PropertyValue printer(int k, int c, int m, int y) {
    return PropertyValue::dictionary({{"agentAlias", "Office"},
                                      {"currKTonerLevel", k},
                                      {"currCTonerLevel", c},
                                      {"currMTonerLevel", m},
                                      {"currYTonerLevel", y}});
}

TEST(TonerGuageCell, WarningNamesTheOnlyLowColourOrSaysSeveralAreLow) {
    test::qtApp();
    const QString several = "Toner levels are low. You can order the genuine toner.";
    const QString none = "Toner levels are low. You can order the gunuine toner.";
    struct {
        const char* name;
        int k, c, m, y;
        QString warning;
    } const cases[] = {
        {"OnlyMagenta", 50, 50, 8, 50, "'M' toner level is 8%. You can order the genuine toner."},
        {"BlackAtFifteen", 15, 16, 16, 16,
         "'K' toner level is 15%. You can order the genuine toner."},
        {"MonoBlack", 3, -1, -1, -1, "'K' toner level is 3%. You can order the genuine toner."},
        {"TwoColours", 50, 10, 50, 0, several},
        {"NoneLow", 16, 16, 16, 16, none},
        // Colours count only when the printer has all three.
        {"MonoWithLowMagenta", 50, -1, 3, 50, none},
    };
    QListWidget table;
    NBXTonerGuageCell cell(asKey);
    PropertyValue list = PropertyValue::array();
    for (const auto& c : cases)
        list.append(printer(c.k, c.c, c.m, c.y));
    cell.initPrintList(list, &table);
    ASSERT_EQ(cell.arrPrintList().size(), std::size(cases));
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cell.arrPrintList()[i].warning, cases[i].warning) << cases[i].name;
}

TEST(TonerGuageCell, MonoPrinterShowsOnlyTheBlackGauge) {
    test::qtApp();
    QListWidget table;
    NBXTonerGuageCell cell(asKey);
    cell.initPrintList(PropertyValue::array({printer(40, 30, 20, 10), printer(7, -1, -1, -1)}),
                       &table);
    const QStringList expected[] = {{"K 40%", "C 30%", "M 20%", "Y 10%"}, {"K 7%"}};
    ASSERT_EQ(table.count(), 2);
    for (int row = 0; row < 2; ++row) {
        QStringList shown;
        for (QWidget* gauge :
             table.itemWidget(table.item(row))->findChildren<QWidget*>("TonerGauge"))
            shown << gauge->property("toner").toString() + " " +
                         gauge->findChild<QLabel*>("TonerLevel")->text();
        EXPECT_EQ(shown, expected[row]) << row;
    }
}

TEST(PrinterCell, FriendPrinterTitleUsesTheNamesThatAreNotBlank) {
    const std::tuple<QString, QString, QString> cases[] = {
        {" Ana\n", "Lee\t", "Ana Lee's (Full Name) Printer"},
        {"Ana", " \r\n", "Ana's (First Name Only) Printer"},
        {"", " Lee ", "Lee's (Last Name Only) Printer"},
        {"  ", "\n", "Friend's (No Name) Printer"},
        {"%2%", "Lee", "%2% Lee's (Full Name) Printer"},
    };
    for (const auto& [first, last, title] : cases)
        EXPECT_EQ(NBXPrinterCell::friendPrinterTitle(asKey, first, last), title);
}

}  // namespace
}  // namespace nbx
