#pragma once

#include <QWidget>

#include "Localizer.h"
#include "PropertyValue.h"

class QAbstractItemModel;
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
    // The popup shows `countryModel`, which may be shared between entries (it is made once).
    PhoneEntry(const Localizer& tr, const PropertyValue& countryTable,
               QAbstractItemModel* countryModel, NBXSendButton* sendButton,
               QWidget* parent = nullptr);

    // One "%@ (%@)" row with its flag per country, in the table's order.
    static QAbstractItemModel* makeCountryModel(const Localizer& tr,
                                                const PropertyValue& countryTable, QObject* parent);

    QComboBox* countryPopup() const { return popup_; }
    QLineEdit* codeField() const { return code_; }
    QLineEdit* phoneField() const { return phone_; }
    // Selects the country whose "Locale_alpha2" is the region and fills in its code.
    void selectRegion(const QString& region);

private:
    PropertyValue countries_;
    QComboBox* popup_;
    QLineEdit* code_;
    QLineEdit* phone_;
};

}  // namespace nbx
