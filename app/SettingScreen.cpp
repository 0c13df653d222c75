#include "SettingScreen.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "CIButton.h"
#include "NBXAccessible.h"

namespace nbx {

namespace {

QLabel* heading(const QString& text) {
    auto* label = new QLabel(text);
    label->setObjectName("heading");
    return label;
}

QLabel* note(const QString& text) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setObjectName("hint");
    return label;
}

QVBoxLayout* pageLayout(QWidget* page) {
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(10);
    return layout;
}

}  // namespace

SettingScreen::SettingScreen(const Localizer& tr, QWidget* parent)
    : QWidget(parent),
      sections_(new QListWidget),
      pages_(new QStackedWidget),
      apply_(new QPushButton(tr("Apply"))),
      cancel_(new QPushButton(tr("Cancel"))) {
    for (const char* key :
         {"Printer Registration", "Printing Popup", "Notification", "My Profile"}) {
        sections_->addItem(tr(key));
    }
    sections_->setObjectName("sectionTable");
    sections_->setFixedWidth(190);
    NBXAccessible::name(sections_, tr("Settings"));
    pages_->addWidget(registrationSection(tr));
    pages_->addWidget(printingPopupSection(tr));
    pages_->addWidget(notificationSection(tr));
    pages_->addWidget(profileSection(tr));
    connect(sections_, &QListWidget::currentRowChanged, pages_, &QStackedWidget::setCurrentIndex);
    apply_->setObjectName("primary");

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cancel_);
    buttons->addWidget(apply_);
    auto* right = new QVBoxLayout;
    right->addWidget(pages_, 1);
    right->addLayout(buttons);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(18, 12, 18, 12);
    layout->addWidget(sections_);
    layout->addLayout(right, 1);
    selectSection(0);
}

QWidget* SettingScreen::registrationSection(const Localizer& tr) {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    layout->addWidget(heading(tr("Printer Registration via PC")));
    layout->addWidget(
        note(tr("If your printer does not have a Nimbrix feature, connect your PC to "
                "the cloud.")));
    layout->addWidget(
        note(tr("After connecting, the Printer name will be shown in your Nimbrix "
                "mobile app.")));
    layout->addWidget(heading(tr("Set the printer to register")));
    registrationCheck_ = new QCheckBox(tr("Printer Registration"));
    modelField_ = new QLineEdit;
    modelField_->setReadOnly(true);
    NBXAccessible::name(modelField_, tr("Model Name"));
    search_ = new QPushButton(tr("Search"));
    auto* row = new QHBoxLayout;
    row->addWidget(registrationCheck_);
    row->addWidget(modelField_, 1);
    row->addWidget(search_);
    layout->addLayout(row);
    layout->addStretch();
    return page;
}

QWidget* SettingScreen::printingPopupSection(const Localizer& tr) {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    layout->addWidget(heading(tr("Printing Popup")));
    popupCheck_ = new QCheckBox(tr("Printing Popup"));
    layout->addWidget(popupCheck_);
    layout->addWidget(
        note(tr("You can decide whether to display the step of a printer selection "
                "or not when printing from applications.")));
    layout->addWidget(
        note(tr("If this option is turned off, printing job will be sent to a "
                "selected printer from \"Printer\" tab directly.")));
    layout->addStretch();
    return page;
}

QWidget* SettingScreen::notificationSection(const Localizer& tr) {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    layout->addWidget(heading(tr("Notification")));
    managementCheck_ = new QCheckBox(tr("Printer Management"));
    layout->addWidget(managementCheck_);
    layout->addWidget(note(tr("Printer Management Information Recipient")));
    moreInfo_ = new CIButton(tr("For more information, please click here."));
    layout->addWidget(moreInfo_, 0, Qt::AlignLeft);
    layout->addStretch();
    return page;
}

QWidget* SettingScreen::profileSection(const Localizer& tr) {
    auto* page = new QWidget;
    auto* layout = pageLayout(page);
    layout->addWidget(heading(tr("My Profile")));
    layout->addWidget(heading(tr("Sender Information")));
    layout->addWidget(
        note(tr("Please, Enter the sender information, the recipient can view the "
                "information of the sender")));
    sender_ = new QLabel;
    edit_ = new QPushButton(tr("Edit"));
    authenticate_ = new QPushButton(tr("Authenticate"));
    auto* row = new QHBoxLayout;
    row->addWidget(sender_, 1);
    row->addWidget(edit_);
    row->addWidget(authenticate_);
    layout->addLayout(row);
    // The account is signed in and out by the account program, which asks for the ID itself.
    layout->addWidget(heading(tr("Account ID")));
    signIn_ = new QPushButton(tr("Sign In"));
    signOut_ = new QPushButton(tr("Sign Out"));
    auto* account = new QHBoxLayout;
    account->addStretch();
    account->addWidget(signIn_);
    account->addWidget(signOut_);
    layout->addLayout(account);
    layout->addStretch();
    return page;
}

void SettingScreen::selectSection(int row) {
    sections_->setCurrentRow(row);
}
int SettingScreen::currentSection() const {
    return sections_->currentRow();
}

}  // namespace nbx
