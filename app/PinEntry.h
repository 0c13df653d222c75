#pragma once

#include <QWidget>

#include "Localizer.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QProgressBar;

namespace nbx {

// The lower half of the authentication screen: the PIN field with its countdown and clock, the
// choice of SMS delivery, and the busy indicators of the PIN request and of the check.
class PinEntry : public QWidget {
    Q_OBJECT
public:
    explicit PinEntry(const Localizer& tr, QWidget* parent = nullptr);

    QLineEdit* pinField() const { return pin_; }
    QLabel* countdownText() const { return countdown_; }
    QLabel* clock() const { return clock_; }
    QCheckBox* smsCheckBox() const { return sms_; }
    QProgressBar* certificateProgress() const { return certificateProgress_; }
    QProgressBar* nextProgress() const { return nextProgress_; }
    // The countdown text and the clock together.
    void setCountdownVisible(bool visible);

private:
    QLineEdit* pin_;
    QLabel* countdown_;
    QLabel* clock_;
    QCheckBox* sms_;
    QProgressBar* certificateProgress_;
    QProgressBar* nextProgress_;
};

}  // namespace nbx
