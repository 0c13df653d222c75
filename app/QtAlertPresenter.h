#pragma once

#include <QPointer>
#include <QWidget>

#include "AlertPresenter.h"

namespace nbx {

class QtAlertPresenter : public AlertPresenter {
public:
    void setParentWindow(QWidget* window) { parent_ = window; }
    int runModal(const AlertRequest& request) override;

private:
    QPointer<QWidget> parent_;
};

}  // namespace nbx
