#include "TonerStatus.h"

#include <QCheckBox>
#include <QListWidget>
#include <QPushButton>
#include <filesystem>

#include "AppDelegate.h"
#include "MainWindow.h"
#include "NBXTonerGuageCell.h"
#include "PrintTarget.h"
#include "PrinterScreen.h"
#include "StateFiles.h"
#include "TonerWindow.h"

namespace nbx {

namespace {

bool jobPreferenceFileExists() {
    std::error_code ec;
    return std::filesystem::exists(StateFiles::pathTo(StateFiles::kJobPreferenceFile), ec);
}

void writeEmptyJobPreferences() {
    StateFiles::updateDictionary(StateFiles::pathTo(StateFiles::kJobPreferenceFile),
                                 [](PropertyDictionary&) {});
}

}  // namespace

TonerStatus::TonerStatus(AppDelegate& app) : app_(app) {}

TonerStatus::~TonerStatus() = default;

void TonerStatus::connectWindow(MainWindow* window) {
    window->tonerWindow.whenBuilt([this](TonerWindow* toner) { connectToner(toner); });
}

TonerWindow* TonerStatus::tonerWindow() {
    if (MainWindow* main = app_.window()) return main->tonerWindow;
    if (!own_) {
        own_ = std::make_unique<TonerWindow>(app_.localizer(), nullptr);
        connectToner(own_.get());
    }
    return own_.get();
}

void TonerStatus::connectToner(TonerWindow* toner) {
    QObject::connect(toner->closeButton(), &QPushButton::clicked, toner,
                     [this] { clickTonerInfoCancelBtn(); });
    QObject::connect(toner, &TonerWindow::orderRequested, toner, [this](const QString& url) {
        app_.platform().urls->openURL(url.toStdString());
    });
}

int TonerStatus::wholeDaysBetween(const QDateTime& from, const QDateTime& to) {
    int days = static_cast<int>(from.daysTo(to));
    // The day component of the calendar difference: only completed days count.
    if (days > 0 && from.addDays(days) > to) --days;
    if (days < 0 && from.addDays(days) < to) ++days;
    return days;
}

bool TonerStatus::checkTonerInfoShowAgain() {
    if (!jobPreferenceFileExists()) {
        writeEmptyJobPreferences();
        return true;
    }
    const PropertyDictionary file =
        StateFiles::readDictionary(StateFiles::pathTo(StateFiles::kJobPreferenceFile))
            .value_or(PropertyDictionary());
    if (!file.contains("AgAgain") || !file.contains("Agtime")) return true;
    const QDateTime saved = QDateTime::fromString(
        QString::fromStdString(file["Agtime"].string().value_or("")), kTimeFormat);
    // A time that cannot be read cannot keep the window silent.
    if (!saved.isValid()) return true;
    const QDateTime now = clock();
    const int days = wholeDaysBetween(saved, now);
    app_.log(QString("Today-%1, Save-%2")
                 .arg(now.toString(kTimeFormat), saved.toString(kTimeFormat))
                 .toStdString());
    app_.log("Day    : " + std::to_string(days));
    return days > kSilentDays;
}

bool TonerStatus::isLowTonerPrinter(const PropertyValue& printer) {
    if (printer["isPaidDevice"].isTrue() || !printer["friendUserId"].isNull() ||
        printer["currKTonerLevel"].isNull()) {
        return false;
    }
    constexpr int low = NBXTonerGuageCell::kLowLevel;
    if (NBXTonerGuageCell::level(printer, "currKTonerLevel") < low) return true;
    if (NBXTonerGuageCell::level(printer, "currCTonerLevel") == -1) return false;
    for (const char* key : {"currCTonerLevel", "currMTonerLevel", "currYTonerLevel"}) {
        if (NBXTonerGuageCell::level(printer, key) < low) return true;
    }
    return false;
}

PropertyValue TonerStatus::getTonerInfo() {
    PropertyValue low = PropertyValue::array();
    for (const PropertyValue& printer : StateFiles::agentList().value_or(PropertyArray())) {
        if (isLowTonerPrinter(printer)) low.append(printer);
    }
    nTonerInfoCount = static_cast<int>(low.size());
    return low;
}

bool TonerStatus::directPrintPending() const {
    return app_.printTarget().isPrintLaunch() && StateFiles::isDirectPrint();
}

void TonerStatus::offerTonerWindow(const PropertyValue& lowPrinters) {
    TonerWindow* window = tonerWindow();
    window->showPrinters(lowPrinters);
    if (!directPrintPending()) {
        window->setWindowModality(Qt::WindowModal);
        window->open();
        return;
    }
    // A job for a paid or a friend's printer goes out without the window.
    const PropertyDictionary sendInfo = StateFiles::sendInfo().value_or(PropertyDictionary());
    if (sendInfo["isPaidDevice"].isTrue() || sendInfo.contains("FriendUserId")) return;
    window->setWindowModality(Qt::ApplicationModal);
    window->exec();
}

void TonerStatus::storeSilence(bool ticked) {
    if (!jobPreferenceFileExists()) {
        writeEmptyJobPreferences();
        return;
    }
    // Unticking drops the time, which ends a silence at once.
    StateFiles::setTonerReminder(
        ticked, ticked ? std::optional(clock().toString(kTimeFormat).toStdString()) : std::nullopt);
}

void TonerStatus::clickTonerInfoCancelBtn() {
    TonerWindow* window = tonerWindow();
    storeSilence(window->weekCheckBox()->isChecked());
    if (directPrintPending()) {
        window->done(QDialog::Rejected);
        return;
    }
    window->hide();
    app_.window()->printerScreen->reloadPrinters(app_.shared().arrSaveAgentList.get());
}

}  // namespace nbx
