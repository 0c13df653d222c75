// The custom controls and the field formatters of the screens.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <filesystem>
#include <tuple>

#include "NBXCodeFormatter.h"
#include "NBXImages.h"
#include "NBXNotificationCenter.h"
#include "NBXPrinterCell.h"
#include "NBXRefreshView.h"
#include "NBXSendButton.h"
#include "NBXTextFieldFormatter.h"
#include "QtTestApp.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx {
namespace {

QString bracketed(const QString& key) {
    return "[" + key + "]";
}

TEST(PrinterCell, EachStyleShowsItsImageAndLines) {
    test::qtApp();
    // Type, image, the sub-title as shown after the look-up, and whether it is a header.
    const std::tuple<QString, QString, QString, bool> cases[] = {
        {"Printer", "icon_printer", "Model A", false},
        {"PaymentPrinter", "icon_printer_pay", "Model A", false},
        {"PostOffice", "icon_post-office", "[Post Office Printing &amp; Delivery Service]", false},
        {"My Drive", "icon_my-cloud-box", "[Print Later]", false},
        {"Friend", "icon_profile01", "[Send to Friend]", false},
        {"TitleMyPrinter", "", "", true},
        {"TitleFriendPrinter", "", "", true},
    };
    for (const auto& [type, image, subTitle, header] : cases) {
        NBXPrinterCell cell(bracketed);
        cell.setCellType(type, "Title", "Model A", 3);
        SCOPED_TRACE(type.toStdString());
        EXPECT_EQ(cell.imageKey(), image);
        EXPECT_EQ(cell.isHeader(), header);
        EXPECT_EQ(cell.subTitle(), subTitle);
        EXPECT_EQ(!cell.addButton()->isHidden(), type == "TitleMyPrinter");
    }
}

// Its state and tooltip follow the agent limit in the printer list tests; a click must reach
// the screen.
TEST(PrinterCell, EnabledAddButtonReportsClicks) {
    test::qtApp();
    NBXPrinterCell header(bracketed);
    header.setCellType("TitleMyPrinter", "My Printer", "", 0);
    QSignalSpy spy(&header, &NBXPrinterCell::addClicked);
    header.setAddBtnStaus(true, "add");
    header.addButton()->click();
    EXPECT_EQ(spy.count(), 1);
}

// The flow tests show it with progress and hide it.
TEST(RefreshView, CoversItsParentAsItResizes) {
    test::qtApp();
    QWidget parent;
    parent.resize(300, 200);
    NBXRefreshView overlay(&parent);
    parent.show();
    overlay.showOverlay(false);
    EXPECT_FALSE(overlay.isProgressShown());
    EXPECT_EQ(overlay.geometry(), parent.rect());
    parent.resize(500, 400);
    EXPECT_EQ(overlay.geometry(), parent.rect());
}

TEST(Images, FlagsComeFromTheFlagFolderAndAMissingOneShowsNothing) {
    test::qtApp();
    const test::TempHome home;
    const test::ScopedEnv folder("NBX_FLAGS_FOLDER", home.path() + "/flags");
    std::filesystem::create_directories(home.path() + "/flags");
    // A flag beside the folder too, so that "../kr" would find one.
    for (const std::string at : {"/flags/kr.png", "/kr.png"})
        QImage(16, 11, QImage::Format_RGB32).save(QString::fromStdString(home.path() + at));
    EXPECT_FALSE(NBXImages::flag("KR").isNull());
    EXPECT_FALSE(NBXImages::flag("kr").isNull());
    EXPECT_TRUE(NBXImages::flag("zz").isNull());
    EXPECT_TRUE(NBXImages::flag("../kr").isNull());
}

// The code fields as the screens make them: country code (with a popup of three countries)
// and phone number drive the send button; the certificate field drives a plain button.
enum class Field { Country, Phone, Certificate };

struct Fixture {
    test::QtAppUser app;
    NBXSendButton send;
    QPushButton plain;
    QComboBox popup;
    PropertyValue countries = PropertyValue::array({PropertyValue::dictionary({{"Code", "1"}}),
                                                    PropertyValue::dictionary({{"Code", "82"}}),
                                                    PropertyValue::dictionary({{"Code", "44"}})});
    std::unique_ptr<NBXCodeFormatter> formatter;

    explicit Fixture(Field field) {
        popup.addItems({"One", "Korea", "UK"});
        if (field == Field::Country)
            formatter = std::make_unique<NBXCodeFormatter>(countries, &popup, &send);
        else if (field == Field::Phone)
            formatter = std::make_unique<NBXCodeFormatter>(&send);
        else
            formatter = std::make_unique<NBXCodeFormatter>(0, &plain);
    }
};

// Accepted edits of the country and phone fields are published under their keys. An accepted
// country code selects its country or none; a refused edit leaves the popup alone.
TEST(CodeFormatter, AcceptsOnlyDigitsUpToTheLimitAndPublishesAcceptedEdits) {
    const struct {
        Field field;
        QString partial;
        bool accepted;
        int popup = 2;
    } cases[] = {
        {Field::Country, "", true, -1},
        {Field::Country, "82", true, 1},
        {Field::Country, "1", true, 0},
        {Field::Country, "8", true, -1},
        {Field::Country, "12345", true, -1},
        {Field::Country, "123456", false},
        {Field::Country, "+82", false},
        {Field::Phone, QString(45, '9'), true},
        {Field::Phone, QString(46, '9'), false},
        {Field::Phone, QString::fromUtf8("\u0661\u0662"), false},
        {Field::Certificate, QString(45, '1'), true},
        {Field::Certificate, QString(46, '1'), false},
    };
    for (const auto& c : cases) {
        Fixture f(c.field);
        f.popup.setCurrentIndex(2);
        QSignalSpy spy(&NBXNotificationCenter::defaultCenter(), &NBXNotificationCenter::notified);
        SCOPED_TRACE(c.partial.toStdString());
        EXPECT_EQ(f.formatter->isPartialStringValid(c.partial), c.accepted);
        EXPECT_EQ(f.popup.currentIndex(), c.popup);
        const bool published = c.accepted && c.field != Field::Certificate;
        ASSERT_EQ(spy.count(), published ? 1 : 0);
        if (!published) continue;
        EXPECT_EQ(spy.at(0).at(0).toString(), "insertUserInfo");
        EXPECT_EQ(spy.at(0).at(1).toMap(),
                  (QVariantMap{{c.field == Field::Country ? "Code" : "Phone", c.partial}}));
    }
}

TEST(CodeFormatter, RealFieldsRefuseKeysAndShowTheValueWithoutLeadingZeros) {
    Fixture country(Field::Country), phone(Field::Phone);
    QLineEdit code, number;
    country.formatter->attach(&code);
    QTest::keyClicks(&code, "8a2");
    EXPECT_EQ(code.text(), "82");
    EXPECT_EQ(country.popup.currentIndex(), 1);
    phone.formatter->attach(&number);
    QTest::keyClicks(&number, "0010");
    emit number.editingFinished();
    EXPECT_EQ(number.text(), "10");
}

// Leading zeros are dropped; the send button needs both the country code and the phone
// number, the certificate field alone drives its plain button.
TEST(CodeFormatter, DropsLeadingZerosAndEnablesItsButton) {
    Fixture country(Field::Country);
    NBXCodeFormatter phone(&country.send), certificate(0, &country.plain);
    NBXCodeFormatter* code = country.formatter.get();
    const std::tuple<NBXCodeFormatter*, QString, QString, bool> steps[] = {
        {code, "0082", "82", false},     {&phone, "00101234", "101234", true},
        {&phone, "0", "", false},        {&phone, "1020", "1020", true},
        {code, "000", "", false},        {code, "44", "44", true},
        {&certificate, "00", "", false}, {&certificate, "0123", "123", true},
    };
    for (const auto& [field, typed, value, enabled] : steps) {
        EXPECT_EQ(field->getObjectValue(typed), value);
        const QAbstractButton& button =
            field == &certificate ? static_cast<QAbstractButton&>(country.plain) : country.send;
        EXPECT_EQ(button.isEnabled(), enabled) << typed.toStdString();
    }
}

TEST(TextFieldFormatter, LimitsLengthAndEnablesOnNonBlankText) {
    test::qtApp();
    const std::tuple<QString, bool, bool> cases[] = {
        {"", true, false},     {"   ", true, false},    {" a ", true, true},
        {"12345", true, true}, {"123456", false, true}, {"é漢字", true, true}};
    QPushButton ok;
    NBXTextFieldFormatter formatter(5, &ok);
    for (const auto& [text, accepted, enabled] : cases) {
        EXPECT_EQ(formatter.isPartialStringValid(text), accepted) << text.toStdString();
        EXPECT_EQ(formatter.getObjectValue(text), text);
        EXPECT_EQ(ok.isEnabled(), enabled) << text.toStdString();
    }
}

}  // namespace
}  // namespace nbx
