#include "PhoneEntry.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QStandardItemModel>

#include "NBXCodeFormatter.h"
#include "NBXImages.h"
#include "NBXSendButton.h"

namespace nbx {

namespace {
QString text(const PropertyValue& entry, const char* key) {
    return QString::fromStdString(entry[key].string().value_or(""));
}
}  // namespace

PhoneEntry::PhoneEntry(const Localizer& tr, const PropertyValue& countryTable,
                       QAbstractItemModel* countryModel, NBXSendButton* sendButton, QWidget* parent)
    : QWidget(parent),
      countries_(countryTable),
      popup_(new QComboBox),
      code_(new QLineEdit),
      phone_(new QLineEdit) {
    popup_->setModel(countryModel);
    popup_->setCurrentIndex(-1);
    code_->setPlaceholderText("+");
    code_->setMaximumWidth(70);
    popup_->setMinimumWidth(170);
    phone_->setMinimumWidth(150);
    phone_->setPlaceholderText(tr("phone number"));
    (new NBXCodeFormatter(countries_, popup_, sendButton, this))->attach(code_);
    (new NBXCodeFormatter(sendButton, this))->attach(phone_);
    connect(popup_, &QComboBox::activated, this, [this](int index) {
        code_->setText(text(countries_.at(static_cast<std::size_t>(index)), "Code"));
        emit code_->editingFinished();
    });

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(popup_, 2);
    layout->addWidget(code_);
    layout->addWidget(phone_, 3);
}

QAbstractItemModel* PhoneEntry::makeCountryModel(const Localizer& tr,
                                                 const PropertyValue& countryTable,
                                                 QObject* parent) {
    auto* model = new QStandardItemModel(parent);
    for (std::size_t i = 0; i < countryTable.size(); ++i) {
        const PropertyValue& entry = countryTable.at(i);
        QString flag = text(entry, "Flag");
        if (flag.isEmpty()) flag = text(entry, "Locale_alpha2");
        model->appendRow(new QStandardItem(
            NBXImages::flag(flag),
            QStringLiteral("%1 (%2)").arg(tr(text(entry, "Name")), text(entry, "Code"))));
    }
    return model;
}

void PhoneEntry::selectRegion(const QString& region) {
    for (std::size_t i = 0; i < countries_.size(); ++i) {
        if (text(countries_.at(i), "Locale_alpha2") == region) {
            popup_->setCurrentIndex(static_cast<int>(i));
            code_->setText(text(countries_.at(i), "Code"));
            emit code_->editingFinished();
            return;
        }
    }
}

}  // namespace nbx
