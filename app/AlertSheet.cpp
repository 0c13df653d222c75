#include "AlertSheet.h"

#include <QLabel>

namespace nbx {

AlertSheet::AlertSheet(const Localizer& tr, QWidget* parent)
    : Sheet(parent, tr("Information")), message_(addText({})), ok_(addButton(tr("OK"), true)) {}

void AlertSheet::setMessage(const QString& text) {
    message_->setText(text);
}
QString AlertSheet::message() const {
    return message_->text();
}

}  // namespace nbx
