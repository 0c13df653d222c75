#pragma once

#include "Localizer.h"
#include "Sheet.h"

namespace nbx {

// The non-blocking alert shown as a sheet on the main window.
class AlertSheet : public Sheet {
    Q_OBJECT
public:
    AlertSheet(const Localizer& tr, QWidget* parent);
    void setMessage(const QString& text);
    QString message() const;
    QPushButton* okButton() const { return ok_; }

private:
    QLabel* message_;
    QPushButton* ok_;
};

}  // namespace nbx
