#include "AboutSheet.h"

#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "NBXImages.h"

namespace nbx {

AboutSheet::AboutSheet(const Localizer& tr, const AboutInfo& info, QWidget* parent)
    : Sheet(parent, tr("Nimbrix 2.0")), checking_(tr("Checking...")) {
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
    // Tab reaches the link and Return follows it, not only the mouse.
    site_->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    site_->setAccessibleName(info.site);
    diagnosis_ = new QPlainTextEdit;
    diagnosis_->setReadOnly(true);
    diagnosis_->setLineWrapMode(QPlainTextEdit::NoWrap);
    diagnosis_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    diagnosis_->setMinimumHeight(160);
    diagnosis_->setAccessibleName(tr("Diagnosis Results"));
    diagnosis_->setAccessibleDescription(tr("Diagnosis Results Description"));
    diagnosis_->hide();
    body()->addWidget(diagnosis_);
    diagnose_ = addButton(tr("Diagnose"));
    diagnose_->setAccessibleName(tr("Diagnose"));
    diagnose_->setAccessibleDescription(tr("Diagnose Description"));
    ok_ = addButton(tr("OK"), true);
}

void AboutSheet::showDiagnosing() {
    diagnose_->setEnabled(false);
    diagnosis_->setPlainText(checking_);
    diagnosis_->show();
}

void AboutSheet::showDiagnosis(const QString& lines) {
    diagnosis_->setPlainText(lines);
    diagnosis_->show();
    diagnose_->setEnabled(true);
}

QString AboutSheet::fillVersion(QString text, const QString& version) {
    return text.replace("$VERSION$", version);
}

}  // namespace nbx
