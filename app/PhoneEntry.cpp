#include "PhoneEntry.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHash>
#include <QIcon>
#include <QLineEdit>
#include <QListView>
#include <QStandardItemModel>

#include "NBXAccessible.h"
#include "NBXCodeFormatter.h"
#include "NBXImages.h"
#include "NBXSendButton.h"

namespace nbx {

namespace {

QString text(const PropertyValue& entry, const char* key) {
    return QString::fromStdString(entry[key].string().value_or(""));
}

// Reading every flag picture up front costs a fifth of start-up, so each is read when its row is
// first drawn.
class CountryModel : public QStandardItemModel {
public:
    static constexpr int kFlagRole = Qt::UserRole + 1;
    using QStandardItemModel::QStandardItemModel;

    QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::DecorationRole) return QStandardItemModel::data(index, role);
        const QString flag = QStandardItemModel::data(index, kFlagRole).toString();
        auto found = icons_.find(flag);
        if (found == icons_.end()) found = icons_.insert(flag, NBXImages::flag(flag));
        return *found;
    }

private:
    mutable QHash<QString, QIcon> icons_;
};

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
    // Sized from a fixed length, not by measuring (and drawing the flags of) every country.
    popup_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    popup_->setMinimumContentsLength(18);
    if (auto* list = qobject_cast<QListView*>(popup_->view())) list->setUniformItemSizes(true);
    code_->setPlaceholderText("+");
    code_->setMaximumWidth(70);
    popup_->setMinimumWidth(170);
    phone_->setMinimumWidth(150);
    phone_->setPlaceholderText(tr("phone number"));
    NBXAccessible::name(popup_, tr("Country"));
    NBXAccessible::name(code_, tr("Country code"));
    NBXAccessible::name(phone_, tr("phone number"));
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
    auto* model = new CountryModel(parent);
    for (std::size_t i = 0; i < countryTable.size(); ++i) {
        const PropertyValue& entry = countryTable.at(i);
        QString flag = text(entry, "Flag");
        if (flag.isEmpty()) flag = text(entry, "Locale_alpha2");
        auto* item = new QStandardItem(
            QStringLiteral("%1 (%2)").arg(tr(text(entry, "Name")), text(entry, "Code")));
        item->setData(flag, CountryModel::kFlagRole);
        model->appendRow(item);
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
