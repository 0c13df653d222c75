#pragma once

#include <QAbstractButton>
#include <QComboBox>
#include <QPointer>
#include <QValidator>

#include "NBXSendButton.h"
#include "PropertyValue.h"

class QLineEdit;

namespace nbx {

// Restricts a field to digits, drops leading zeros, keeps the country popup in step with a typed
// code and publishes every accepted edit as "insertUserInfo".
class NBXCodeFormatter : public QValidator {
    Q_OBJECT
public:
    // Country-code field: the first condition of the send button.
    NBXCodeFormatter(const PropertyValue& countryTable, QComboBox* popup, NBXSendButton* button,
                     QObject* parent = nullptr);
    // Phone field: the second condition of the send button.
    explicit NBXCodeFormatter(NBXSendButton* button, QObject* parent = nullptr);
    // A single field controlling a plain button.
    NBXCodeFormatter(qint64 maxLength, QAbstractButton* button, QObject* parent = nullptr);

    void controlStringLength();
    bool isPartialStringValid(const QString& partial);
    void divideTextField(const QString& text);
    QString getObjectValue(const QString& text);
    QString stringForObjectValue(const QString& value);

    qint64 maxLength() const { return nMaxLength; }
    State validate(QString& input, int& pos) const override;
    void attach(QLineEdit* field);

    static QString removeLeadingZeros(QString text);

private:
    bool acceptsPartial(const QString& partial) const;
    qint64 limit() const;
    void passInsertCheck();

    PropertyValue arrCheck;
    QPointer<QComboBox> pbtnCheck;
    QPointer<NBXSendButton> nbxBtnEnable;
    QPointer<QAbstractButton> nsBtnEnable;
    bool bInsertCheck = false;
    bool bSingle = false;
    bool bHasPopup = false;
    qint64 nMaxLength = 0;
};

}  // namespace nbx
