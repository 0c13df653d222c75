#pragma once

#include <QWidget>

#include "Localizer.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QStackedWidget;

namespace nbx {

class CIButton;

// The "Setting" tab: a section table beside the four sections, with Apply and Cancel.
class SettingScreen : public QWidget {
    Q_OBJECT
public:
    explicit SettingScreen(const Localizer& tr, QWidget* parent = nullptr);

    void selectSection(int row);
    int currentSection() const;

    QListWidget* sectionTable() const { return sections_; }
    QCheckBox* registrationCheckBox() const { return registrationCheck_; }
    QLineEdit* modelField() const { return modelField_; }
    QPushButton* searchButton() const { return search_; }
    QCheckBox* printingPopupCheckBox() const { return popupCheck_; }
    QCheckBox* managementCheckBox() const { return managementCheck_; }
    CIButton* moreInfoLink() const { return moreInfo_; }
    QLabel* senderLabel() const { return sender_; }
    QPushButton* editButton() const { return edit_; }
    QPushButton* authenticateButton() const { return authenticate_; }
    QPushButton* signInButton() const { return signIn_; }
    QPushButton* signOutButton() const { return signOut_; }
    QPushButton* applyButton() const { return apply_; }
    QPushButton* cancelButton() const { return cancel_; }

private:
    QWidget* registrationSection(const Localizer& tr);
    QWidget* printingPopupSection(const Localizer& tr);
    QWidget* notificationSection(const Localizer& tr);
    QWidget* profileSection(const Localizer& tr);

    QListWidget* sections_;
    QStackedWidget* pages_;
    QCheckBox* registrationCheck_ = nullptr;
    QLineEdit* modelField_ = nullptr;
    QPushButton* search_ = nullptr;
    QCheckBox* popupCheck_ = nullptr;
    QCheckBox* managementCheck_ = nullptr;
    CIButton* moreInfo_ = nullptr;
    QLabel* sender_ = nullptr;
    QPushButton* edit_ = nullptr;
    QPushButton* authenticate_ = nullptr;
    QPushButton* signIn_ = nullptr;
    QPushButton* signOut_ = nullptr;
    QPushButton* apply_;
    QPushButton* cancel_;
};

}  // namespace nbx
