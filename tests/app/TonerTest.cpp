// The low-toner offer: which printers it lists, the week's silence, closing and how it shows.
#include "AppHarness.h"
#include "NBXTonerGuageCell.h"
#include "TonerStatus.h"
#include "TonerWindow.h"

namespace nbx::test {
namespace {

const QDateTime kNow(QDate(2026, 3, 20), QTime(12, 0));

std::string ago(int days, QTime at = QTime(12, 0)) {
    return QDateTime(kNow.date().addDays(-days), at)
        .toString(TonerStatus::kTimeFormat)
        .toStdString();
}

PropertyValue printer(const char* alias, int k, int c = 5, int m = 5, int y = 5) {
    return dict({{"agentType", "PC_AGENT"},
                 {"agentAlias", alias},
                 {"currKTonerLevel", k},
                 {"currCTonerLevel", c},
                 {"currMTonerLevel", m},
                 {"currYTonerLevel", y}});
}

PropertyValue with(PropertyValue record, const char* key, PropertyValue value) {
    record.set(key, std::move(value));
    return record;
}

TEST(Toner, ListsOwnPrintersLowOnBlackOrOnAColourInListOrder) {
    const PropertyValue agents = PropertyValue::array({
        dict({{"agentType", "TitleMyPrinter"}}), printer("K16", 16, 16, 16, 16),
        printer("Y15", 50, 50, 50, 15),  // 2: taken
        printer("K15", 15, 90, 90, 90),  // 3: taken
        printer("MonoLowMagenta", 50, -1, 5, 5),
        printer("MonoLowBlack", 0, -1, -1, -1),  // 5: taken
        with(printer("Paid", 5), "isPaidDevice", true),
        with(printer("Friend", 5), "friendUserId", "u7"),
        dict({{"agentAlias", "NoBlack"}, {"currCTonerLevel", 3}}),
        printer("C0", 90, 0, 90, 90),  // 9: taken
    });
    AppHarness h;
    AppDelegate& d = h.launch();
    EXPECT_EQ(d.toner().getTonerInfo().size(), 0u);
    h.writeUserFile("AgentPL.plist", agents);
    EXPECT_EQ(d.toner().getTonerInfo(),
              PropertyValue::array({agents.at(2), agents.at(3), agents.at(5), agents.at(9)}));
    EXPECT_EQ(d.toner().nTonerInfoCount, 4);
}

TEST(Toner, WindowStaysSilentForSixWholeDaysAfterTheWeekBox) {
    struct {
        const char* name;
        PropertyValue file;  // the job-preference file; null: none
        bool shown;
    } const cases[] = {
        {"NoFile", {}, true},
        {"SixDays", dict({{"AgAgain", true}, {"Agtime", ago(6)}}), false},
        {"SevenDays", dict({{"AgAgain", true}, {"Agtime", ago(7)}}), true},
        {"SevenDatesButNotSevenDays", dict({{"AgAgain", true}, {"Agtime", ago(7, QTime(13, 0))}}),
         false},
        {"BoxValueDoesNotMatter", dict({{"AgAgain", false}, {"Agtime", ago(1)}}), false},
        {"OnlyTheBox", dict({{"AgAgain", true}}), true},
        {"OnlyTheTime", dict({{"Agtime", ago(1)}}), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        AppDelegate& d = h.launch();
        std::filesystem::remove(h.userFile(kPreferences));
        if (!c.file.isNull()) h.writeUserFile(kPreferences, c.file);
        d.toner().clock = [] { return kNow; };
        EXPECT_EQ(d.toner().checkTonerInfoShowAgain(), c.shown);
        EXPECT_EQ(h.readUserFile(kPreferences), c.file.isNull() ? dict({}) : c.file);
    }
}

TEST(Toner, ClosingStoresOrClearsTheSilenceAndReloadsThePrinters) {
    const PropertyValue before = dict({{"DirectPrint", "FALSE"}, {"Agtime", ago(3)}});
    struct {
        const char* name;
        bool fileExists, ticked;
        PropertyValue after;
    } const cases[] = {
        {"Ticked", true, true,
         dict({{"DirectPrint", "FALSE"}, {"Agtime", ago(0)}, {"AgAgain", true}})},
        {"Unticked", true, false, dict({{"DirectPrint", "FALSE"}, {"AgAgain", false}})},
        {"NoFile", false, true, dict({})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        AppDelegate& d = h.launch();
        std::filesystem::remove(h.userFile(kPreferences));
        if (c.fileExists) h.writeUserFile(kPreferences, before);
        d.toner().clock = [] { return kNow; };
        d.shared().arrSaveAgentList.set(
            PropertyValue::array({printer("A", 5), printer("B", 5), printer("C", 5)}));
        TonerWindow* window = d.window()->tonerWindow;
        d.toner().offerTonerWindow(PropertyValue::array({printer("A", 5)}));
        window->weekCheckBox()->setChecked(c.ticked);
        window->reject();  // Escape, as the close button
        EXPECT_EQ(h.readUserFile(kPreferences), c.after)
            << h.readUserFile(kPreferences).description();
        EXPECT_FALSE(window->isVisible());
        EXPECT_EQ(d.window()->printerScreen->printerTable()->count(), 3);
    }
}

TEST(Toner, OrderNowOpensThePrintersPageOrTheDefaultOne) {
    AppHarness h;
    AppDelegate& d = h.launch();
    d.toner().offerTonerWindow(PropertyValue::array(
        {with(printer("Shop", 5), "tonerOrderingURL", "https://shop.example/toner"),
         printer("Plain", 5)}));
    for (const auto& row : d.window()->tonerWindow->cell()->arrPrintList())
        row.orderButton->click();
    EXPECT_EQ(h.urls->opened,
              Texts({"https://shop.example/toner", NBXTonerGuageCell::kDefaultOrderingPage}));
}

// A direct print waits for the window, unless it goes to a paid or a friend's printer; anything
// else gets a sheet that does not block.
TEST(Toner, ModalOnlyWhileADirectPrintWaits) {
    enum Shown { kNone, kSheet, kModal };
    struct {
        const char* name;
        bool printLaunch;
        const char* directPrint;
        PropertyValue sendInfo;
        Shown shown;
    } const cases[] = {
        {"NoJob", false, "TRUE", dict({{"Type", "Default"}}), kSheet},
        {"JobNotDirect", true, "FALSE", dict({{"Type", "Default"}}), kSheet},
        {"DirectJob", true, "TRUE", dict({{"Type", "Default"}}), kModal},
        {"DirectToPaid", true, "TRUE", dict({{"Type", "Printer"}, {"isPaidDevice", true}}), kNone},
        {"DirectToFriend", true, "TRUE", dict({{"Type", "Printer"}, {"FriendUserId", "u7"}}),
         kNone},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        h.writeUserFile(kPreferences,
                        dict({{"DirectPrint", c.directPrint}, {"SendInfo", c.sendInfo}}));
        AppDelegate& d = c.printLaunch ? h.launch({h.targetArgument()}) : h.launch();
        TonerWindow* window = d.window()->tonerWindow;
        bool shownInside = false;
        QTimer::singleShot(0, window, [&] {
            shownInside = window->isVisible();
            if (shownInside) window->closeButton()->click();
        });
        d.toner().offerTonerWindow(PropertyValue::array({printer("A", 5)}));
        EXPECT_EQ(shownInside, c.shown == kModal);
        EXPECT_EQ(window->isVisible(), c.shown == kSheet);
        AppHarness::drainEvents();
        EXPECT_FALSE(window->isVisible());
    }
}

}  // namespace
}  // namespace nbx::test
