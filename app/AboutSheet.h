#pragma once

#include "Localizer.h"
#include "Sheet.h"

class QPlainTextEdit;

namespace nbx {

struct AboutInfo {
    QString version;
    QString buildDate;
    QString notice;  // may hold "$VERSION$"
    QString contact;
    QString site;     // the line shown
    QString siteUrl;  // where it leads
};

class AboutSheet : public Sheet {
    Q_OBJECT
public:
    AboutSheet(const Localizer& tr, const AboutInfo& info, QWidget* parent);
    QString versionLine() const { return versionLine_; }
    QPushButton* okButton() const { return ok_; }
    QPushButton* diagnoseButton() const { return diagnose_; }
    QLabel* siteLink() const { return site_; }
    // The checks' result lines; hidden until the first diagnosis.
    QPlainTextEdit* diagnosis() const { return diagnosis_; }

    // A diagnosis runs: the button waits for it.
    void showDiagnosing();
    void showDiagnosis(const QString& lines);

    static QString fillVersion(QString text, const QString& version);

private:
    QString versionLine_;
    QString checking_;
    QLabel* site_;
    QPlainTextEdit* diagnosis_;
    QPushButton* diagnose_;
    QPushButton* ok_;
};

}  // namespace nbx
