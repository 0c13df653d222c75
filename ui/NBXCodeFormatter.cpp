#include "NBXCodeFormatter.h"

#include <QLineEdit>

#include "NBXNotificationCenter.h"

namespace nbx {

namespace {
constexpr qint64 kCountryCodeLimit = 5;
constexpr qint64 kDefaultLimit = 45;
}  // namespace

NBXCodeFormatter::NBXCodeFormatter(const PropertyValue& countryTable, QComboBox* popup,
                                   NBXSendButton* button, QObject* parent)
    : QValidator(parent),
      arrCheck(countryTable),
      pbtnCheck(popup),
      nbxBtnEnable(button),
      bHasPopup(popup != nullptr) {}

NBXCodeFormatter::NBXCodeFormatter(NBXSendButton* button, QObject* parent)
    : QValidator(parent), nbxBtnEnable(button) {}

NBXCodeFormatter::NBXCodeFormatter(qint64 maxLength, QAbstractButton* button, QObject* parent)
    : QValidator(parent), nsBtnEnable(button), bSingle(true), nMaxLength(maxLength) {}

qint64 NBXCodeFormatter::limit() const {
    if (bHasPopup) return kCountryCodeLimit;
    return nMaxLength == 0 ? kDefaultLimit : nMaxLength;
}

void NBXCodeFormatter::controlStringLength() {
    nMaxLength = limit();
}

bool NBXCodeFormatter::acceptsPartial(const QString& partial) const {
    if (partial.size() > limit()) return false;
    for (QChar c : partial) {
        if (c < QChar('0') || c > QChar('9')) return false;
    }
    return true;
}

bool NBXCodeFormatter::isPartialStringValid(const QString& partial) {
    controlStringLength();
    if (!acceptsPartial(partial)) return false;
    if (pbtnCheck && arrCheck.isArray()) {
        int match = -1;
        for (std::size_t i = 0; i < arrCheck.size(); ++i) {
            if (arrCheck.at(i)["Code"].string() == partial.toStdString()) {
                match = static_cast<int>(i);
                break;
            }
        }
        pbtnCheck->setCurrentIndex(match);
    }
    divideTextField(partial);
    return true;
}

void NBXCodeFormatter::divideTextField(const QString& text) {
    if (bSingle && !bHasPopup) return;
    const QString key = bHasPopup ? QStringLiteral("Code") : QStringLiteral("Phone");
    NBXNotificationCenter::defaultCenter().postNotificationName("insertUserInfo", {{key, text}});
}

QString NBXCodeFormatter::removeLeadingZeros(QString text) {
    while (text.startsWith(QChar('0')))
        text.remove(0, 1);
    return text;
}

QString NBXCodeFormatter::getObjectValue(const QString& text) {
    const QString rest = removeLeadingZeros(text);
    if (bSingle) {
        if (nsBtnEnable) nsBtnEnable->setEnabled(!rest.isEmpty());
        return rest;
    }
    bInsertCheck = !rest.isEmpty();
    passInsertCheck();
    return rest;
}

QString NBXCodeFormatter::stringForObjectValue(const QString& value) {
    passInsertCheck();
    return value;
}

void NBXCodeFormatter::passInsertCheck() {
    if (!nbxBtnEnable) return;
    if (bHasPopup) {
        nbxBtnEnable->setEnableFromFirst(bInsertCheck);
    } else {
        nbxBtnEnable->setEnableFromSec(bInsertCheck);
    }
}

QValidator::State NBXCodeFormatter::validate(QString& input, int&) const {
    return acceptsPartial(input) ? Acceptable : Invalid;
}

void NBXCodeFormatter::attach(QLineEdit* field) {
    field->setValidator(this);
    connect(field, &QLineEdit::textEdited, this, [this](const QString& t) {
        if (isPartialStringValid(t)) getObjectValue(t);
    });
    connect(field, &QLineEdit::editingFinished, this, [this, field] {
        const QString value = getObjectValue(field->text());
        if (value != field->text()) field->setText(stringForObjectValue(value));
    });
}

}  // namespace nbx
