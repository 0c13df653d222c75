#pragma once

#include <QWidget>

#include "Localizer.h"
#include "PropertyValue.h"

class QComboBox;
class QLineEdit;

namespace nbx {

class NBXCodeFormatter;
class NBXSendButton;

// Country popup, country-code field and phone field, kept in step by the code formatters; the
// send button is enabled while both fields hold a number.
class PhoneEntry : public QWidget {
    Q_OBJECT
public:
    PhoneEntry(const Localizer& tr, const PropertyValue& countryTable, NBXSendButton* sendButton,
               QWidget* parent = nullptr);

    QComboBox* countryPopup() const { return popup_; }
    QLineEdit* codeField() const { return code_; }
    QLineEdit* phoneField() const { return phone_; }
    // Selects the country whose "Locale_alpha2" is the region and fills in its code.
    void selectRegion(const QString& region);

private:
    void fillPopup(const Localizer& tr);

    PropertyValue countries_;
    QComboBox* popup_;
    QLineEdit* code_;
    QLineEdit* phone_;
};

}  // namespace nbx
