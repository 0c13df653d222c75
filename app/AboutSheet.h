#pragma once

#include "Localizer.h"
#include "Sheet.h"

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
    QLabel* siteLink() const { return site_; }

    static QString fillVersion(QString text, const QString& version);

private:
    QString versionLine_;
    QLabel* site_;
    QPushButton* ok_;
};

}  // namespace nbx
