#include "AppHarness.h"
#include "InformationSheet.h"
#include "NBXPrinterCell.h"
#include "PrinterActions.h"
#include "PrinterList.h"
#include "StateFiles.h"
#include "UnlinkSheet.h"

namespace nbx::test {
namespace {

const PropertyValue kMe = user("82", "101234");

PropertyValue agent(const std::string& id, const std::string& type, const std::string& alias,
                    const std::string& mac, PropertyValue owner = kMe) {
    return dict({{"agentId", id},
                 {"agentType", type},
                 {"agentAlias", alias},
                 {"agentModelName", "Model " + id},
                 {"agentMacAddress", mac},
                 {"owner", std::move(owner)}});
}

PropertyValue friendsAgent(const std::string& id) {
    PropertyValue record =
        agent(id, "PRT_AGENT", "Shared " + id, "0000000000" + id, user("1", "5550100"));
    record.set("sharedWith", PropertyValue::array({kMe}));
    return record;
}

std::vector<std::string> types(const PropertyValue& rows) {
    std::vector<std::string> result;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const PropertyValue& row = rows.at(i);
        result.push_back(row["agentId"].string().value_or(row["agentType"].string().value_or("")));
    }
    return result;
}

// A signed-in user of the emulator whose friend (+1 5550100) may share printers.
class PrinterListTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(emulator.ok()); }
    // A fresh service holding the agents, and the list refreshed from it.
    AppDelegate& refreshed(AppHarness& harness, const PropertyValue& agents,
                           const QStringList& arguments = {}) {
        emulator.reset();
        emulator.seed(
            dict({{"users",
                   PropertyValue::array(
                       {user("82", "101234", {{"maxAgentCount", 3}}),
                        user("1", "5550100",
                             {{"userId", "u-ana"}, {"firstName", " Ana "}, {"lastName", "Lee"}})})},
                  {"agents", agents},
                  {"options", dict({{"requireAccessToken", false}})}}));
        harness.signIn("82", "101234");
        AppDelegate& d = harness.launch(arguments);
        d.printers().refreshPrinter();
        AppHarness::drainEvents();
        d.window()->printerScreen->reloadPrinters(d.shared().arrSaveAgentList.get());
        return d;
    }
    AppDelegate& refreshed(const PropertyValue& agents) { return refreshed(h, agents); }
    void select(AppDelegate& d, int row) {
        d.window()->printerScreen->printerTable()->setCurrentRow(row);
    }
    int requestsTo(const char* method, const std::string& path) {
        return static_cast<int>(emulator.requestsTo(path, method).size());
    }

    Cloud emulator;
    AppHarness h;
};

TEST_F(PrinterListTest, RowsComeInTheirFixedOrderAndTheFileFollows) {
    struct Case {
        const char* name;
        PropertyValue agents;
        std::vector<std::string> rows;
        int printers, friends;
    };
    const Case cases[] = {
        {"nothing", PropertyValue::array(), {"TitleMyPrinter"}, 0, 0},
        {"all kinds",
         PropertyValue::array({agent("pc", "PC_AGENT", "Desk", "02fc00000001,02fc00000002"),
                               agent("post", "POST_AGENT", "Post", ""), friendsAgent("f1"),
                               agent("prt", "PRT_AGENT", "Hall", "")}),
         {"My Drive", "post", "TitleMyPrinter", "pc", "prt", "TitleFriendPrinter", "f1"},
         4,
         1},
        {"post office only",
         PropertyValue::array({agent("post", "POST_AGENT", "Post", "")}),
         {"My Drive", "post", "TitleMyPrinter"},
         1,
         0},
        {"friends only",
         PropertyValue::array({friendsAgent("f1")}),
         {"TitleMyPrinter", "TitleFriendPrinter", "f1"},
         1,
         1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness fresh;
        AppDelegate& d = refreshed(fresh, c.agents);
        const PropertyValue rows = d.shared().arrSaveAgentList.get();
        EXPECT_EQ(types(rows), c.rows);
        EXPECT_EQ(fresh.readUserFile("AgentPL.plist"), rows);
        EXPECT_EQ(d.printers().nPrinterCount, c.printers);
        EXPECT_EQ(d.printers().nFriendCount, c.friends);
    }
}

TEST_F(PrinterListTest, RowsShowTitlesAddressesAndOnlyRowZeroOfTheHeadersSelects) {
    PropertyValue paid = agent("post", "POST_AGENT", "Pay", "");
    paid.set("isPaidDevice", true);
    AppDelegate& d = refreshed(PropertyValue::array(
        {agent("pc", "PC_AGENT", "Desk", "02fc00000001,02fc00000002"), paid, friendsAgent("f1")}));
    PrinterScreen* screen = d.window()->printerScreen;
    const std::vector<std::tuple<QString, QString, QString>> expected = {
        {"My Drive", "My Drive", "Print Later"},
        {"PaymentPrinter", "Pay", ""},
        {"TitleMyPrinter", "My Printer", ""},
        {"Printer", "Desk", "MAC: 02:FC:00:00:00:01"},
        {"TitleFriendPrinter", "Friend's Printer", ""},
        {"Printer", "Ana Lee's Printer", "Model f1"},
    };
    ASSERT_EQ(screen->printerTable()->count(), static_cast<int>(expected.size()));
    for (int row = 0; row < screen->printerTable()->count(); ++row) {
        const auto& [type, title, subTitle] = expected[row];
        NBXPrinterCell* cell = screen->printerCell(row);
        EXPECT_EQ(cell->cellType(), type) << row;
        EXPECT_EQ(cell->title(), title) << row;
        EXPECT_EQ(cell->subTitle(), subTitle) << row;
        const bool selectable = screen->printerTable()->item(row)->flags() & Qt::ItemIsSelectable;
        EXPECT_EQ(selectable, row == 0 || !NBXPrinterCell::isHeaderType(type)) << row;
    }
}

TEST_F(PrinterListTest, PlusButtonFollowsTheAgentLimit) {
    for (const int own : {2, 3}) {
        SCOPED_TRACE(own);
        PropertyValue agents = PropertyValue::array();
        for (int i = 0; i < own; ++i)
            agents.append(agent("a" + std::to_string(i), "PRT_AGENT", "P", ""));
        AppHarness fresh;
        AppDelegate& d = refreshed(fresh, agents);
        QToolButton* plus = d.window()->printerScreen->printerCell(1)->addButton();
        EXPECT_EQ(plus->isEnabled(), own < 3);
        EXPECT_EQ(plus->toolTip().toStdString(),
                  d.localized(own < 3 ? "Select Add Printer Tooltip"
                                      : "Select Add Printer Max Reached Tooltip")
                      .toStdString());
    }
}

// A failed list still leaves the marker rows, also after an error whose handling drops the
// file; its error code reaches the alerts.
TEST_F(PrinterListTest, FailedListKeepsTheMarkersAndAlerts) {
    refreshed(PropertyValue::array({agent("pc", "PC_AGENT", "Desk", "")}));
    for (const auto& [code, alerts] : {std::pair{"61001", 1u}, {"13002", 0u}}) {
        SCOPED_TRACE(code);
        emulator.injectFault(dict({{"path", "/printmgtsvc/agent"},
                                   {"status", 500},
                                   {"times", 1},
                                   {"body", std::string(R"({"errorCode":")") + code + "\"}"}}));
        AppHarness fresh;
        fresh.signIn("82", "101234");
        AppDelegate& d = fresh.launch();
        d.printers().refreshPrinter();
        AppHarness::drainEvents();
        EXPECT_EQ(types(fresh.readUserFile("AgentPL.plist")),
                  (std::vector<std::string>{"My Drive", "TitleMyPrinter"}));
        ASSERT_EQ(fresh.alerts->shown.size(), alerts);
        if (alerts) {
            EXPECT_NE(fresh.alerts->texts()[0].find(code), std::string::npos);
        }
        EXPECT_FALSE(d.printers().bFirstShow);
    }
}

TEST(PrinterNames, RenameCutsAndMakesUnique) {
    const std::string n45(45, 'n');
    EXPECT_EQ(PrinterActions::renameText(QString::fromStdString(n45 + "xyz")), n45);
    const auto list = [](std::initializer_list<const char*> aliases) {
        PropertyValue rows = PropertyValue::array({dict({{"agentType", "TitleMyPrinter"}})});
        for (const char* alias : aliases)
            rows.append(dict({{"agentAlias", alias}}));
        return rows;
    };
    const std::tuple<std::string, PropertyValue, std::string> cases[] = {
        {"Desk", list({"Hall"}), "Desk"},
        {"Desk", list({"desk", "Desk (1)"}), "Desk (2)"},
        {n45, list({n45.c_str()}), std::string(41, 'n') + " (1)"},
    };
    for (const auto& [name, agents, expected] : cases)
        EXPECT_EQ(PrinterList::uniqueAlias(name, agents), expected) << name;
}

TEST_F(PrinterListTest, RenameAndUnlinkReachTheServiceAndTheFile) {
    AppDelegate& d = refreshed(PropertyValue::array(
        {agent("a1", "PRT_AGENT", "Desk", ""), agent("a2", "PRT_AGENT", "Hall", "")}));
    MainWindow* w = d.window();
    select(d, 3);  // "Hall"
    const struct {
        const char* typed;
        int calls;
        const char* stored;
    } renames[] = {{"  Hall ", 0, "Hall"}, {"desk", 1, "desk (1)"}};
    for (const auto& r : renames) {
        w->renameSheet->nameField()->setText(r.typed);
        d.printerActions().clickWRename_OKBtn();
        h.runWorkers();
        EXPECT_EQ(requestsTo("PUT", "/printmgtsvc/agent/bind"), r.calls) << r.typed;
        EXPECT_EQ(h.readUserFile("AgentPL.plist").at(3)["agentAlias"].string(), r.stored);
    }
    EXPECT_EQ(emulator.state()["agents"].at(1)["agentAlias"].string(), "desk (1)");
    EXPECT_TRUE(w->refreshView->isHidden());

    select(d, 3);  // a rename selects the recent target again, here the first row
    d.printerActions().clickWUnlink_YesBtn();
    h.runWorkers();
    EXPECT_EQ(types(h.readUserFile("AgentPL.plist")),
              (std::vector<std::string>{"My Drive", "TitleMyPrinter", "a1"}));
    EXPECT_EQ(emulator.state()["agents"].size(), 1u);
    EXPECT_EQ(w->printerScreen->selectedPrinterRow(), 0);

    // Another user's printer by now: the service refuses and the row stays.
    emulator.seed(dict({{"agents", PropertyValue::array({agent("a1", "PRT_AGENT", "Desk", "",
                                                               user("1", "5550100"))})}}));
    select(d, 2);
    d.printerActions().clickWUnlink_YesBtn();
    h.runWorkers();
    EXPECT_EQ(h.readUserFile("AgentPL.plist").size(), 3u);
    EXPECT_EQ(h.alerts->shown.size(), 1u);
}

// This computer's own agent is renamed and unlinked through the back end, not the cloud.
TEST_F(PrinterListTest, OwnAgentGoesThroughTheBackEnd) {
    AppDelegate& d = refreshed(
        PropertyValue::array({agent("pc", "PC_AGENT", "Desk", "02FC00000001,02fc00000009")}));
    d.shared().dicGetAgentInfo.set(dict({{"Mac address", "02fc00000001"}}));
    select(d, 2);
    d.window()->renameSheet->nameField()->setText("Study");
    d.printerActions().clickWRename_OKBtn();
    d.printerActions().clickWUnlink_YesBtn();
    ASSERT_TRUE(h.waitFor([&] { return h.backend.requests().size() == 2; }));
    EXPECT_EQ(h.backend.requests()[0], dict({{"Command", "ChangeAlias"}, {"Alias", "Study"}}));
    EXPECT_EQ(h.backend.requests()[1]["Command"].string(), "StopPolling");
    EXPECT_EQ(requestsTo("PUT", "/printmgtsvc/agent/bind") +
                  requestsTo("POST", "/printmgtsvc/agent/unbind"),
              0);
}

TEST_F(PrinterListTest, ContextMenuOnlyForOwnComputersAndPrinters) {
    PropertyValue paid = agent("paid", "POST_AGENT", "Shop", "");
    paid.set("isPaidDevice", true);
    AppDelegate& d = refreshed(
        PropertyValue::array({agent("post", "POST_AGENT", "Post", ""),
                              agent("pc", "PC_AGENT", "Desk", "aabb"), paid, friendsAgent("f1")}));
    // My Drive, post, paid post, title, pc, title, friend
    const bool hasMenu[] = {false, false, false, false, true, false, false};
    for (int row = 0; row < 7; ++row) {
        select(d, row);
        QMenu menu;
        d.printerActions().menuNeedsUpdate(&menu, row);
        EXPECT_EQ(menu.actions().size(), hasMenu[row] ? 5 : 0) << row;
    }
    select(d, 4);
    QMenu menu;
    d.printerActions().menuNeedsUpdate(&menu, 5);
    EXPECT_TRUE(menu.isEmpty()) << "a row other than the selected one";
    d.printerActions().clickPopMenuPrinter(PrinterActions::kUnlink);
    EXPECT_EQ(d.window()->unlinkSheet->question().toStdString(),
              "Are you sure to delete cloud printer 'Desk'?");

    const std::pair<QStringList, QStringList> paddings[] = {
        {{"Info", "Edit", "Go"}, {"  Info", "  Edit  ", "  Go"}},
        {{"Information", "Edit", "Unlink"}, {"  Information  ", "  Edit", "  Unlink"}},
    };
    for (const auto& [texts, titles] : paddings)
        EXPECT_EQ(PrinterActions::menuTitles(texts), titles);
}

// The job's printer is found by its address, or a friend's by the owner; the last match wins
// and gets the capabilities merged in.
TEST_F(PrinterListTest, CapabilitiesMergeIntoTheJobsPrinter) {
    PropertyValue capable = agent("a2", "PRT_AGENT", "Hall", "0a0b");
    capable.set("capabilities", dict({{"supportedStaple", true}}));
    PropertyValue sharedCapable = friendsAgent("f1");
    sharedCapable.set("supportedMediaSize", "A3");
    AppDelegate& d = refreshed(
        PropertyValue::array({agent("a1", "PRT_AGENT", "Desk", "0a0b"), capable, sharedCapable}));
    const std::tuple<PropertyValue, std::size_t, const char*, PropertyValue> cases[] = {
        {dict({{"Type", "Printer"}, {"ModelName", "Hall"}, {"MACAddress", "0a0b"}}), 3,
         "supportedStaple", true},
        {dict({{"Type", "Printer"}, {"ModelName", "Model f1"}, {"FriendUserId", "u-ana"}}), 5,
         "supportedMediaSize", "A3"},
    };
    for (const auto& [sendInfo, row, key, value] : cases) {
        h.writeUserFile("com.Valmora.nbx.plist", dict({{"SendInfo", sendInfo}}));
        ASSERT_TRUE(d.printers().getSupportCapabilitySelectPrinter()) << key;
        const PropertyValue file = h.readUserFile("AgentPL.plist");
        EXPECT_EQ(file.at(row)[key], value) << key;
        EXPECT_EQ(file.at(row)["agentId"], d.shared().arrSaveAgentList.get().at(row)["agentId"]);
    }
    EXPECT_TRUE(h.readUserFile("AgentPL.plist").at(2)["supportedStaple"].isNull());
}

// While a job waits, the next button names what the row does with it; row 0 shows the
// print-later note once the user has asked for it.
TEST_F(PrinterListTest, ClickedRowNamesTheJobsNextStep) {
    AppDelegate& d = refreshed(h,
                               PropertyValue::array({agent("post", "POST_AGENT", "Post", ""),
                                                     agent("prt", "PRT_AGENT", "Desk", "")}),
                               {h.targetArgument()});
    StateFiles::setPrinterLater(true);
    QPushButton* next = d.window()->printerScreen->nextButton();
    const std::pair<int, const char*> rows[] = {
        {1, "Send Job"}, {3, "Print Job"}, {0, "Print Job"}};
    for (const auto& [row, text] : rows) {
        select(d, row);
        d.printers().clickPrinterTableView();
        EXPECT_EQ(next->text().toStdString(), text) << row;
        EXPECT_TRUE(next->isEnabled());
        EXPECT_EQ(d.window()->printLaterSheet->isVisible(), row == 0) << row;
    }
}

// The refresh runs on a worker: while the service is slow the window keeps handling events
// behind the busy overlay, and the fifty printers all arrive.
TEST_F(PrinterListTest, SlowServiceLeavesTheWindowResponsive) {
    PropertyValue agents = PropertyValue::array();
    for (int i = 0; i < 50; ++i)
        agents.append(agent("a" + std::to_string(i), "PRT_AGENT", "P" + std::to_string(i), ""));
    h.realThreads = true;
    AppDelegate& d = refreshed(agents);
    emulator.injectFault(dict({{"path", "/printmgtsvc/agent"}, {"delayMs", 1000}}));
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(10);
    d.shared().nCrtFunctionNum = kPrinterTab;
    d.clickRefreshbtnOnMain();
    ASSERT_TRUE(h.waitFor([&] { return !d.window()->refreshView->isHidden(); }));
    ASSERT_TRUE(h.waitFor([&] { return d.shared().arrSaveAgentList.get().size() == 52; }));
    EXPECT_GE(ticks, 50) << "the main thread was blocked";
}

}  // namespace
}  // namespace nbx::test
