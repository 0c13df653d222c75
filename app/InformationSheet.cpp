#include "InformationSheet.h"

#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace nbx {

InformationSheet::InformationSheet(const Localizer& tr, QWidget* parent)
    : Sheet(parent, tr("Information")), name_(new QLabel), model_(new QLabel), mac_(new QLabel) {
    auto* form = new QFormLayout;
    form->addRow(tr("Printer Name"), name_);
    form->addRow(tr("Model Name"), model_);
    form->addRow(tr("Mac Address"), mac_);
    body()->addLayout(form);
    ok_ = addButton(tr("OK"), true);
}

void InformationSheet::setInformation(const QString& name, const QString& model,
                                      const QString& mac) {
    name_->setText(name);
    model_->setText(model);
    mac_->setText(mac);
}

}  // namespace nbx
