// The nbx-json program, run as a user would run it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(NbxJsonTool, PrintsTheReencodingOrTheError) {
    std::string folder = (fs::temp_directory_path() / "nbx-json-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const fs::path dir = folder, input = dir / "in.json";
    const std::string usage = "usage: nbx-json decode FILE|-\n";
    const struct {
        std::string arguments;  // "@" stands for the input file, also given on standard input
        std::string input, out, err;
        int status;
    } cases[] = {
        {"decode @", " {\"a\" : [1, 2.5, \"x\\/\\u00e9\"],\n \"b\":null}\n",
         "{\"a\":[1,2.5,\"x/\xC3\xA9\"],\"b\":null}\n", "", 0},
        {"decode -", "[true,false]", "[true,false]\n", "", 0},
        {"decode @", "[1,]", "", "Unexpected ','.\n", 1},
        {"decode -", "", "", "Reached the end of the buffer.\n", 1},
        {"decode /nonexistent/x.json", "", "",
         "nbx-json: cannot read /nonexistent/x.json: No such file or directory\n", 1},
        {"", "[]", "", usage, 2},
        {"encode @", "[]", "", usage, 2},
        {"decode @ @", "[]", "", usage, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        std::ofstream(input, std::ios::binary) << c.input;
        std::string arguments = c.arguments;
        if (const auto at = arguments.find('@'); at != std::string::npos)
            arguments.replace(at, 1, input.string());
        const std::string command = std::string("'") + NBX_JSON_TOOL + "' " + arguments + " <'" +
                                    input.string() + "' >'" + (dir / "out").string() + "' 2>'" +
                                    (dir / "err").string() + "'";
        const int status = std::system(command.c_str());
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), c.status);
        EXPECT_EQ(contents(dir / "out"), c.out);
        EXPECT_EQ(contents(dir / "err"), c.err);
    }
    fs::remove_all(dir);
}

}  // namespace
