#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

struct ToolCase {
    std::string name;
    std::string arguments;  // "@" stands for the input file
    std::string input;      // written to the input file and given on standard input
    std::string out;
    std::string err;
    int status;
};

void PrintTo(const ToolCase& c, std::ostream* os) {
    *os << c.name;
}

class NbxJsonTool : public testing::TestWithParam<ToolCase> {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "nbx-json-test-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string read(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

    fs::path dir_;
};

TEST_P(NbxJsonTool, PrintsTheReencodingOrTheError) {
    const ToolCase& c = GetParam();
    const fs::path input = dir_ / "in.json";
    std::ofstream(input, std::ios::binary) << c.input;
    std::string arguments = c.arguments;
    if (const auto at = arguments.find('@'); at != std::string::npos)
        arguments.replace(at, 1, input.string());
    const std::string command = std::string("'") + NBX_JSON_TOOL + "' " + arguments + " <'" +
                                input.string() + "' >'" + (dir_ / "out").string() + "' 2>'" +
                                (dir_ / "err").string() + "'";
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), c.status);
    EXPECT_EQ(read(dir_ / "out"), c.out);
    EXPECT_EQ(read(dir_ / "err"), c.err);
}

const std::string kUsage = "usage: nbx-json decode FILE|-\n";

INSTANTIATE_TEST_SUITE_P(
    Cases, NbxJsonTool,
    testing::Values(
        ToolCase{"file", "decode @", " {\"a\" : [1, 2.5, \"x\\/\\u00e9\"],\n \"b\":null}\n",
                 "{\"a\":[1,2.5,\"x/\xC3\xA9\"],\"b\":null}\n", "", 0},
        ToolCase{"stdin", "decode -", "[true,false]", "[true,false]\n", "", 0},
        ToolCase{"bad json", "decode @", "[1,]", "", "Unexpected ','.\n", 1},
        ToolCase{"bare value", "decode -", "true", "", "Expected either '[' or '{'.\n", 1},
        ToolCase{"empty input", "decode -", "", "", "Reached the end of the buffer.\n", 1},
        ToolCase{"missing file", "decode /nonexistent/x.json", "", "",
                 "nbx-json: cannot read /nonexistent/x.json: No such file or directory\n", 1},
        ToolCase{"no arguments", "", "[]", "", kUsage, 2},
        ToolCase{"no file", "decode", "[]", "", kUsage, 2},
        ToolCase{"unknown command", "encode @", "[]", "", kUsage, 2},
        ToolCase{"extra argument", "decode @ @", "[]", "", kUsage, 2}),
    [](const testing::TestParamInfo<ToolCase>& info) {
        std::string name = info.param.name;
        for (char& ch : name)
            if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
        return name;
    });

}  // namespace
