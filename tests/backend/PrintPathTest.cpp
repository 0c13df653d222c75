// A job printed to the queue of a private scheduler reaches the cloud emulator through the
// built back end and the built agent, on a private session bus, in a temporary home.
#include <cups/cups.h>
#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <thread>

#include "CloudEmulator.h"
#include "JSONKit.h"
#include "NBXPrinterQManger.h"
#include "PrivateCupsd.h"
#include "PrivateSessionBus.h"
#include "PropertyListFile.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

PropertyValue dict(std::initializer_list<PropertyDictionary::Entry> entries) {
    return PropertyValue::dictionary(entries);
}

const PropertyValue kHall =
    dict({{"Type", "Printer"}, {"ModelName", "Hall"}, {"MACAddress", "0a0b"}});

// A two-page PDF with a correct cross-reference table.
std::string twoPagePdf() {
    const char* objects[] = {"<< /Type /Catalog /Pages 2 0 R >>",
                             "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 2 >>",
                             "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] >>",
                             "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] >>"};
    std::ostringstream pdf;
    pdf << "%PDF-1.4\n";
    std::vector<long> offsets;
    for (int i = 0; i < 4; ++i) {
        offsets.push_back(static_cast<long>(pdf.tellp()));
        pdf << i + 1 << " 0 obj\n" << objects[i] << "\nendobj\n";
    }
    const long xref = static_cast<long>(pdf.tellp());
    pdf << "xref\n0 5\n0000000000 65535 f \n";
    for (long offset : offsets) {
        char line[32];
        std::snprintf(line, sizeof line, "%010ld 00000 n \n", offset);
        pdf << line;
    }
    pdf << "trailer\n<< /Size 5 /Root 1 0 R >>\nstartxref\n" << xref << "\n%%EOF\n";
    return pdf.str();
}

// The desktop's notification service, as far as the back end uses it: records each summary.
class NotificationRecorder {
public:
    NotificationRecorder() {
        if (sd_bus_open_user(&bus_) < 0 ||
            sd_bus_add_object_vtable(bus_, nullptr, "/org/freedesktop/Notifications",
                                     "org.freedesktop.Notifications", kVtable, this) < 0 ||
            sd_bus_request_name(bus_, "org.freedesktop.Notifications", 0) < 0)
            return;
        thread_ = std::thread([this] {
            while (!stop_) {
                if (sd_bus_process(bus_, nullptr) > 0) continue;
                sd_bus_wait(bus_, 100'000);
            }
        });
    }
    ~NotificationRecorder() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
        sd_bus_flush_close_unref(bus_);
    }
    std::vector<std::string> summaries() {
        std::lock_guard lock(mutex_);
        return summaries_;
    }

private:
    static int notify(sd_bus_message* message, void* self, sd_bus_error*) {
        const char *app, *icon, *summary, *body;
        uint32_t replaces;
        if (sd_bus_message_read(message, "susss", &app, &replaces, &icon, &summary, &body) < 0)
            return -EINVAL;
        auto* recorder = static_cast<NotificationRecorder*>(self);
        std::lock_guard lock(recorder->mutex_);
        recorder->summaries_.push_back(summary);
        return sd_bus_reply_method_return(message, "u", 1u);
    }
    static constexpr sd_bus_vtable kVtable[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", notify, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};

    sd_bus* bus_ = nullptr;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
    std::mutex mutex_;
    std::vector<std::string> summaries_;
};

class PrintPath : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(emulator_.ok());
        std::string why;
        bus_ = PrivateSessionBus::start(&why);
        ASSERT_TRUE(bus_) << why;
        // The user at +82 101234 owns the printer agent "Hall".
        emulator_.seed(*objectFromJSONData(R"({"users":[{"countryCode":"44",
            "phoneNumber":"7700900123"}],"agents":[{"agentId":"hall","agentType":"PRT_AGENT",
            "agentAlias":"Hall","agentMacAddress":"0a0b",
            "owner":{"countryCode":"82","phoneNumber":"101234"}}]})"));
        writeUserFile("MyInfo.plist", dict({{"CountryCode", "82"}, {"PhoneNumber", "101234"}}));
        // Stands for the user: with "cancel-next" in the home the choice is Cancel, which deletes
        // the target file as the window's Cancel does; otherwise the real agent decides.
        const std::string agent = home_.path() + "/agent";
        std::ofstream(agent)
            << "#!/bin/sh\nif [ -e \"$HOME/cancel-next\" ]; then\n"
               "  for a; do case \"$a\" in -nbxtarget:*) rm -f \"${a#-nbxtarget:}\";; "
               "esac; done; exit 0\nfi\nexec \"" NBX_BIN_DIR "/nimbrix-agent\" \"$@\"\n";
        fs::permissions(agent, fs::perms::owner_all);
        cupsd_ = PrivateCupsd::start(&why, {{"NBX_LOOKUP_SERVER", emulator_.hostPort()},
                                            {"NBX_SESSION_FOLDER", bus_->folder().string()},
                                            {"NBX_JOB_HOME", home_.path()},
                                            {"NBX_AGENT_PROGRAM", agent},
                                            {"QT_QPA_PLATFORM", "offscreen"}});
        if (!cupsd_) GTEST_SKIP() << "No private cupsd: " << why;
        ScopedEnv ppd("NBX_PPD_FILE", NBX_BIN_DIR "/../share/nimbrix/ppd/Nimbrix.gz");
        ScopedEnv host("NBX_DEVICE_HOST", "cloud.test.example");
        ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd_->errorLog();
    }

    void writeUserFile(const std::string& name, const PropertyValue& value) const {
        fs::create_directories(home_.appSupportFolder());
        ASSERT_TRUE(writePropertyListFile(home_.appSupportFolder() + "/" + name, value));
    }

    void directPrintTo(const PropertyValue& sendInfo) const {
        writeUserFile("com.Valmora.nbx.plist",
                      dict({{"DirectPrint", "TRUE"}, {"SendInfo", sendInfo}}));
    }

    // lp's job number, or 0.
    int print(const std::string& options) const {
        const std::string file = home_.path() + "/report.pdf";
        std::ofstream(file, std::ios::binary) << twoPagePdf();
        const std::string command = "lp -d _Nimbrix_ -t report.pdf " + options + " " + file;
        FILE* pipe = popen(command.c_str(), "r");
        char line[256] = {};
        const bool read = pipe && std::fgets(line, sizeof line, pipe);
        if (pipe) pclose(pipe);
        int id = 0;
        if (read) std::sscanf(line, "request id is _Nimbrix_-%d", &id);
        return id;
    }

    // The job's state once it leaves the given one, or after the time limit.
    static ipp_jstate_t stateOf(int id) {
        cups_job_t* jobs = nullptr;
        const int count =
            cupsGetJobs2(CUPS_HTTP_DEFAULT, &jobs, "_Nimbrix_", 0, CUPS_WHICHJOBS_ALL);
        ipp_jstate_t state = IPP_JSTATE_PENDING;
        for (int i = 0; i < count; ++i)
            if (jobs[i].id == id) state = jobs[i].state;
        cupsFreeJobs(count, jobs);
        return state;
    }
    // A job held for a later retry is not done.
    static ipp_jstate_t waitUntilDone(int id, bool heldIsDone = true) {
        const auto deadline = std::chrono::steady_clock::now() + 60s;
        ipp_jstate_t state = stateOf(id);
        while ((state != IPP_JSTATE_HELD || !heldIsDone) && state < IPP_JSTATE_CANCELED &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(100ms);
            state = stateOf(id);
        }
        return state;
    }

    PropertyValue jobsSent() {
        PropertyValue sent = PropertyValue::array();
        const PropertyValue all = emulator_.jobs();
        for (const PropertyValue& job : *all.arrayPtr())
            if (!job["contentKey"].isNull()) sent.append(job);
        return sent;
    }

    TempHome home_;
    CloudEmulator emulator_{{"--no-token-check", "--quiet"}};
    std::unique_ptr<PrivateSessionBus> bus_;
    std::unique_ptr<PrivateCupsd> cupsd_;
};

TEST_F(PrintPath, ADirectPrintReachesItsTargetWithTheJobsOptions) {
    NotificationRecorder notices;
    struct Case {
        PropertyValue sendInfo;
        const char* kind;
        const char* field;  // what names the target in the service's record
        PropertyValue expected;
    };
    const Case cases[] = {
        {kHall, "sendToAgent", "agentId", "hall"},
        {dict({{"Type", "Default"}}), "sendToPeople", "receivers",
         PropertyValue::array({dict({{"countryCode", "82"}, {"phoneNumber", "101234"}})})},
        {dict({{"Type", "Friend"}, {"Code", "44"}, {"PhoneNumber", "7700900123"}}), "sendToPeople",
         "receivers",
         PropertyValue::array({dict({{"countryCode", "44"}, {"phoneNumber", "7700900123"}})})},
    };
    for (const Case& c : cases) {
        const std::size_t before = jobsSent().size();
        directPrintTo(c.sendInfo);
        const int id =
            print("-n 2 -o ColorModel=Gray -o sides=two-sided-long-edge -o PageSize=Letter");
        ASSERT_GT(id, 0);
        EXPECT_EQ(waitUntilDone(id), IPP_JSTATE_COMPLETED) << c.kind << cupsd_->errorLog();
        const PropertyValue sent = jobsSent();
        ASSERT_EQ(sent.size(), before + 1) << sent.description();
        const PropertyValue& job = sent.at(before);
        EXPECT_EQ(job["kind"].string(), c.kind);
        EXPECT_EQ(job[c.field], c.expected) << job.description();
        if (std::string(c.kind) != "sendToPeople") {
            EXPECT_EQ(job["options"], dict({{"copies", 2},
                                            {"colorMode", "MONO"},
                                            {"sides", "DUPLEX_LONG"},
                                            {"mediaSize", "Letter"}}));
            EXPECT_EQ(job["totalPages"].integer(), 2);
        }
    }
    EXPECT_EQ(notices.summaries().size(), 3u);
}

TEST_F(PrintPath, AJobNotSentEndsClearly) {
    NotificationRecorder notices;
    directPrintTo(kHall);
    struct Case {
        std::function<void()> arrange;
        ipp_jstate_t state;
        const char* message;
        std::size_t notices;
    };
    const Case cases[] = {
        {[&] { std::ofstream(home_.path() + "/cancel-next"); }, IPP_JSTATE_CANCELED, "Cancelled",
         0},
        {[&] {
             fs::remove(home_.path() + "/cancel-next");
             emulator_.injectFault(dict({{"path", "/printmgtsvc/job/content/send/me"},
                                         {"status", 404},
                                         {"body", R"({"success":false,"errorCode":"41000"})"}}));
         },
         IPP_JSTATE_CANCELED, "The Nimbrix service refused the job (code 41000)", 1},
        // Nobody logged in: held, to be released later.
        {[&] { bus_.reset(); }, IPP_JSTATE_HELD, "Held until root logs in", 1},
    };
    for (const Case& c : cases) {
        c.arrange();
        const int id = print("");
        EXPECT_EQ(waitUntilDone(id), c.state) << c.message << cupsd_->errorLog();
        // The scheduler keeps the back end's last word on the job in its log.
        const std::string said = "[Job " + std::to_string(id) + "] ";
        const std::string log = cupsd_->errorLog();
        EXPECT_NE(log.find(said + c.message), std::string::npos) << log;
        EXPECT_EQ(notices.summaries().size(), c.notices) << c.message;
    }
}

TEST_F(PrintPath, AJobWaitsForTheServiceAndIsSentOnce) {
    directPrintTo(kHall);
    emulator_.injectFault(
        dict({{"path", "/printmgtsvc/job/content/send/me"}, {"drop", true}, {"times", 0}}));
    const int id = print("");
    // Told to retry, the scheduler keeps the job and runs it again and again.
    std::this_thread::sleep_for(4s);
    EXPECT_LT(stateOf(id), IPP_JSTATE_CANCELED);
    EXPECT_EQ(jobsSent().size(), 0u);
    emulator_.clearFaults();
    EXPECT_EQ(waitUntilDone(id, false), IPP_JSTATE_COMPLETED) << cupsd_->errorLog();
    EXPECT_EQ(jobsSent().size(), 1u);
    EXPECT_EQ(emulator_.state()["contents"].size(), 1u);
}

}  // namespace
}  // namespace nbx::test
