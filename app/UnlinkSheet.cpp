#include "UnlinkSheet.h"

#include <QLabel>

namespace nbx {

UnlinkSheet::UnlinkSheet(const Localizer& tr, QWidget* parent)
    : Sheet(parent, tr("Unlink")),
      template_(tr("Are you sure to delete cloud printer '%1%'?")),
      question_(addText({})),
      no_(addButton(tr("No"))),
      yes_(addButton(tr("Yes"), true)) {
    setPrinterName({});
}

void UnlinkSheet::setPrinterName(const QString& name) {
    QString text = template_;
    const int at = text.indexOf("%1%");
    if (at >= 0) text.replace(at, 3, name);
    question_->setText(text);
}

QString UnlinkSheet::question() const {
    return question_->text();
}

}  // namespace nbx
