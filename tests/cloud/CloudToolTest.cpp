// The nbx-cloud program, run as a user would run it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "EmulatorFixture.h"
#include "JSONKit.h"

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
    const std::string senderJSON =
        R"('{"senderCountryCode":"44","senderPhoneNumber":"7700900123"}')";
    struct Case {
        std::string arguments;
        int exitCode;
        std::optional<bool> result;  // none: no JSON outcome printed
    };
    const Case cases[] = {
        {"requestToGetUserAgentQuantity " + senderJSON, 0, true},
        {"getAgentState " + senderJSON, 0, false},
        {"noSuchOperation", 2, std::nullopt},
        {"getAgentState '[1]'", 2, std::nullopt},
        {"getAgentState '{broken'", 2, std::nullopt},
        {"uploadContentJob --file pdfData=/nonexistent/file", 2, std::nullopt},
        {"", 2, std::nullopt},
        {"--help", 0, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const ToolRun run = runTool(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.output;
        if (!c.result) continue;
        const auto outcome = objectFromJSONData(std::string_view(run.output));
        ASSERT_TRUE(outcome) << run.output;
        EXPECT_EQ((*outcome)["result"], PropertyValue(*c.result));
        EXPECT_TRUE((*outcome).dictionaryPtr()->contains("returnedInformation"));
        EXPECT_TRUE((*outcome).dictionaryPtr()->contains("errorInformation"));
    }
    EXPECT_NE(runTool("--help").output.find("updateMarketingEULAToServer"), std::string::npos);
}

TEST_F(CloudToolTest, UploadsAFileAndReportsAFailedLookup) {
    const auto document = std::filesystem::path(home.path()) / "doc.pdf";
    std::ofstream(document, std::ios::binary) << "%PDF-1.4 tool";
    const ToolRun upload =
        runTool(R"(uploadContentJob '{"senderCountryCode":"44","senderPhoneNumber":"7700900123",)"
                R"("fileName":"doc.pdf"}' --file pdfData=)" +
                document.string());
    EXPECT_EQ(upload.exitCode, 0) << upload.output;
    const auto sent = lastRequest();
    EXPECT_NE(sent["body"].string().value_or("").find("%PDF-1.4 tool"), std::string::npos);

    emulator.injectFault(
        PropertyValue::dictionary({{"path", "/svclookup/service"}, {"notJson", true}}));
    const ToolRun failed = runTool("getAgentState '{}'");
    EXPECT_EQ(failed.exitCode, 1);
    const auto outcome = objectFromJSONData(std::string_view(failed.output));
    ASSERT_TRUE(outcome) << failed.output;
    EXPECT_EQ((*outcome)["errorInformation"]["errorCode"], PropertyValue(1005));
}

}  // namespace
}  // namespace nbx::test
