#include "AccountDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>
#include <QVBoxLayout>

namespace nbx::account {

AccountDialog::AccountDialog(SignIn signIn, QWidget* parent)
    : QDialog(parent),
      signIn_(std::move(signIn)),
      accountField_(new QLineEdit(this)),
      passwordField_(new QLineEdit(this)),
      errorLabel_(new QLabel(this)),
      buttons_(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this)) {
    setWindowTitle("Valmora Account");
    accountField_->setObjectName("accountId");
    passwordField_->setObjectName("password");
    passwordField_->setEchoMode(QLineEdit::Password);
    errorLabel_->setObjectName("error");
    errorLabel_->setWordWrap(true);
    errorLabel_->setStyleSheet("color: #c0392b");
    errorLabel_->hide();

    auto* form = new QFormLayout;
    form->addRow("Account ID", accountField_);
    form->addRow("Password", passwordField_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(errorLabel_);
    layout->addWidget(buttons_);

    connect(buttons_, &QDialogButtonBox::accepted, this, &AccountDialog::accept);
    connect(buttons_, &QDialogButtonBox::rejected, this, &AccountDialog::reject);
    connect(accountField_, &QLineEdit::textChanged, this, &AccountDialog::updateButtons);
    connect(passwordField_, &QLineEdit::textChanged, this, &AccountDialog::updateButtons);
    updateButtons();
}

AccountDialog::~AccountDialog() {
    if (worker_) worker_->wait();
}

void AccountDialog::accept() {
    if (worker_ || !buttons_->button(QDialogButtonBox::Ok)->isEnabled()) return;
    const std::string accountId = accountField_->text().trimmed().toStdString();
    const std::string password = passwordField_->text().toStdString();
    errorLabel_->hide();
    worker_ = QThread::create([this, accountId, password] {
        error_.clear();
        signedIn_ = signIn_(accountId, password, &error_);
    });
    connect(worker_, &QThread::finished, this, &AccountDialog::finishSignIn);
    updateButtons();
    worker_->start();
}

void AccountDialog::reject() {
    if (!worker_) QDialog::reject();
}

void AccountDialog::finishSignIn() {
    worker_->wait();
    worker_->deleteLater();
    worker_ = nullptr;
    if (signedIn_) {
        QDialog::accept();
        return;
    }
    errorLabel_->setText(QString::fromStdString(error_));
    errorLabel_->show();
    updateButtons();
    passwordField_->setFocus();
    passwordField_->selectAll();
}

void AccountDialog::updateButtons() {
    const bool idle = worker_ == nullptr;
    buttons_->button(QDialogButtonBox::Ok)
        ->setEnabled(idle && !accountField_->text().trimmed().isEmpty() &&
                     !passwordField_->text().isEmpty());
    buttons_->button(QDialogButtonBox::Cancel)->setEnabled(idle);
    accountField_->setEnabled(idle);
    passwordField_->setEnabled(idle);
}

}  // namespace nbx::account
