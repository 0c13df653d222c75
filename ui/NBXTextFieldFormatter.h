#pragma once

#include <QAbstractButton>
#include <QPointer>
#include <QValidator>

class QLineEdit;

namespace nbx {

// Limits a free-text field and enables one button while the text holds more than blanks.
class NBXTextFieldFormatter : public QValidator {
    Q_OBJECT
public:
    explicit NBXTextFieldFormatter(qint64 maxLength, QAbstractButton* button = nullptr,
                                   QObject* parent = nullptr);

    QString stringForObjectValue(const QString& value) const { return value; }
    QString getObjectValue(const QString& text);
    bool isPartialStringValid(const QString& partial) const;

    State validate(QString& input, int& pos) const override;
    // Installs the formatter on a field and keeps the button in step with every change.
    void attach(QLineEdit* field);

private:
    qint64 nMaxLength;
    QPointer<QAbstractButton> btnEnable;
};

}  // namespace nbx
