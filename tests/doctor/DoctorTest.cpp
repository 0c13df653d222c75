// Every check of the doctor against real parts: one healthy computer, then one fault at a time.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "CloudEmulator.h"
#include "Doctor.h"
#include "JSONKit.h"
#include "NBXAuthenticationManger.h"
#include "NBXPrinterQManger.h"
#include "PollingCheck.h"
#include "PollingFiles.h"
#include "PrivateCupsd.h"
#include "PrivateSessionBus.h"
#include "PropertyListFile.h"
#include "ScopedEnv.h"
#include "TempHome.h"

extern char** environ;

namespace nbx::doctor {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::ScopedEnv;

constexpr const char* kNobody = "127.0.0.1:1";

PropertyValue dict(std::initializer_list<PropertyDictionary::Entry> entries) {
    return PropertyValue::dictionary(entries);
}

void writeFile(const fs::path& path, const std::string& text, fs::perms mode) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
    fs::permissions(path, mode);
}

// Everything a healthy computer has, made once: the parts are slow to start.
struct Computer {
    test::TempHome home;
    test::CloudEmulator emulator{{"--quiet"}};
    std::unique_ptr<test::PrivateSessionBus> bus;
    std::unique_ptr<test::PrivateCupsd> cupsd;
    pid_t agent = -1;
    std::vector<std::unique_ptr<ScopedEnv>> settings;
    std::string whyNot;

    fs::path helpers() const { return home.path() + "/helpers"; }
    fs::path backend() const { return home.path() + "/serverbin/backend/nbxbackend"; }
    fs::path state(const std::string& name) const { return home.appSupportFolder() + "/" + name; }

    bool start() {
        bus = test::PrivateSessionBus::start(&whyNot);
        if (bus) cupsd = test::PrivateCupsd::start(&whyNot);
        if (!emulator.ok()) whyNot = "the cloud emulator did not start";
        if (!bus || !cupsd || !emulator.ok()) return false;
        emulator.seed(dict({{"users", PropertyValue::array({dict({{"countryCode", "44"},
                                                                  {"phoneNumber", "7700900123"},
                                                                  {"accessToken", "T1"}})})}}));
        for (const auto& [name, value] : std::initializer_list<std::pair<const char*, std::string>>{
                 {"NBX_HELPER_FOLDER", helpers().string() + "/"},
                 {"NBX_CUPS_SERVERBIN", home.path() + "/serverbin"},
                 {"NBX_PPD_FILE", NBX_BIN_DIR "/../share/nimbrix/ppd/Nimbrix.gz"},
                 {"NBX_DEVICE_HOST", "cloud.test.example"},
                 // The agent's own polling is not under test: it goes nowhere.
                 {"NBX_LOOKUP_SERVER", kNobody}})
            settings.push_back(std::make_unique<ScopedEnv>(name, value.c_str()));
        fs::create_directories(helpers());
        fs::create_symlink(NBX_POLLING_AGENT_PATH, helpers() / "nbx-polling-agent");
        if (!polling::PollingFiles::saveRegistration({"agent-1", "Front", "001b63aa0cff", "Laser",
                                                      "Laser", "Shared_Laser", "44",
                                                      "7700900123"}) ||
            !startAgent())
            return false;
        settings.push_back(std::make_unique<ScopedEnv>("NBX_LOOKUP_SERVER", emulator.hostPort()));
        return true;
    }

    // Ready once it answers: the first request on a fresh bus can go unheard, as the polling
    // agent's own tests found.
    bool startAgent() {
        char* argv[] = {const_cast<char*>(NBX_POLLING_AGENT_PATH), nullptr};
        posix_spawn_file_actions_t quiet;
        posix_spawn_file_actions_init(&quiet);
        posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        const bool spawned = posix_spawn(&agent, argv[0], &quiet, nullptr, argv, environ) == 0;
        posix_spawn_file_actions_destroy(&quiet);
        whyNot = "the polling agent did not answer";
        for (int attempt = 0; spawned && attempt < 40; ++attempt)
            if (PollingCheck::run(500ms).ok) return true;
        return false;
    }

    ~Computer() {
        if (agent > 0 && kill(agent, SIGKILL) == 0) waitpid(agent, nullptr, 0);
        // Last set, first restored.
        while (!settings.empty())
            settings.pop_back();
    }

    // Puts back whatever the previous case broke.
    void heal() {
        emulator.clearFaults();
        const auto token = dataByAESEncryption("T1");
        ASSERT_TRUE(writePropertyListFile(
            state("MyInfo.plist"), dict({{"CountryCode", "44"}, {"PhoneNumber", "7700900123"}})));
        ASSERT_TRUE(writePropertyListFile(state("va.plist"), dict({{"accessToken", *token}})));
        ASSERT_TRUE(writePropertyListFile(state("com.Valmora.nbx.plist"),
                                          dict({{"DirectPrint", "FALSE"}})));
        std::error_code ec;
        if (!fs::is_directory(state("Logs"), ec)) fs::remove(state("Logs"), ec);
        for (const std::string name :
             {"PDLM", "Nimbrix Notification", "Nimbrix Setup", "Valmora Account"})
            writeFile(helpers() / (name + ".app/Contents/MacOS") / name, "#!/bin/sh\n",
                      fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                          fs::perms::others_read | fs::perms::others_exec);
        writeFile(backend(), "#!/bin/sh\n", fs::perms::owner_all);
        ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd->errorLog();
        kill(agent, SIGCONT);
    }
};

struct Fault {
    const char* name;
    const char* broken;  // the check that must fail; nullptr: none
    const char* piece;   // what its finding must name
    std::function<void(Computer&)> stage;
    bool alsoProgram = false;
};

void lpadmin(const std::string& arguments) {
    ASSERT_EQ(std::system(("lpadmin " + arguments + " >/dev/null 2>&1").c_str()), 0);
}

// The lookup answers, but names an endpoint where nobody listens.
void endpointNowhere(Computer& c) {
    const std::string answer =
        R"({"success":true,"serviceList":[{"protocol":"http://","domain":")" +
        std::string(kNobody) + R"(","path":"/nbx/v2"}]})";
    c.emulator.injectFault(dict({{"path", "/svclookup/service"}, {"body", answer}}));
}

const Fault kFaults[] = {
    {"Healthy", nullptr, "", [](Computer&) {}, true},
    {"LookupDown", "lookup", kNobody,
     [](Computer& c) {
         c.settings.push_back(std::make_unique<ScopedEnv>("NBX_LOOKUP_SERVER", kNobody));
     }},
    {"ApiDown", "api", kNobody, endpointNowhere},
    {"IdentityMissing", "identity", "MyInfo.plist",
     [](Computer& c) { fs::remove(c.state("MyInfo.plist")); }},
    {"IdentityUndecipherable", "identity", "va.plist",
     [](Computer& c) {
         writePropertyListFile(c.state("va.plist"), dict({{"accessToken", Bytes(16, 7)}}));
     }},
    {"TokenRefused", "token", "63000",
     [](Computer& c) {
         writePropertyListFile(c.state("va.plist"),
                               dict({{"accessToken", *dataByAESEncryption("T0")}}));
     }},
    {"NoQueue", "queue", "_Nimbrix_", [](Computer&) { lpadmin("-x _Nimbrix_"); }},
    {"WrongDevice", "queue", "file:///dev/null",
     [](Computer&) { lpadmin("-p _Nimbrix_ -v file:///dev/null"); }},
    {"BackendMissing", "backend", "nbxbackend", [](Computer& c) { fs::remove(c.backend()); }},
    {"BackendGroupWritable", "backend", "0770",
     [](Computer& c) {
         fs::permissions(c.backend(), fs::perms::owner_all | fs::perms::group_all);
     }},
    {"PollingAgentSilent", "polling", "polling agent", [](Computer& c) { kill(c.agent, SIGSTOP); }},
    {"HelperMissing", "helpers", "Nimbrix Setup",
     [](Computer& c) { fs::remove_all(c.helpers() / "Nimbrix Setup.app"); }, true},
    {"StateFileCorrupt", "state", "com.Valmora.nbx.plist",
     [](Computer& c) {
         std::ofstream(c.state("com.Valmora.nbx.plist")) << "<?xml version=\"1.0\"?><plist><dict>";
     }},
    {"LogUnwritable", "log", "Logs",
     [](Computer& c) {
         fs::remove_all(c.state("Logs"));
         std::ofstream(c.state("Logs")) << "in the way";
     }},
};

// The program run where the fault is staged: its exit status and the JSON another program reads
// say what the checks in process found.
void expectProgramAgrees(const Report& report) {
    FILE* pipe = popen(NBX_DOCTOR_PATH " --json", "r");
    ASSERT_TRUE(pipe);
    std::string out;
    for (char buffer[4096]; std::fgets(buffer, sizeof buffer, pipe);)
        out += buffer;
    const int status = pclose(pipe);
    EXPECT_EQ(WEXITSTATUS(status), report.allPassed() ? 0 : 1) << out;
    const auto json = objectFromJSONData(std::string_view(out));
    ASSERT_TRUE(json && json->isDictionary()) << out;
    EXPECT_EQ((*json)["ok"], PropertyValue(report.allPassed()));
    const PropertyArray* checks = (*json)["checks"].arrayPtr();
    ASSERT_TRUE(checks && checks->size() == report.checks().size()) << out;
    for (std::size_t i = 0; i < checks->size(); ++i) {
        std::vector<std::string> keys;
        for (const auto& [key, value] : *checks->at(i).dictionaryPtr())
            keys.push_back(key);
        EXPECT_EQ(keys, (std::vector<std::string>{"name", "ok", "detail", "remedy"}));
        EXPECT_EQ(checks->at(i)["name"].string(), report.checks()[i].name);
        EXPECT_EQ(checks->at(i)["ok"].boolean(), report.checks()[i].ok) << out;
    }
}

// Exactly the broken check fails and names the broken piece; checks that need its finding say
// they were skipped; all others pass.
void expectOnlyBrokenFails(const Fault& fault, const Report& report) {
    std::vector<std::string> names;
    for (const CheckResult& check : report.checks()) {
        names.push_back(check.name);
        SCOPED_TRACE(check.name + ": " + check.detail + " / " + check.remedy);
        if (fault.broken && check.name == fault.broken) {
            EXPECT_FALSE(check.ok);
            EXPECT_NE(check.detail.find(fault.piece), std::string::npos);
            EXPECT_FALSE(check.remedy.empty());
        } else if (!check.ok) {
            EXPECT_EQ(check.detail.rfind("skipped: needs ", 0), 0u);
        }
    }
    EXPECT_EQ(names, (std::vector<std::string>{"lookup", "api", "identity", "token", "queue",
                                               "backend", "polling", "helpers", "state", "log"}));
    EXPECT_EQ(report.allPassed(), fault.broken == nullptr);
}

// One process for the whole table: the scheduler, bus and agent take seconds to start.
TEST(Doctor, FindsEachFaultInItsOwnCheck) {
    Computer computer;
    if (!computer.start()) GTEST_SKIP() << computer.whyNot;
    for (const Fault& fault : kFaults) {
        SCOPED_TRACE(fault.name);
        computer.heal();
        const std::size_t settings = computer.settings.size();
        fault.stage(computer);
        const Report report = Doctor({.agentReplyWait = 2s}).run();
        expectOnlyBrokenFails(fault, report);
        if (fault.alsoProgram) expectProgramAgrees(report);
        computer.settings.resize(settings);
    }
}

}  // namespace
}  // namespace nbx::doctor
