// The nbx-cloud program, run as a user would run it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "EmulatorFixture.h"

namespace nbx::test {
namespace {

struct ToolRun {
    int exitCode;
    std::string output;
};

ToolRun runTool(const std::string& arguments) {
    const std::string command =
        std::string(NBX_BIN_DIR) + "/nbx-cloud " + arguments + " 2>/dev/null";
    FILE* pipe = ::popen(command.c_str(), "r");
    std::string output;
    char buffer[4096];
    size_t n;
    while (pipe && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, n);
    const int status = pipe ? ::pclose(pipe) : -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

class CloudToolTest : public EmulatorFixture {};

TEST_F(CloudToolTest, ExitCodesAndPrintedOutcome) {
    const std::string caller = R"('{"senderCountryCode":"44","senderPhoneNumber":"7700900123"}')";
    const auto document = std::filesystem::path(home.path()) / "doc.pdf";
    std::ofstream(document, std::ios::binary) << "%PDF-1.4 tool";
    const struct {
        std::string arguments;
        int exitCode;
        PropertyValue result;        // null: no JSON outcome printed
        const char* sent = nullptr;  // text the last request's body must hold
    } cases[] = {
        {"requestToGetUserAgentQuantity " + caller, 0, true},
        {"getAgentState " + caller, 0, false},
        {R"(uploadContentJob '{"senderCountryCode":"44","senderPhoneNumber":"7700900123",)"
         R"("fileName":"doc.pdf"}' --file pdfData=)" +
             document.string(),
         0, true, "%PDF-1.4 tool"},
        {"noSuchOperation", 2, {}},
        {"getAgentState '[1]'", 2, {}},
        {"getAgentState '{broken'", 2, {}},
        {"uploadContentJob --file pdfData=/nonexistent/file", 2, {}},
        {"", 2, {}},
        {"--help", 0, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const ToolRun run = runTool(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.output;
        if (c.sent) {
            EXPECT_NE(lastRequest()["body"].string().value_or("").find(c.sent), std::string::npos);
        }
        if (c.result.isNull()) continue;
        const PropertyValue outcome = fromJSON(run.output);
        ASSERT_TRUE(outcome.dictionaryPtr()) << run.output;
        EXPECT_EQ(outcome["result"], c.result) << run.output;
        EXPECT_TRUE(outcome.dictionaryPtr()->contains("returnedInformation"));
        EXPECT_TRUE(outcome.dictionaryPtr()->contains("errorInformation"));
    }
    EXPECT_NE(runTool("--help").output.find("updateMarketingEULAToServer"), std::string::npos);
}

TEST_F(CloudToolTest, FailedLookupExitsWithOneAndPrintsTheError) {
    injectFault(R"({"path":"/svclookup/service","notJson":true})");
    const ToolRun failed = runTool("getAgentState '{}'");
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(fromJSON(failed.output)["errorInformation"]["errorCode"], PropertyValue(1005));
}

}  // namespace
}  // namespace nbx::test
