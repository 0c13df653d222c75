#include "NBXPrinterCell.h"

#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

#include "NBXAccessible.h"
#include "NBXImages.h"

namespace nbx {

namespace {
constexpr int kIconSize = 32;
constexpr int kHeaderHeight = 30;
constexpr int kRowHeight = 54;
}  // namespace

NBXPrinterCell::NBXPrinterCell(Localizer localizer, QWidget* parent)
    : QWidget(parent),
      localizer_(std::move(localizer)),
      icon_(new QLabel),
      title_(new QLabel),
      subTitle_(new QLabel),
      check_(new QLabel),
      addButton_(new QToolButton) {
    icon_->setFixedSize(kIconSize, kIconSize);
    subTitle_->setStyleSheet("color:#6b7280;");
    check_->setFixedSize(20, 20);
    check_->setPixmap(NBXImages::image("icon_select_dev@2x").pixmap(20, 20));
    check_->hide();
    addButton_->setIcon(NBXImages::image("btn_add_normal"));
    addButton_->setAutoRaise(true);
    NBXAccessible::name(addButton_, localizer_("Add Printer"));
    addButton_->hide();
    connect(addButton_, &QToolButton::clicked, this, &NBXPrinterCell::addClicked);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(title_);
    texts->addWidget(subTitle_);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 2, 10, 2);
    layout->addWidget(icon_);
    layout->addLayout(texts, 1);
    layout->addWidget(check_);
    layout->addWidget(addButton_);
}

bool NBXPrinterCell::isHeaderType(const QString& type) {
    return type == "TitleMyPrinter" || type == "TitleFriendPrinter";
}

int NBXPrinterCell::heightOfRow(const QString& type) {
    return isHeaderType(type) ? kHeaderHeight : kRowHeight;
}

QString NBXPrinterCell::imageKeyForType(const QString& type) {
    static const QHash<QString, QString> keys = {
        {"Printer", "icon_printer"},        {"PaymentPrinter", "icon_printer_pay"},
        {"PostOffice", "icon_post-office"}, {"My Drive", "icon_my-cloud-box"},
        {"Friend", "icon_profile01"},
    };
    return keys.value(type);
}

QString NBXPrinterCell::fixedSubTitleKey(const QString& type) {
    static const QHash<QString, QString> keys = {
        {"PostOffice", "Post Office Printing &amp; Delivery Service"},
        {"My Drive", "Print Later"},
        {"Friend", "Send to Friend"},
    };
    return keys.value(type);
}

QString NBXPrinterCell::friendPrinterTitle(const Localizer& localizer, const QString& firstName,
                                           const QString& lastName) {
    const QString first = firstName.trimmed();
    const QString last = lastName.trimmed();
    const char* key = !first.isEmpty() && !last.isEmpty() ? "%1% %2%'s (Full Name) Printer"
                      : !first.isEmpty()                  ? "%1%'s (First Name Only) Printer"
                      : !last.isEmpty()                   ? "%2%'s (Last Name Only) Printer"
                                                          : "Friend's (No Name) Printer";
    // One pass, so a name that looks like a placeholder stays as it is.
    const QString text = localizer(key);
    QString title;
    for (int i = 0; i < text.size();) {
        const QStringView piece = QStringView(text).mid(i, 3);
        if (piece == u"%1%" || piece == u"%2%") {
            title += piece == u"%1%" ? first : last;
            i += 3;
        } else {
            title += text[i++];
        }
    }
    return title;
}

void NBXPrinterCell::setCellType(const QString& type, const QString& title, const QString& subTitle,
                                 int row) {
    type_ = type;
    row_ = row;
    imageKey_ = imageKeyForType(type);
    const bool header = isHeaderType(type);
    title_->setText(title);
    title_->setStyleSheet(header ? "font-weight:600;color:#374151;" : "font-weight:500;");
    const QString fixedKey = fixedSubTitleKey(type);
    subTitle_->setText(header ? QString() : fixedKey.isEmpty() ? subTitle : localizer_(fixedKey));
    subTitle_->setVisible(!header && !subTitle_->text().isEmpty());
    icon_->setVisible(!header);
    if (!imageKey_.isEmpty()) icon_->setPixmap(NBXImages::image(imageKey_).pixmap(kIconSize));
    addButton_->setVisible(type == "TitleMyPrinter");
    setFixedHeight(heightOfRow(type));
}

void NBXPrinterCell::setSelected(bool selected) {
    check_->setVisible(selected && !isHeader());
}

void NBXPrinterCell::setAddBtnStaus(bool enabled, const QString& toolTip) {
    addButton_->setEnabled(enabled);
    addButton_->setToolTip(toolTip);
}

QString NBXPrinterCell::title() const {
    return title_->text();
}
QString NBXPrinterCell::subTitle() const {
    return subTitle_->text();
}
bool NBXPrinterCell::isHeader() const {
    return isHeaderType(type_);
}

}  // namespace nbx
