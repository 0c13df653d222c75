#pragma once

#include <QDialog>
#include <functional>
#include <string>

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QThread;

namespace nbx::account {

// Asks for the account ID and password. OK signs in on a worker thread; a failure is shown
// in the dialog, which stays open for another try or Cancel. Accepted once signed in.
class AccountDialog : public QDialog {
    Q_OBJECT
public:
    using SignIn = std::function<bool(const std::string& accountId, const std::string& password,
                                      std::string* error)>;

    explicit AccountDialog(SignIn signIn, QWidget* parent = nullptr);
    ~AccountDialog() override;

    void accept() override;
    // Ignored while a sign-in is under way: its answer must be waited for.
    void reject() override;

private:
    void finishSignIn();
    void updateButtons();

    SignIn signIn_;
    QLineEdit* accountField_;
    QLineEdit* passwordField_;
    QLabel* errorLabel_;
    QDialogButtonBox* buttons_;
    QThread* worker_ = nullptr;
    // Written by the worker, read once it has finished.
    bool signedIn_ = false;
    std::string error_;
};

}  // namespace nbx::account
