#include "AppHarness.h"

namespace nbx::test {
namespace {

const PropertyValue kUntouched = dict({{"Pending", true}});

PropertyValue printer(const char* id, const char* mac, PropertyDictionary more = {}) {
    PropertyValue record = dict({{"agentId", id}, {"agentType", "PRT_AGENT"}});
    if (mac) record.set("agentMacAddress", mac);
    for (const auto& [key, value] : more)
        record.set(key, value);
    return record;
}

// Where the job goes and with which options, for each kind of target; the file the back end
// reads, what the user is told, and whether the job preferences stand.
TEST(TargetFile, EveryTargetAndReconciliation) {
    Cloud cloud(users({user("82", "101234"), user("1", "5550100")}));
    const PropertyValue own = dict({{"Type", "Printer"}, {"MACAddress", "0a"}});
    const PropertyValue paid = PropertyValue::array({printer(
        "p1", "0a",
        {{"isPaidDevice", true}, {"supportedColor", false}, {"supportedMediaSize", "A4,LETTER"}})});
    const PropertyValue postOffice =
        PropertyValue::array({printer("po", "0a", {{"agentType", "POST_AGENT"}})});
    const std::string wrong = "Registered information was wrong in cloud server.";
    const std::string changed =
        "The printer doesn't support selected print option(s). Do you want to print with changed "
        "print option(s) like below?\n\n- Color Mode : Grayscale";
    struct {
        const char* name;
        const char* options;     // the job's, blank-separated
        PropertyValue sendInfo;  // null: no job preferences at all
        PropertyValue agents;
        int answer;             // to the question about changed options
        PropertyValue written;  // the keys expected in the file; the untouched file; null: deleted
        bool settled;
        std::string alert;  // empty: none
    } const cases[] = {
        {"OwnPrinter", "-ColorModel:Gray -Duplex:DUPLEXLONG -PaperSize:EXCUTIVE", own,
         PropertyValue::array({printer("a0", "0b"), printer("a1", "0a")}), 0,
         dict({{"MyCountryCode", "82"},
               {"MyPhoneNumber", "101234"},
               {"UserSelection", 0},
               {"Color", "MONOCHORME"},
               {"Duplex", "DuplexNoTumble"},
               {"PageSize", "Executive"},
               {"TargetType", "Agent"},
               {"isSharedDevice", "false"},
               {"agentId", "a1"}}),
         true, ""},
        {"FriendsPrinter", "-Duplex:DUPLEXSHORT -PaperSize:FOLIO",
         dict({{"Type", "Printer"}, {"FriendUserId", "u7"}}),
         PropertyValue::array({printer("f1", nullptr, {{"friendUserId", "u7"}})}), 0,
         dict({{"Color", "COLOR"},
               {"Duplex", "DuplexTumble"},
               {"PageSize", "US-Folio"},
               {"isSharedDevice", "true"},
               {"agentId", "f1"},
               {"friendUserId", "u7"}}),
         true, ""},
        {"PostOffice150", "-TotalPages:150", own, postOffice, 0, dict({{"agentId", "po"}}), true,
         ""},
        {"PostOffice151", "-TotalPages:151", own, postOffice, 0, dict({{"agentId", "po"}}), false,
         "The number of pages exceeds the Post Office bundle limit (maximum is 150 pages). Please "
         "reduce the number of pages and try again."},
        {"PaidAcceptsChanges", "-ColorModel:RGBA -PaperSize:US-Letter -Duplex:On", own, paid, 0,
         dict({{"Color", "MONOCHORME"}, {"UserSelection", 1}, {"PageSize", "US-Letter"}}), true,
         changed},
        {"PaidRefusesChanges", "-ColorModel:RGBA -PaperSize:B5", own, paid, 1, kUntouched, false,
         changed + "\n- Paper Size : A4"},
        {"PrinterGone", "", own, PropertyValue::array({printer("a0", "0b")}), 0,
         dict({{"TargetType", "Agent"}}), false, wrong},
        {"OwnPhone", "", dict({{"Type", "Default"}}), nullptr, 0,
         dict({{"TargetType", "Phone"},
               {"TargetCountryCode", "82"},
               {"TargetPhoneNumber", "101234"}}),
         true, ""},
        {"FriendWithoutPhone", "", dict({{"Type", "Friend"}, {"PhoneNumber", "-1"}}), nullptr, 0,
         kUntouched, true,
         "Please, enter the phone number of the friend you want to send the file."},
        {"FriendWithoutTheApp", "",
         dict({{"Type", "Friend"}, {"Code", "1"}, {"PhoneNumber", "5550199"}}), nullptr, 0,
         kUntouched, false, "'+1 5550199' has not installed Nimbrix application."},
        {"NoPreferences", "", nullptr, nullptr, 0, nullptr, false, wrong},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AppHarness h;
        h.signIn("82", "0101234");
        h.writeUserFile("com.Valmora.nbx.plist", dict({{"DirectPrint", "FALSE"}}));
        AppDelegate& d = h.launch(QString(c.options).split(' ', Qt::SkipEmptyParts) +
                                  QStringList{h.targetArgument()});
        if (c.sendInfo.isNull())
            std::filesystem::remove(h.userFile("com.Valmora.nbx.plist"));
        else
            h.writeUserFile("com.Valmora.nbx.plist",
                            dict({{"DirectPrint", "FALSE"}, {"SendInfo", c.sendInfo}}));
        if (!c.agents.isNull()) h.writeUserFile("AgentPL.plist", c.agents);
        writePropertyListFile(h.target(), kUntouched);
        h.alerts->answers = {c.answer};
        EXPECT_EQ(d.printTarget().writeToTargetPlist(), c.settled);
        EXPECT_EQ(h.alerts->texts(), c.alert.empty() ? Texts{} : Texts{c.alert});
        const PropertyValue file = readPropertyListFile(h.target()).value_or(nullptr);
        if (c.written.isNull() || c.written == kUntouched) {
            EXPECT_EQ(file, c.written);
            continue;
        }
        for (const auto& [key, value] : *c.written.dictionaryPtr())
            EXPECT_EQ(file[key], value) << key << " in " << file.description();
    }
}

// A direct print decides at start-up from the service's list before any window is built; one
// it cannot settle opens the target choice instead.
TEST(TargetFile, DirectPrintDecidesBeforeTheWindow) {
    const PropertyValue owner = user("82", "101234");
    struct {
        const char* name;
        QString pages;
        PropertyValue agent;
        bool settled;
    } const cases[] = {
        // Two-sided asked of a one-sided paid printer: the change is put to the user and taken.
        {"Settles", "-TotalPages:3",
         dict({{"agentType", "PRT_AGENT"},
               {"isPaidDevice", true},
               {"supportedSides", "SIMPLEX"},
               {"owner", owner}}),
         true},
        // Over the post office's limit, running low on toner: the toner window still opens.
        {"PostOfficeRefuses", "-TotalPages:151",
         dict({{"agentType", "POST_AGENT"}, {"currKTonerLevel", 5}, {"owner", owner}}), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        PropertyValue agent = c.agent;
        agent.set("agentId", "hall");
        agent.set("agentMacAddress", "0a0b");
        Cloud cloud(dict({{"agents", PropertyValue::array({agent})}}));
        AppHarness h;
        h.signIn("82", "101234");
        h.writeUserFile(
            "com.Valmora.nbx.plist",
            dict({{"DirectPrint", "TRUE"},
                  {"SendInfo",
                   dict({{"Type", "Printer"}, {"ModelName", "Hall"}, {"MACAddress", "0a0b"}})}}));
        QPointer<QWidget> toner;
        QObject timerScope;  // cancels the timer when nothing modal ran it
        QTimer::singleShot(0, &timerScope, [&] {
            toner = QApplication::activeModalWidget();
            if (toner) toner->close();
        });
        AppDelegate& d = h.launch({c.pages, "-Duplex:On", h.targetArgument()});
        const PropertyValue file = readPropertyListFile(h.target()).value_or(nullptr);
        EXPECT_EQ(file["agentId"].string(), "hall");
        EXPECT_EQ(h.alerts->shown.size(), 1u);
        EXPECT_EQ(toner != nullptr, !c.settled);
        EXPECT_EQ(h.quits > 0, c.settled);
        if (c.settled) {
            EXPECT_EQ(file["UserSelection"].integer(), 1);
            EXPECT_EQ(d.window(), nullptr);
            continue;
        }
        ASSERT_TRUE(d.window());
        EXPECT_TRUE(d.window()->isVisible());
        EXPECT_TRUE(d.window()->printerScreen->popupCheckBox()->isChecked());
        EXPECT_TRUE(d.printTarget().bAfterCapabilityCheck);
    }
}

TEST(TargetFile, OptionChecksAndNames) {
    AppHarness h;
    AppDelegate& d = h.launch();
    PrintTarget& t = d.printTarget();
    // What the paid-printer and direct-print cases above do not reach.
    const std::tuple<const char*, const char*, bool> papers[] = {{"B5:a4", "A4", true},
                                                                 {"A3", nullptr, true}};
    for (const auto& [paper, supported, ok] : papers) {
        t.argPaperSize = paper;
        PropertyValue agent = dict({});
        if (supported) agent.set("supportedMediaSize", supported);
        EXPECT_EQ(t.checkSupportPaperSize(agent), ok) << paper;
    }
    const std::tuple<const char*, const char*, bool> sides[] = {
        {"On", "DUPLEX/SIMPLEX", true}, {"DUPLEXLONG", "SIMPLEX", true}, {"On", "", true}};
    for (const auto& [duplex, supported, ok] : sides) {
        t.argDueplex = duplex;
        EXPECT_EQ(t.checkDuplex(dict({{"supportedSides", supported}})), ok) << duplex << supported;
    }
    EXPECT_EQ(PrintTarget::replaceString("%1% and %1%", "%1%", "x"), "x and x");

    auto center = DistributedNotificationCenter::connectSessionBus(nullptr);
    ASSERT_TRUE(center);
    std::atomic<int> state = 0;
    center->addObserver(PrintTarget::kErrorName,
                        [&](const std::string&, const PropertyValue& info) {
                            state = static_cast<int>(info["state"].integer().value_or(-1));
                        });
    ASSERT_TRUE(PrintTarget::sendPaperNotSupport());
    EXPECT_TRUE(h.waitFor([&] { return state == 1008; }));
    EXPECT_EQ(PrintTarget::changeValuetoWirteTargetPlist("LEGAL"), "Legal");
    EXPECT_EQ(PrintTarget::changeValuetoWirteTargetPlist("A5"), "A5");
}

}  // namespace
}  // namespace nbx::test
