#pragma once

#include <QWidget>

#include "Localizer.h"

class QLabel;
class QToolButton;

namespace nbx {

// One row of the printer and friend tables. Header styles show only their title.
class NBXPrinterCell : public QWidget {
    Q_OBJECT
public:
    explicit NBXPrinterCell(Localizer localizer, QWidget* parent = nullptr);

    void setCellType(const QString& type, const QString& title, const QString& subTitle, int row);
    void setSelected(bool selected);
    void setAddBtnStaus(bool enabled, const QString& toolTip);

    QString cellType() const { return type_; }
    QString title() const;
    QString subTitle() const;
    QString imageKey() const { return imageKey_; }
    int row() const { return row_; }
    bool isHeader() const;
    QToolButton* addButton() const { return addButton_; }

    static bool isHeaderType(const QString& type);
    static int heightOfRow(const QString& type);
    static QString imageKeyForType(const QString& type);
    // The fixed second line of a style, or "" when the row shows its own sub-title.
    static QString fixedSubTitleKey(const QString& type);
    // The title of a friend's printer from the friend's names, trimmed; blank names count as
    // missing.
    static QString friendPrinterTitle(const Localizer& localizer, const QString& firstName,
                                      const QString& lastName);

signals:
    void addClicked();

private:
    Localizer localizer_;
    QString type_;
    QString imageKey_;
    int row_ = -1;
    QLabel* icon_;
    QLabel* title_;
    QLabel* subTitle_;
    QLabel* check_;
    QToolButton* addButton_;
};

}  // namespace nbx
