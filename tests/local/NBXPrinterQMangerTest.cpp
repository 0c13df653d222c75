#include "NBXPrinterQManger.h"

#include <cups/backend.h>
#include <cups/cups.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

#include "PrivateCupsd.h"

namespace nbx {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const std::string kBuiltPpd = NBX_BIN_DIR "/../share/nimbrix/ppd/Nimbrix.gz";
const std::string kBackend = NBX_BIN_DIR "/nbxbackend";
const std::string kTestHost = "cloud.test.example";

class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) saved_ = old;
        setenv(name, value.c_str(), 1);
    }
    ~ScopedEnvironment() {
        if (saved_) {
            setenv(name_, saved_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }

private:
    const char* name_;
    std::optional<std::string> saved_;
};

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

// A one-page PDF with a correct cross-reference table, so the filter chain has real work.
std::string minimalPdf() {
    const char* objects[] = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R >>",
        "<< /Length 18 >>\nstream\n0 0 m 100 100 l S\nendstream",
    };
    std::string pdf = "%PDF-1.4\n";
    std::string xref = "xref\n0 5\n0000000000 65535 f \n";
    int number = 1;
    for (const char* object : objects) {
        char entry[32];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", pdf.size());
        xref += entry;
        pdf += std::to_string(number++) + " 0 obj\n" + object + "\nendobj\n";
    }
    const size_t xrefOffset = pdf.size();
    return pdf + xref + "trailer\n<< /Size 5 /Root 1 0 R >>\nstartxref\n" +
           std::to_string(xrefOffset) + "\n%%EOF\n";
}

std::optional<std::string> deviceUriOf(const char* queue) {
    cups_dest_t* dest = cupsGetNamedDest(CUPS_HTTP_DEFAULT, queue, nullptr);
    if (!dest) return std::nullopt;
    const char* uri = cupsGetOption("device-uri", dest->num_options, dest->options);
    std::optional<std::string> result = uri ? std::optional<std::string>(uri) : std::nullopt;
    cupsFreeDests(1, dest);
    return result;
}

// ---------------------------------------------------------------------------------------------
// Command lines

struct CommandCase {
    const char* name;
    std::string host;
    std::string ppd;
    std::string expected;  // empty: refused
};
void PrintTo(const CommandCase& c, std::ostream* os) {
    *os << c.name;
}

class CommandLineTest : public ::testing::TestWithParam<CommandCase> {};

TEST_P(CommandLineTest, QuotesEveryValueOrRefuses) {
    const auto& c = GetParam();
    ScopedEnvironment host("NBX_DEVICE_HOST", c.host);
    ScopedEnvironment ppd("NBX_PPD_FILE", c.ppd);
    EXPECT_EQ(NBXPrinterQManger::makeCommand(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    , CommandLineTest,
    ::testing::Values(
        CommandCase{"plain", "print.test.example", "/opt/ppd/Nimbrix.gz",
                    "/usr/sbin/lpadmin -p \"_Nimbrix_\" -v "
                    "\"nbxbackend://nbxaddress?addr=print.test.example\" -P "
                    "\"/opt/ppd/Nimbrix.gz\" -D \"Nimbrix\" "},
        CommandCase{"blanksAndSingleQuotes", "h", "/opt/My Printers/it's;|&.gz",
                    "/usr/sbin/lpadmin -p \"_Nimbrix_\" -v \"nbxbackend://nbxaddress?addr=h\" -P "
                    "\"/opt/My Printers/it's;|&.gz\" -D \"Nimbrix\" "},
        CommandCase{"doubleQuoteInHost", "h\"; touch x; \"", "/p.gz", ""},
        CommandCase{"dollarInPpd", "h", "/$(touch x).gz", ""},
        CommandCase{"backtickInPpd", "h", "/`touch x`.gz", ""},
        CommandCase{"backslashInHost", "h\\", "/p.gz", ""}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(RemoveCommandTest, NamesTheQueueWithTrailingBlank) {
    EXPECT_EQ(NBXPrinterQManger::removeCommand(), "/usr/sbin/lpadmin -x \"_Nimbrix_\" ");
}

// ---------------------------------------------------------------------------------------------
// The back end program

struct BackendCase {
    const char* name;
    std::string arguments;
    int status;
    std::string output;  // expected exactly when not empty
};
void PrintTo(const BackendCase& c, std::ostream* os) {
    *os << c.name;
}

class BackendTest : public ::testing::TestWithParam<BackendCase> {
protected:
    static void SetUpTestSuite() { std::ofstream(job_) << std::string(3 * 1024 * 1024 + 17, 'x'); }
    static void TearDownTestSuite() { fs::remove(job_); }
    static inline const std::string job_ =
        (fs::temp_directory_path() / ("nbx-backend-job-" + std::to_string(getpid()))).string();
};

TEST_P(BackendTest, ExitsAsTheSchedulerExpects) {
    const auto& c = GetParam();
    std::string arguments = c.arguments;
    if (const auto at = arguments.find("JOB"); at != std::string::npos) {
        arguments.replace(at, 3, job_);
    }
    const auto result = run(kBackend + " " + arguments);
    EXPECT_EQ(result.status, c.status) << result.output;
    if (!c.output.empty()) {
        EXPECT_EQ(result.output, c.output);
    }
}

INSTANTIATE_TEST_SUITE_P(
    , BackendTest,
    ::testing::Values(
        BackendCase{"deviceClass", "", CUPS_BACKEND_OK,
                    "network nbxbackend \"Unknown\" \"Nimbrix\"\n"},
        BackendCase{"jobFromFile", "7 user title 1 '' JOB", CUPS_BACKEND_OK, ""},
        BackendCase{"jobFromStandardInput", "7 user title 1 '' < JOB", CUPS_BACKEND_OK, ""},
        BackendCase{"emptyStandardInput", "7 user title 1 '' < /dev/null", CUPS_BACKEND_OK, ""},
        BackendCase{"missingFile", "7 user title 1 '' /nonexistent/job", CUPS_BACKEND_FAILED, ""},
        BackendCase{"tooFewArguments", "7 user", CUPS_BACKEND_FAILED, ""},
        BackendCase{"tooManyArguments", "7 user title 1 '' JOB extra", CUPS_BACKEND_FAILED, ""}),
    [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------------------------
// Against a private scheduler

class PrintQueueTest : public test::PrivateCupsdTest {
protected:
    void SetUp() override {
        PrivateCupsdTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_TRUE(fs::exists(kBuiltPpd)) << kBuiltPpd;
    }
    void TearDown() override {
        if (!IsSkipped()) run("/usr/sbin/lpadmin -x _Nimbrix_");
    }
    static std::string expectedUri() { return "nbxbackend://nbxaddress?addr=" + kTestHost; }

    ScopedEnvironment ppd_{"NBX_PPD_FILE", kBuiltPpd};
    ScopedEnvironment host_{"NBX_DEVICE_HOST", kTestHost};
};

TEST_F(PrintQueueTest, MakeCheckRemoveRoundTrip) {
    EXPECT_FALSE(NBXPrinterQManger::checkPrinterQ());
    ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd().errorLog();
    EXPECT_TRUE(NBXPrinterQManger::checkPrinterQ());
    EXPECT_EQ(deviceUriOf("_Nimbrix_"), expectedUri());
    EXPECT_TRUE(NBXPrinterQManger::removePrinterQ());
    EXPECT_FALSE(NBXPrinterQManger::checkPrinterQ());
    EXPECT_FALSE(NBXPrinterQManger::removePrinterQ());
}

struct NameCase {
    const char* queue;
    bool present;
};
void PrintTo(const NameCase& c, std::ostream* os) {
    *os << c.queue;
}

class QueueNameTest : public PrintQueueTest, public ::testing::WithParamInterface<NameCase> {
protected:
    void TearDown() override {
        if (!IsSkipped()) run(std::string("/usr/sbin/lpadmin -x ") + GetParam().queue);
    }
};

TEST_P(QueueNameTest, MatchesIgnoringLetterCaseOnly) {
    const auto& c = GetParam();
    const auto made = run(std::string("/usr/sbin/lpadmin -p ") + c.queue + " -v " + expectedUri() +
                          " -P " + kBuiltPpd);
    ASSERT_EQ(made.status, 0) << made.output;
    EXPECT_EQ(NBXPrinterQManger::checkPrinterQ(), c.present);
}

INSTANTIATE_TEST_SUITE_P(, QueueNameTest,
                         ::testing::Values(NameCase{"_Nimbrix_", true}, NameCase{"_nimbrix_", true},
                                           NameCase{"_NIMBRIX_", true}, NameCase{"Nimbrix", false},
                                           NameCase{"_Nimbrix_2", false}),
                         [](const auto& info) { return std::string(info.param.queue); });

struct FailureCase {
    const char* name;
    const char* variable;
    std::string value;
};
void PrintTo(const FailureCase& c, std::ostream* os) {
    *os << c.name;
}

class FailingMakeTest : public PrintQueueTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(FailingMakeTest, GivesFalseAndChangesNothing) {
    const auto& c = GetParam();
    const fs::path marker = cupsd().folder() / "injected";
    std::string value = c.value;
    if (const auto at = value.find("MARKER"); at != std::string::npos) {
        value.replace(at, 6, marker.string());
    }

    {
        ScopedEnvironment broken(c.variable, value);
        EXPECT_FALSE(NBXPrinterQManger::makePrinterQ());
    }
    EXPECT_FALSE(NBXPrinterQManger::checkPrinterQ());
    EXPECT_FALSE(fs::exists(marker));

    ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd().errorLog();
    {
        ScopedEnvironment broken(c.variable, value);
        EXPECT_FALSE(NBXPrinterQManger::makePrinterQ());
    }
    EXPECT_TRUE(NBXPrinterQManger::checkPrinterQ());
    EXPECT_EQ(deviceUriOf("_Nimbrix_"), expectedUri());
    EXPECT_FALSE(fs::exists(marker));
}

INSTANTIATE_TEST_SUITE_P(
    , FailingMakeTest,
    ::testing::Values(FailureCase{"missingPpd", "NBX_PPD_FILE", "/nonexistent/Nimbrix.gz"},
                      FailureCase{"ppdIsNotAPpd", "NBX_PPD_FILE", "/etc/hostname"},
                      FailureCase{"blankInHost", "NBX_DEVICE_HOST", "bad host"},
                      FailureCase{"quoteInHost", "NBX_DEVICE_HOST", "h\"; touch MARKER; \""},
                      FailureCase{"commandInPpd", "NBX_PPD_FILE", "$(touch MARKER)"},
                      FailureCase{"backtickInPpd", "NBX_PPD_FILE", "`touch MARKER`"},
                      FailureCase{"backslashInHost", "NBX_DEVICE_HOST",
                                  "h\\\"; touch MARKER; \\\""}),
    [](const auto& info) { return std::string(info.param.name); });

std::optional<ipp_jstate_t> jobState(int id) {
    cups_job_t* jobs = nullptr;
    const int count = cupsGetJobs2(CUPS_HTTP_DEFAULT, &jobs, "_Nimbrix_", 0, CUPS_WHICHJOBS_ALL);
    std::optional<ipp_jstate_t> state;
    for (int i = 0; i < count; ++i) {
        if (jobs[i].id == id) state = jobs[i].state;
    }
    cupsFreeJobs(count, jobs);
    return state;
}

TEST_F(PrintQueueTest, PrintedJobReachesTheBackEnd) {
    ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd().errorLog();
    // The queue is made without -E, so the scheduler leaves it stopped and rejecting jobs.
    const auto enabled = run("cupsaccept _Nimbrix_ && cupsenable _Nimbrix_");
    ASSERT_EQ(enabled.status, 0) << enabled.output;
    const fs::path document = cupsd().folder() / "page.pdf";
    std::ofstream(document, std::ios::binary) << minimalPdf();

    const auto printed = run("lp -d _Nimbrix_ " + document.string());
    ASSERT_EQ(printed.status, 0) << printed.output;
    int id = 0;
    ASSERT_EQ(std::sscanf(printed.output.c_str(), "request id is _Nimbrix_-%d", &id), 1)
        << printed.output;

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    std::optional<ipp_jstate_t> state;
    while (std::chrono::steady_clock::now() < deadline) {
        state = jobState(id);
        if (state && *state >= IPP_JSTATE_CANCELED) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(state, IPP_JSTATE_COMPLETED) << cupsd().errorLog();
}

// What applications see of the printer description once the queue stands.
struct SupportedCase {
    const char* option;
    const char* value;
};
void PrintTo(const SupportedCase& c, std::ostream* os) {
    *os << c.option << '=' << c.value;
}

class OfferedOptionTest : public PrintQueueTest,
                          public ::testing::WithParamInterface<SupportedCase> {};

TEST_P(OfferedOptionTest, QueueOffersIt) {
    const auto& c = GetParam();
    ASSERT_TRUE(NBXPrinterQManger::makePrinterQ()) << cupsd().errorLog();
    cups_dest_t* dest = cupsGetNamedDest(CUPS_HTTP_DEFAULT, "_Nimbrix_", nullptr);
    ASSERT_NE(dest, nullptr);
    cups_dinfo_t* info = cupsCopyDestInfo(CUPS_HTTP_DEFAULT, dest);
    ASSERT_NE(info, nullptr);
    char offered[2048] = "";
    ippAttributeString(cupsFindDestSupported(CUPS_HTTP_DEFAULT, dest, info, c.option), offered,
                       sizeof offered);
    EXPECT_TRUE(cupsCheckDestSupported(CUPS_HTTP_DEFAULT, dest, info, c.option, c.value))
        << c.option << " offers " << offered;
    cupsFreeDestInfo(info);
    cupsFreeDests(1, dest);
}

INSTANTIATE_TEST_SUITE_P(
    , OfferedOptionTest,
    ::testing::Values(
        SupportedCase{"media", "na_letter_8.5x11in"}, SupportedCase{"media", "na_legal_8.5x14in"},
        SupportedCase{"media", "na_executive_7.25x10.5in"},
        SupportedCase{"media", "na_foolscap_8.5x13in"}, SupportedCase{"media", "iso_a4_210x297mm"},
        SupportedCase{"media", "iso_a5_148x210mm"}, SupportedCase{"media", "jis_b5_182x257mm"},
        SupportedCase{"sides", "one-sided"}, SupportedCase{"sides", "two-sided-long-edge"},
        SupportedCase{"sides", "two-sided-short-edge"}, SupportedCase{"print-color-mode", "color"},
        SupportedCase{"print-color-mode", "monochrome"},
        SupportedCase{"document-format", "application/pdf"},
        SupportedCase{"document-format", "application/postscript"}),
    [](const auto& info) {
        std::string name = std::string(info.param.option) + "_" + info.param.value;
        for (char& ch : name) {
            if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
        }
        return name;
    });

// Later suites rely on the harness leaving nothing behind.
TEST(PrivateCupsdHarnessTest, PointsClientsWhileAliveAndCleansUp) {
    ScopedEnvironment server("CUPS_SERVER", "outer.example:631");
    std::string whyNot;
    fs::path folder;
    {
        auto cupsd = test::PrivateCupsd::start(&whyNot);
        if (!cupsd) GTEST_SKIP() << "No private cupsd: " << whyNot;
        folder = cupsd->folder();
        EXPECT_EQ(std::getenv("CUPS_SERVER"), cupsd->server());
        EXPECT_EQ(cupsServer() + (":" + std::to_string(ippPort())), cupsd->server());
        EXPECT_EQ(run("lpstat -r").output, "scheduler is running\n");
    }
    EXPECT_STREQ(std::getenv("CUPS_SERVER"), "outer.example:631");
    EXPECT_STREQ(cupsServer(), "outer.example");
    cupsSetServer(nullptr);
    EXPECT_FALSE(fs::exists(folder));
}

TEST(UnreachableSchedulerTest, CheckGivesFalse) {
    ScopedEnvironment root("CUPS_SERVERROOT", "/nonexistent");
    {
        // Port 1 on loopback refuses at once.
        ScopedEnvironment server("CUPS_SERVER", "127.0.0.1:1");
        cupsSetServer(nullptr);
        testing::internal::CaptureStderr();
        EXPECT_FALSE(NBXPrinterQManger::checkPrinterQ());
        const std::string messages = testing::internal::GetCapturedStderr();
#if NBX_PRINTERQ_DEBUG
        EXPECT_THAT(messages, HasSubstr("err "));
#else
        EXPECT_EQ(messages, "");
#endif
    }
    cupsSetServer(nullptr);
}

#if NBX_PRINTERQ_DEBUG
TEST_F(PrintQueueTest, DebugSwitchReportsEachOutcome) {
    struct Step {
        bool (*operation)();
        const char* message;
    };
    const Step steps[] = {
        {NBXPrinterQManger::makePrinterQ, "Make PrinterQ Success"},
        {NBXPrinterQManger::checkPrinterQ, "Printer ID \"_Nimbrix_\""},
        {NBXPrinterQManger::removePrinterQ, "Remove PrinterQ Success"},
        {NBXPrinterQManger::removePrinterQ, "Remove PrinterQ Fail"},
    };
    for (const auto& step : steps) {
        testing::internal::CaptureStderr();
        step.operation();
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(step.message));
    }
    ScopedEnvironment missing("NBX_PPD_FILE", "/nonexistent/Nimbrix.gz");
    testing::internal::CaptureStderr();
    NBXPrinterQManger::makePrinterQ();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Make PrinterQ Fail"));
}
#endif

}  // namespace
}  // namespace nbx
