#include <gtest/gtest.h>

#include <QComboBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <ostream>

#include "NBXCodeFormatter.h"
#include "NBXNotificationCenter.h"
#include "NBXSendButton.h"
#include "NBXTextFieldFormatter.h"
#include "QtTestApp.h"

namespace nbx {
namespace {

enum class Field { Country, Phone, SingleSix, SingleDefault };

// The three ways a code formatter is made, with a popup of three countries for the first.
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
        switch (field) {
            case Field::Country:
                formatter = std::make_unique<NBXCodeFormatter>(countries, &popup, &send);
                break;
            case Field::Phone:
                formatter = std::make_unique<NBXCodeFormatter>(&send);
                break;
            case Field::SingleSix:
                formatter = std::make_unique<NBXCodeFormatter>(6, &plain);
                break;
            case Field::SingleDefault:
                formatter = std::make_unique<NBXCodeFormatter>(0, &plain);
                break;
        }
    }
};

struct PartialCase {
    Field field;
    QString partial;
    bool accepted;
};

void PrintTo(const PartialCase& c, std::ostream* os) {
    *os << '"' << c.partial.toStdString() << '"';
}

class CodeFormatterPartial : public ::testing::TestWithParam<PartialCase> {};

TEST_P(CodeFormatterPartial, AcceptsOnlyDigitsUpToTheLimit) {
    const auto& c = GetParam();
    Fixture f(c.field);
    EXPECT_EQ(f.formatter->isPartialStringValid(c.partial), c.accepted) << c.partial.toStdString();
    QString copy = c.partial;
    int pos = 0;
    EXPECT_EQ(f.formatter->validate(copy, pos) == QValidator::Acceptable, c.accepted);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CodeFormatterPartial,
    ::testing::Values(PartialCase{Field::Country, "", true},
                      PartialCase{Field::Country, "12345", true},
                      PartialCase{Field::Country, "123456", false},
                      PartialCase{Field::Country, "8a", false},
                      PartialCase{Field::Country, "+82", false},
                      PartialCase{Field::Phone, QString(45, '9'), true},
                      PartialCase{Field::Phone, QString(46, '9'), false},
                      PartialCase{Field::Phone, "010 1234", false},
                      PartialCase{Field::Phone, QString::fromUtf8("\u0661\u0662"), false},
                      PartialCase{Field::SingleSix, "123456", true},
                      PartialCase{Field::SingleSix, "1234567", false},
                      PartialCase{Field::SingleDefault, QString(45, '1'), true},
                      PartialCase{Field::SingleDefault, QString(46, '1'), false}));

struct ValueCase {
    Field field;
    QString typed;
    QString value;
    bool condition;  // the send button's condition, or the plain button's state
};

void PrintTo(const ValueCase& c, std::ostream* os) {
    *os << '"' << c.typed.toStdString() << '"';
}

class CodeFormatterValue : public ::testing::TestWithParam<ValueCase> {};

TEST_P(CodeFormatterValue, DropsLeadingZerosAndPassesTheCondition) {
    const auto& c = GetParam();
    Fixture f(c.field);
    // Make the other condition true so the send button shows this one alone.
    if (c.field == Field::Country) f.send.setEnableFromSec(true);
    if (c.field == Field::Phone) f.send.setEnableFromFirst(true);
    EXPECT_EQ(f.formatter->getObjectValue(c.typed), c.value);
    const bool state = (c.field == Field::Country || c.field == Field::Phone) ? f.send.isEnabled()
                                                                              : f.plain.isEnabled();
    EXPECT_EQ(state, c.condition) << c.typed.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Table, CodeFormatterValue,
                         ::testing::Values(ValueCase{Field::Country, "0082", "82", true},
                                           ValueCase{Field::Country, "000", "", false},
                                           ValueCase{Field::Country, "", "", false},
                                           ValueCase{Field::Phone, "00101234", "101234", true},
                                           ValueCase{Field::Phone, "0", "", false},
                                           ValueCase{Field::Phone, "1020", "1020", true},
                                           ValueCase{Field::SingleSix, "0123", "123", true},
                                           ValueCase{Field::SingleSix, "00", "", false}));

TEST(CodeFormatter, PopupFollowsTheTypedCode) {
    struct {
        QString typed;
        int index;
    } const cases[] = {{"82", 1}, {"8", -1}, {"44", 2}, {"1", 0}, {"", -1}, {"440", -1}};
    Fixture f(Field::Country);
    for (const auto& c : cases) {
        f.popup.setCurrentIndex(0);
        ASSERT_TRUE(f.formatter->isPartialStringValid(c.typed));
        EXPECT_EQ(f.popup.currentIndex(), c.index) << c.typed.toStdString();
    }
}

TEST(CodeFormatter, RefusedEditLeavesThePopupAlone) {
    Fixture f(Field::Country);
    f.popup.setCurrentIndex(2);
    EXPECT_FALSE(f.formatter->isPartialStringValid("82x"));
    EXPECT_EQ(f.popup.currentIndex(), 2);
}

TEST(CodeFormatter, PublishesEachAcceptedEditUnderItsFieldsKey) {
    struct {
        Field field;
        QString typed;
        QVariantMap expected;  // empty: nothing is posted
    } const cases[] = {{Field::Country, "82", {{"Code", "82"}}},
                       {Field::Phone, "0101", {{"Phone", "0101"}}},
                       {Field::SingleSix, "123", {}},
                       {Field::Country, "8x", {}}};
    for (const auto& c : cases) {
        Fixture f(c.field);
        QSignalSpy spy(&NBXNotificationCenter::defaultCenter(), &NBXNotificationCenter::notified);
        f.formatter->isPartialStringValid(c.typed);
        if (c.expected.isEmpty()) {
            EXPECT_EQ(spy.count(), 0) << c.typed.toStdString();
            continue;
        }
        ASSERT_EQ(spy.count(), 1);
        EXPECT_EQ(spy.at(0).at(0).toString(), "insertUserInfo");
        EXPECT_EQ(spy.at(0).at(1).toMap(), c.expected);
    }
}

TEST(CodeFormatter, TypingIntoARealFieldRefusesTheSixthDigit) {
    Fixture f(Field::Country);
    QLineEdit field;
    f.formatter->attach(&field);
    QTest::keyClicks(&field, "8a2");
    EXPECT_EQ(field.text(), "82");
    EXPECT_EQ(f.popup.currentIndex(), 1);
    QTest::keyClicks(&field, "12345");
    EXPECT_EQ(field.text(), "82123");
    EXPECT_EQ(f.popup.currentIndex(), -1);
}

TEST(CodeFormatter, FinishingAnEditShowsTheValueWithoutLeadingZeros) {
    Fixture f(Field::Phone);
    QLineEdit field;
    f.formatter->attach(&field);
    QTest::keyClicks(&field, "0010");
    emit field.editingFinished();
    EXPECT_EQ(field.text(), "10");
}

TEST(SendButton, EnabledExactlyWhileBothConditionsHold) {
    test::qtApp();
    struct Step {
        bool first;
        bool value;
        bool enabled;
    };
    const std::vector<Step> steps = {{true, true, false},   {false, true, true},
                                     {true, false, false},  {true, true, true},
                                     {false, false, false}, {false, true, true}};
    NBXSendButton button;
    EXPECT_FALSE(button.isEnabled());
    for (const auto& s : steps) {
        if (s.first) {
            button.setEnableFromFirst(s.value);
        } else {
            button.setEnableFromSec(s.value);
        }
        EXPECT_EQ(button.isEnabled(), s.enabled);
    }
}

TEST(SendButton, CountryAndPhoneFieldsTogetherDriveIt) {
    Fixture country(Field::Country);
    NBXCodeFormatter phone(&country.send);
    country.formatter->getObjectValue("82");
    EXPECT_FALSE(country.send.isEnabled());
    phone.getObjectValue("0101");
    EXPECT_TRUE(country.send.isEnabled());
    phone.getObjectValue("000");
    EXPECT_FALSE(country.send.isEnabled());
}

TEST(TextFieldFormatter, LimitsLengthAndEnablesOnNonBlankText) {
    test::qtApp();
    struct {
        QString text;
        bool accepted;
        bool enabled;
    } const cases[] = {{"", true, false},     {"   ", true, false},    {" a ", true, true},
                       {"12345", true, true}, {"123456", false, true}, {"é漢字", true, true}};
    QPushButton ok;
    NBXTextFieldFormatter formatter(5, &ok);
    for (const auto& c : cases) {
        EXPECT_EQ(formatter.isPartialStringValid(c.text), c.accepted) << c.text.toStdString();
        EXPECT_EQ(formatter.getObjectValue(c.text), c.text);
        EXPECT_EQ(ok.isEnabled(), c.enabled) << c.text.toStdString();
    }
    EXPECT_EQ(formatter.stringForObjectValue("x"), "x");
}

TEST(TextFieldFormatter, WorksWithoutAButton) {
    test::qtApp();
    NBXTextFieldFormatter formatter(3);
    EXPECT_EQ(formatter.getObjectValue("abc"), "abc");
    EXPECT_FALSE(formatter.isPartialStringValid("abcd"));
}

}  // namespace
}  // namespace nbx
