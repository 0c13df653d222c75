#include "NBXTextFieldFormatter.h"

#include <QLineEdit>

namespace nbx {

NBXTextFieldFormatter::NBXTextFieldFormatter(qint64 maxLength, QAbstractButton* button,
                                             QObject* parent)
    : QValidator(parent), nMaxLength(maxLength), btnEnable(button) {}

QString NBXTextFieldFormatter::getObjectValue(const QString& text) {
    if (btnEnable) {
        QString compact = text;
        compact.remove(QChar(' '));
        btnEnable->setEnabled(!compact.isEmpty());
    }
    return text;
}

bool NBXTextFieldFormatter::isPartialStringValid(const QString& partial) const {
    return partial.size() <= nMaxLength;
}

QValidator::State NBXTextFieldFormatter::validate(QString& input, int&) const {
    return isPartialStringValid(input) ? Acceptable : Invalid;
}

void NBXTextFieldFormatter::attach(QLineEdit* field) {
    field->setValidator(this);
    connect(field, &QLineEdit::textChanged, this, [this](const QString& t) { getObjectValue(t); });
    getObjectValue(field->text());
}

}  // namespace nbx
