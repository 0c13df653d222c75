#include "NBXTonerGuageCell.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>

#include "NBXAccessible.h"
#include "NBXImages.h"
#include "NBXPrinterCell.h"

namespace nbx {

namespace {

constexpr QSize kBarSize(56, 8);
constexpr QSize kIconSize(12, 12);
constexpr QSize kAlertSize(14, 14);
constexpr qreal kPixelRatio = 2.0;

QString text(const PropertyValue& record, const char* key) {
    return QString::fromStdString(record[key].string().value_or(""));
}

QColor tonerColor(const QString& letter) {
    if (letter == "C") return QColor("#06b6d4");
    if (letter == "M") return QColor("#db2777");
    if (letter == "Y") return QColor("#eab308");
    return QColor("#27272a");
}

// The shipped picture of an image key, else the same part drawn here.
QPixmap picture(const QString& key, QSize size, const std::function<void(QPainter&)>& draw) {
    const QIcon shipped = NBXImages::image(key);
    if (!shipped.isNull()) return shipped.pixmap(size);
    QPixmap pixmap(size * kPixelRatio);
    pixmap.setDevicePixelRatio(kPixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
    return pixmap;
}

QPixmap gaugeBar(int level, const QColor& color) {
    const QPixmap track = picture("print_toner_bg", kBarSize, [](QPainter& p) {
        p.setPen(Qt::NoPen);
        p.setBrush(QColor("#e5e7eb"));
        p.drawRoundedRect(QRectF(QPointF(0, 0), kBarSize), 4, 4);
    });
    QPixmap bar = track;
    QPainter painter(&bar);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath clip;
    clip.addRoundedRect(QRectF(QPointF(0, 0), kBarSize), 4, 4);
    painter.setClipPath(clip);
    const qreal filled = kBarSize.width() * std::clamp(level, 0, 100) / 100.0;
    painter.fillRect(QRectF(0, 0, filled, kBarSize.height()), color);
    return bar;
}

QPixmap tonerIcon(const QString& letter) {
    return picture("print_toner_icon_" + letter.toLower(), kIconSize, [&](QPainter& p) {
        p.setPen(Qt::NoPen);
        p.setBrush(tonerColor(letter));
        p.drawEllipse(QRectF(1, 1, 10, 10));
    });
}

QPixmap alertIcon(bool empty) {
    const QColor color(empty ? "#dc2626" : "#f59e0b");
    return picture(empty ? "toner_icon_alert_empty" : "toner_icon_alert_low", kAlertSize,
                   [&](QPainter& p) {
                       p.setPen(Qt::NoPen);
                       p.setBrush(color);
                       p.drawPolygon(QPolygonF({{7, 1}, {13.5, 13}, {0.5, 13}}));
                       p.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap));
                       p.drawLine(QPointF(7, 5), QPointF(7, 8.6));
                       p.drawPoint(QPointF(7, 11));
                   });
}

QLabel* pictureLabel(const QPixmap& pixmap) {
    auto* label = new QLabel;
    label->setPixmap(pixmap);
    return label;
}

// One colour: its icon, the bar filled to the level, "%d%%" and an alert when running low.
QWidget* gauge(const QString& letter, int level) {
    auto* widget = new QWidget;
    widget->setObjectName("TonerGauge");
    widget->setProperty("toner", letter);
    auto* layout = new QHBoxLayout(widget);
    layout->setContentsMargins(0, 0, 10, 0);
    layout->setSpacing(4);
    layout->addWidget(pictureLabel(tonerIcon(letter)));
    layout->addWidget(pictureLabel(gaugeBar(level, tonerColor(letter))));
    auto* percent = new QLabel(QString::asprintf("%d%%", level));
    percent->setObjectName("TonerLevel");
    percent->setMinimumWidth(percent->fontMetrics().horizontalAdvance("100%"));
    layout->addWidget(percent);
    auto* alert = pictureLabel(alertIcon(level <= 0));
    alert->setVisible(level < NBXTonerGuageCell::kLowLevel);
    alert->setFixedSize(kAlertSize);
    layout->addWidget(alert);
    return widget;
}

}  // namespace

NBXTonerGuageCell::NBXTonerGuageCell(Localizer localizer, QObject* parent)
    : QObject(parent), localizer_(std::move(localizer)) {}

int NBXTonerGuageCell::level(const PropertyValue& printer, const char* key) {
    const auto value = printer[key].real();
    return value ? static_cast<int>(*value) : -1;
}

QString NBXTonerGuageCell::replaceString(const QString& text, const QString& from,
                                         const QString& to) {
    if (from.isEmpty()) return text;
    return QString(text).replace(from, to);
}

void NBXTonerGuageCell::initPrintList(const PropertyValue& printers, QListWidget* table) {
    table->clear();
    arrGetPrintInfoList_ = printers;
    arrPrintList_.clear();
    arrPrintList_.reserve(printers.size());
    for (std::size_t i = 0; i < printers.size(); ++i) {
        arrPrintList_.push_back(makeRow(printers.at(i)));
        QWidget* widget = makeRowWidget(arrPrintList_.back(), static_cast<int>(i));
        auto* item = new QListWidgetItem(table);
        item->setFlags(Qt::ItemIsEnabled);
        table->setItemWidget(item, widget);
        NBXAccessible::name(item, arrPrintList_.back().title, arrPrintList_.back().warning);
        // The table's style sheet decides the row's size, so measure once it applies.
        widget->ensurePolished();
        item->setSizeHint(widget->sizeHint());
    }
}

NBXTonerGuageCell::Row NBXTonerGuageCell::makeRow(const PropertyValue& printer) const {
    Row row;
    row.title = printer["friendUserId"].isNull()
                    ? text(printer, "agentAlias")
                    : NBXPrinterCell::friendPrinterTitle(localizer_, text(printer, "firstName"),
                                                         text(printer, "lastName"));
    row.model = text(printer, "agentModelName");
    row.warning = localizer_("Toner levels are low. You can order the gunuine toner.");
    row.k = level(printer, "currKTonerLevel");
    row.c = level(printer, "currCTonerLevel");
    row.m = level(printer, "currMTonerLevel");
    row.y = level(printer, "currYTonerLevel");
    row.hideColours = row.c < 0 || row.m < 0 || row.y < 0;
    row.warning = warningFor(row);
    return row;
}

QString NBXTonerGuageCell::warningFor(const Row& row) const {
    int lowCount = 0;
    QString lowLetter;
    int lowLevel = 0;
    const auto count = [&](const char* letter, int value) {
        if (value >= kLowLevel) return;
        ++lowCount;
        lowLetter = letter;
        lowLevel = value;
    };
    count("K", row.k);
    if (row.c != -1 && row.m != -1 && row.y != -1) {
        count("C", row.c);
        count("M", row.m);
        count("Y", row.y);
    }
    if (lowCount >= 2) return localizer_("Toner levels are low. You can order the genuine toner.");
    if (lowCount == 0) return row.warning;
    const QString single =
        localizer_("'%1%' toner level is %2%%%. You can order the genuine toner.");
    return replaceString(replaceString(single, "%1%", lowLetter), "%2%%",
                         QString::number(lowLevel));
}

QWidget* NBXTonerGuageCell::makeRowWidget(Row& row, int index) {
    auto* widget = new QWidget;
    auto* title = new QLabel(row.title);
    title->setStyleSheet("font-weight:600;");
    auto* model = new QLabel(row.model);
    model->setStyleSheet("color:#6b7280;");
    auto* warning = new QLabel(row.warning);
    warning->setStyleSheet("color:#b45309;");
    row.orderButton = new QPushButton(localizer_("Order Now"));
    row.orderButton->setProperty("tag", index);
    // Every row has one: say which printer it orders for.
    NBXAccessible::name(row.orderButton, localizer_("Order Now"), row.title + ": " + row.warning);
    connect(row.orderButton, &QPushButton::clicked, this, [this, index] { clickOrderLow(index); });

    auto* names = new QVBoxLayout;
    names->setSpacing(1);
    names->addWidget(title);
    names->addWidget(model);
    auto* head = new QHBoxLayout;
    head->addLayout(names, 1);
    head->addWidget(row.orderButton, 0, Qt::AlignTop);
    auto* gauges = new QHBoxLayout;
    gauges->setSpacing(0);
    gauges->addWidget(gauge("K", row.k));
    if (!row.hideColours) {
        for (const auto& [letter, value] : {std::pair{"C", row.c}, {"M", row.m}, {"Y", row.y}})
            gauges->addWidget(gauge(letter, value));
    }
    gauges->addStretch();
    auto* layout = new QVBoxLayout(widget);
    layout->setContentsMargins(10, 8, 10, 8);
    layout->setSpacing(4);
    layout->addLayout(head);
    layout->addWidget(warning);
    layout->addLayout(gauges);
    return widget;
}

void NBXTonerGuageCell::clickOrderLow(int index) {
    const std::string url =
        arrGetPrintInfoList_.at(static_cast<std::size_t>(index))["tonerOrderingURL"]
            .string()
            .value_or("");
    emit orderRequested(url.empty() ? QString(kDefaultOrderingPage) : QString::fromStdString(url));
}

}  // namespace nbx
