#include "NBXSendButton.h"

namespace nbx {

NBXSendButton::NBXSendButton(const QString& text, QWidget* parent) : QPushButton(text, parent) {
    initCheckbtn();
}

void NBXSendButton::setEnableFromFirst(bool enable) {
    bFirstbtn = enable;
    initCheckbtn();
}

void NBXSendButton::setEnableFromSec(bool enable) {
    bSecbtn = enable;
    initCheckbtn();
}

void NBXSendButton::initCheckbtn() {
    setEnabled(bFirstbtn && bSecbtn);
}

}  // namespace nbx
