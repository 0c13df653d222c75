#include "QtAlertPresenter.h"

#include <QMessageBox>
#include <QPushButton>

namespace nbx {

int QtAlertPresenter::runModal(const AlertRequest& request) {
    QMessageBox box(parent_);
    box.setIcon(QMessageBox::Warning);
    box.setWindowTitle(QString::fromStdString(request.title));
    box.setText(QString::fromStdString(request.title));
    box.setInformativeText(QString::fromStdString(request.text));
    std::vector<QPushButton*> buttons;
    for (const auto& label : request.buttons) {
        buttons.push_back(box.addButton(QString::fromStdString(label), QMessageBox::AcceptRole));
    }
    if (!buttons.empty()) box.setDefaultButton(buttons.front());
    box.exec();
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        if (box.clickedButton() == buttons[i]) return static_cast<int>(i);
    }
    return -1;
}

}  // namespace nbx
