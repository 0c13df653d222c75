#include <gtest/gtest.h>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include <filesystem>
#include <fstream>

#include "NBXImages.h"
#include "NBXPrinterCell.h"
#include "NBXRefreshView.h"
#include "NBXTitleImageView.h"
#include "QtTestApp.h"

namespace nbx {
namespace {

QString bracketed(const QString& key) {
    return "[" + key + "]";
}

TEST(PrinterCell, EachStyleShowsItsImageAndLines) {
    test::qtApp();
    struct {
        QString type;
        QString image;
        QString subTitle;  // as shown, after the look-up
        bool header;
    } const cases[] = {
        {"Printer", "icon_printer", "Model A", false},
        {"PaymentPrinter", "icon_printer_pay", "Model A", false},
        {"PostOffice", "icon_post-office", "[Post Office Printing &amp; Delivery Service]", false},
        {"My Drive", "icon_my-cloud-box", "[Print Later]", false},
        {"Friend", "icon_profile01", "[Send to Friend]", false},
        {"TitleMyPrinter", "", "", true},
        {"TitleFriendPrinter", "", "", true},
    };
    for (const auto& c : cases) {
        NBXPrinterCell cell(bracketed);
        cell.setCellType(c.type, "Title", "Model A", 3);
        EXPECT_EQ(cell.imageKey(), c.image) << c.type.toStdString();
        EXPECT_EQ(cell.isHeader(), c.header);
        EXPECT_EQ(cell.title(), "Title");
        EXPECT_EQ(cell.subTitle(), c.subTitle) << c.type.toStdString();
        EXPECT_EQ(cell.row(), 3);
        EXPECT_EQ(cell.height(), NBXPrinterCell::heightOfRow(c.type));
        EXPECT_EQ(!cell.addButton()->isHidden(), c.type == "TitleMyPrinter");
    }
    EXPECT_LT(NBXPrinterCell::heightOfRow("TitleMyPrinter"),
              NBXPrinterCell::heightOfRow("Printer"));
}

TEST(PrinterCell, AddButtonShowsItsStateAndReportsClicks) {
    test::qtApp();
    NBXPrinterCell header(bracketed);
    header.setCellType("TitleMyPrinter", "My Printer", "", 0);
    header.setAddBtnStaus(false, "full");
    EXPECT_FALSE(header.addButton()->isEnabled());
    EXPECT_EQ(header.addButton()->toolTip(), "full");
    QSignalSpy spy(&header, &NBXPrinterCell::addClicked);
    header.setAddBtnStaus(true, "add");
    header.addButton()->click();
    EXPECT_EQ(spy.count(), 1);
}

TEST(RefreshView, CoversItsParentAndShowsProgressOnlyWhenAsked) {
    test::qtApp();
    QWidget parent;
    parent.resize(300, 200);
    NBXRefreshView overlay(&parent);
    parent.show();
    EXPECT_TRUE(overlay.isHidden());
    for (const bool progress : {true, false}) {
        overlay.showOverlay(progress);
        EXPECT_FALSE(overlay.isHidden());
        EXPECT_EQ(overlay.geometry(), parent.rect());
        EXPECT_EQ(overlay.isProgressShown(), progress);
        overlay.hideOverlay();
        EXPECT_TRUE(overlay.isHidden());
    }
    overlay.showOverlay(true);
    parent.resize(500, 400);
    EXPECT_EQ(overlay.geometry(), parent.rect());
}

TEST(TitleImageView, ReportsLeftClicksWithItsIdentifier) {
    test::qtApp();
    NBXTitleImageView view;
    view.setID(7);
    QSignalSpy spy(&view, &NBXTitleImageView::clicked);
    QTest::mouseClick(&view, Qt::RightButton);
    QTest::mouseClick(&view, Qt::LeftButton);
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).toInt(), 7);
}

TEST(Images, FlagsComeFromTheFlagFolderAndAMissingOneShowsNothing) {
    test::qtApp();
    const auto folder =
        std::filesystem::temp_directory_path() / ("nbx-flags-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    QImage(16, 11, QImage::Format_RGB32).save(QString::fromStdString((folder / "kr.png").string()));
    setenv("NBX_FLAGS_FOLDER", folder.c_str(), 1);
    EXPECT_FALSE(NBXImages::flag("KR").isNull());
    EXPECT_FALSE(NBXImages::flag("kr").isNull());
    EXPECT_TRUE(NBXImages::flag("zz").isNull());
    EXPECT_TRUE(NBXImages::flag("../kr").isNull());
    unsetenv("NBX_FLAGS_FOLDER");
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace nbx
