#include "AccountEntry.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "NBXAccessible.h"

namespace nbx {

AccountEntry::AccountEntry(const Localizer& tr, QWidget* parent)
    : QWidget(parent),
      registration_(new QCheckBox(tr("Register with the phone number only"))),
      accountId_(new QLineEdit),
      password_(new QLineEdit) {
    registration_->setChecked(true);
    accountId_->setPlaceholderText(tr("Account ID"));
    password_->setPlaceholderText(tr("Password"));
    NBXAccessible::name(accountId_, tr("Account ID"));
    NBXAccessible::name(password_, tr("Password"));
    password_->setEchoMode(QLineEdit::Password);
    for (QLineEdit* field : {accountId_, password_}) {
        field->setEnabled(false);
        field->setMaximumWidth(220);
    }

    auto* fields = new QHBoxLayout;
    fields->addWidget(accountId_);
    fields->addWidget(password_);
    fields->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(registration_);
    layout->addLayout(fields);
}

}  // namespace nbx
