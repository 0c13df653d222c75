#include "NBXPrinterQManger.h"

#include <cups/backend.h>
#include <cups/cups.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "PrivateCupsd.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx {
namespace {

namespace fs = std::filesystem;
using test::ScopedEnv;

const std::string kBuiltPpd = NBX_BIN_DIR "/../share/nimbrix/ppd/Nimbrix.gz";
const std::string kBackend = NBX_BIN_DIR "/nbxbackend";
const std::string kUri = "nbxbackend://nbxaddress?addr=cloud.test.example";

struct CommandResult {
    int status = -1;
    std::string output;
};

CommandResult run(const std::string& command) {
    CommandResult result;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return result;
    char buffer[4096];
    while (const size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
        result.output.append(buffer, n);
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

TEST(PrinterQCommands, QuoteEveryValueOrRefuse) {
    const std::string uri = "/usr/sbin/lpadmin -p \"_Nimbrix_\" -v \"nbxbackend://nbxaddress?addr=";
    const struct {
        std::string host, ppd, expected;  // expected empty: refused
    } cases[] = {
        {"print.test.example", "/opt/ppd/Nimbrix.gz",
         uri + "print.test.example\" -P \"/opt/ppd/Nimbrix.gz\" -D \"Nimbrix\" -E "},
        {"h", "/opt/My Printers/it's;|&.gz",
         uri + "h\" -P \"/opt/My Printers/it's;|&.gz\" -D \"Nimbrix\" -E "},
        {"h\"; touch x; \"", "/p.gz", ""},
        {"h", "/$(touch x).gz", ""},
        {"h", "/`touch x`.gz", ""},
        {"h\\", "/p.gz", ""},
    };
    for (const auto& c : cases) {
        ScopedEnv host("NBX_DEVICE_HOST", c.host), ppd("NBX_PPD_FILE", c.ppd);
        EXPECT_EQ(NBXPrinterQManger::makeCommand(), c.expected) << c.host << " " << c.ppd;
    }
    EXPECT_EQ(NBXPrinterQManger::removeCommand(), "/usr/sbin/lpadmin -x \"_Nimbrix_\" ");
}

TEST(Backend, ExitsAsTheSchedulerExpects) {
    const test::TempHome home;
    const std::string job = home.path() + "/job",
                      start = kBackend + " 7 nbx-no-such-user title 1 '' ";
    std::ofstream(job) << "%PDF-1.4\n";
    // A job of no known user waits for someone to look at it.
    const std::pair<std::string, int> cases[] = {
        {start + job, CUPS_BACKEND_HOLD},
        {start + "< " + job, CUPS_BACKEND_HOLD},
        {start + "/nonexistent/job", CUPS_BACKEND_FAILED},
        {kBackend + " 7 user", CUPS_BACKEND_FAILED},
        {start + job + " extra", CUPS_BACKEND_FAILED},
    };
    for (const auto& [command, status] : cases) {
        const auto result = run(command);
        EXPECT_EQ(result.status, status) << command << "\n" << result.output;
    }
    const auto listed = run(kBackend);
    EXPECT_EQ(listed.status, CUPS_BACKEND_OK);
    EXPECT_EQ(listed.output, "network nbxbackend \"Unknown\" \"Nimbrix\"\n");
}

class PrintQueueTest : public test::PrivateCupsdTest {
protected:
    void TearDown() override {
        if (!IsSkipped()) run("/usr/sbin/lpadmin -x _Nimbrix_");
    }
    static std::optional<std::string> queueOption(const char* name) {
        cups_dest_t* dest = cupsGetNamedDest(CUPS_HTTP_DEFAULT, "_Nimbrix_", nullptr);
        if (!dest) return std::nullopt;
        const char* value = cupsGetOption(name, dest->num_options, dest->options);
        auto result = value ? std::optional<std::string>(value) : std::nullopt;
        cupsFreeDests(1, dest);
        return result;
    }
    ScopedEnv ppd_{"NBX_PPD_FILE", kBuiltPpd};
    ScopedEnv host_{"NBX_DEVICE_HOST", "cloud.test.example"};
};

TEST_F(PrintQueueTest, NameMatchesIgnoringLetterCaseOnly) {
    const std::pair<std::string, bool> cases[] = {
        {"_Nimbrix_", true}, {"_nimbrix_", true},   {"_NIMBRIX_", true},
        {"Nimbrix", false},  {"_Nimbrix_2", false},
    };
    for (const auto& [queue, present] : cases) {
        const auto made = run("/usr/sbin/lpadmin -p " + queue + " -v " + kUri + " -P " + kBuiltPpd);
        ASSERT_EQ(made.status, 0) << made.output;
        EXPECT_EQ(NBXPrinterQManger::checkPrinterQ(), present) << queue;
        run("/usr/sbin/lpadmin -x " + queue);
    }
}

TEST_F(PrintQueueTest, FailingMakeGivesFalseAndChangesNothing) {
    const std::string marker = (cupsd().folder() / "injected").string();
    const std::pair<const char*, std::string> cases[] = {
        {"NBX_PPD_FILE", "/nonexistent/Nimbrix.gz"},
        {"NBX_PPD_FILE", "/etc/hostname"},
        {"NBX_DEVICE_HOST", "bad host"},
        {"NBX_PPD_FILE", "$(touch " + marker + ")"},
        {"NBX_DEVICE_HOST", "h\\\"; touch " + marker + "; \\\""},
    };
    for (const auto& [variable, value] : cases) {
        for (const bool standing : {false, true}) {
            SCOPED_TRACE(value + (standing ? " over a standing queue" : ""));
            if (standing) {
                ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd().errorLog();
            }
            {
                ScopedEnv broken(variable, value);
                EXPECT_FALSE(NBXPrinterQManger::makePrinterQ());
            }
            EXPECT_EQ(NBXPrinterQManger::checkPrinterQ(), standing);
            EXPECT_EQ(queueOption("device-uri"), standing ? std::optional(kUri) : std::nullopt);
            EXPECT_FALSE(fs::exists(marker));
        }
        run("/usr/sbin/lpadmin -x _Nimbrix_");
    }
}

// Nothing stands between making the queue and printing: it must be enabled and accepting at
// once, and offer what applications print with. The print path tests send jobs through it.
TEST_F(PrintQueueTest, MadeQueueAcceptsJobsWithTheDescribedOptionsAndIsRemoved) {
    ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd().errorLog();
    EXPECT_EQ(queueOption("printer-is-accepting-jobs"), "true");
    EXPECT_EQ(queueOption("printer-state"), std::to_string(IPP_PSTATE_IDLE));
    cups_dest_t* dest = cupsGetNamedDest(CUPS_HTTP_DEFAULT, "_Nimbrix_", nullptr);
    ASSERT_NE(dest, nullptr);
    cups_dinfo_t* info = cupsCopyDestInfo(CUPS_HTTP_DEFAULT, dest);
    ASSERT_NE(info, nullptr);
    const std::pair<const char*, std::vector<const char*>> cases[] = {
        {"media",
         {"na_letter_8.5x11in", "na_legal_8.5x14in", "iso_a4_210x297mm", "jis_b5_182x257mm"}},
        {"sides", {"one-sided", "two-sided-long-edge", "two-sided-short-edge"}},
        {"print-color-mode", {"monochrome", "color"}},
        {"document-format", {"application/pdf"}},
    };
    for (const auto& [option, values] : cases)
        for (const char* value : values)
            EXPECT_TRUE(cupsCheckDestSupported(CUPS_HTTP_DEFAULT, dest, info, option, value))
                << option << "=" << value;
    cupsFreeDestInfo(info);
    cupsFreeDests(1, dest);
    EXPECT_TRUE(NBXPrinterQManger::removePrinterQ());
    EXPECT_FALSE(NBXPrinterQManger::checkPrinterQ());
    EXPECT_FALSE(NBXPrinterQManger::removePrinterQ());
}

TEST(UnreachableSchedulerTest, CheckGivesFalse) {
    {
        // Port 1 on loopback refuses at once.
        ScopedEnv root("CUPS_SERVERROOT", "/nonexistent"), server("CUPS_SERVER", "127.0.0.1:1");
        cupsSetServer(nullptr);
        EXPECT_FALSE(NBXPrinterQManger::checkPrinterQ());
    }
    cupsSetServer(nullptr);
}

}  // namespace
}  // namespace nbx
