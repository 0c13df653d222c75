#include "AboutSheet.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "NBXImages.h"

namespace nbx {

AboutSheet::AboutSheet(const Localizer& tr, const AboutInfo& info, QWidget* parent)
    : Sheet(parent, tr("Nimbrix 2.0")) {
    versionLine_ = QStringLiteral("%1 (%2)").arg(info.version, info.buildDate);
    auto* icon = new QLabel;
    icon->setPixmap(NBXImages::image("icon_printer").pixmap(48, 48));
    body()->addWidget(icon);
    addText(tr("Driver Version") + " " + versionLine_);
    addText(fillVersion(info.notice, info.version));
    addText(fillVersion(info.contact, info.version));
    site_ = addText(QStringLiteral("<a href=\"%1\">%2</a>")
                        .arg(info.siteUrl.toHtmlEscaped(), info.site.toHtmlEscaped()));
    site_->setTextFormat(Qt::RichText);
    ok_ = addButton(tr("OK"), true);
}

QString AboutSheet::fillVersion(QString text, const QString& version) {
    return text.replace("$VERSION$", version);
}

}  // namespace nbx
