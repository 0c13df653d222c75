#include "PrintLaterSheet.h"

#include <QCheckBox>
#include <QVBoxLayout>

namespace nbx {

PrintLaterSheet::PrintLaterSheet(const Localizer& tr, QWidget* parent)
    : Sheet(parent, tr("Print Later")),
      dontShow_(new QCheckBox(tr("Don't show this message again"))) {
    addText(tr("Print Later saves files for printing in My Drive of the Nimbrix mobile app."));
    body()->addWidget(dontShow_);
    ok_ = addButton(tr("OK"), true);
}

}  // namespace nbx
