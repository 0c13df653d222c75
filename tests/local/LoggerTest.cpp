#include "NBXLogger.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <thread>

#include "PropertyListFile.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx {
namespace {

namespace fs = std::filesystem;

class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override { setDebug(2); }
    void setDebug(const PropertyValue& level) const {
        writePropertyListFile(home.path() + "/Info.plist",
                              PropertyValue::dictionary({{"Debug", level}}));
    }
    static std::string contents(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), {});
    }
    test::TempHome home;
    test::ScopedEnv resources{"NBX_RESOURCES", home.path()};
    const std::string logFolder = home.appSupportFolder() + "/Logs";
};

const std::string kStamp = R"(\[\d\d/\d\d/\d\d\|(0[1-9]|1[0-2]):[0-5]\d:[0-6]\d\.\d{4}\] )";

TEST_F(LoggerTest, LevelComesFromTheInformationDictionary) {
    const std::pair<PropertyValue, std::int32_t> cases[] = {
        {2, 2}, {"2", 2}, {1, 1}, {7, 7}, {nullptr, 0}};
    for (const auto& [level, expected] : cases) {
        setDebug(level);
        fs::remove_all(logFolder);
        const NBXLogger logger("Level");
        EXPECT_EQ(logger.nDebug(), expected);
        testing::internal::CaptureStderr();
        logger.log("line");
        NBXLogger::flush();
        EXPECT_EQ(testing::internal::GetCapturedStderr() == "line\n", expected == 1);
        EXPECT_EQ(fs::exists(logger.loggingFilePath()), expected == 2) << expected;
    }
}

TEST_F(LoggerTest, RotatesOnlyPastTheLimit) {
    const NBXLogger logger("NBXSetting");
    EXPECT_EQ(logger.loggingFilePath(), logFolder + "/NBXSetting.log");
    EXPECT_EQ(logger.backupFilePath(), logFolder + "/_NBXSetting.log");
    std::ofstream(logger.loggingFilePath()) << std::string(5242880, 'x');
    std::ofstream(logger.backupFilePath()) << "old backup";
    EXPECT_FALSE(logger.logSizeGreaterThanLimit());
    logger.log("a");
    NBXLogger::flush();
    EXPECT_EQ(contents(logger.backupFilePath()), "old backup");
    EXPECT_TRUE(logger.logSizeGreaterThanLimit());
    logger.log("b 100%s");
    NBXLogger::flush();
    const std::string backup = contents(logger.backupFilePath());
    EXPECT_EQ(backup.size(), 5242880 + std::string("\n[yy/MM/dd|hh:mm:ss.SSSS] a").size());
    EXPECT_EQ(backup.back(), 'a');
    EXPECT_TRUE(std::regex_match(contents(logger.loggingFilePath()),
                                 std::regex("\n" + kStamp + "b 100%s")));

    // A backup that cannot be replaced leaves the log growing; the worker must not die.
    fs::remove(logger.backupFilePath());
    fs::create_directories(logger.backupFilePath() + "/full");
    std::ofstream(logger.loggingFilePath(), std::ios::app) << std::string(5242880, 'x');
    logger.log("c");
    NBXLogger::flush();
    EXPECT_EQ(contents(logger.loggingFilePath()).back(), 'c');
}

TEST_F(LoggerTest, ManyThreadsWriteEveryLineOnceAndWhole) {
    constexpr int kThreads = 8, kLines = 400;
    const NBXLogger first("Shared"), second("Shared");
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < kLines; ++i)
                (i % 2 ? first : second)
                    .log("thread " + std::to_string(t) + " line " + std::to_string(i));
        });
    for (auto& t : threads)
        t.join();
    NBXLogger::flush();
    std::istringstream text(contents(first.loggingFilePath()));
    std::string line;
    std::getline(text, line);
    EXPECT_EQ(line, "");
    std::set<std::string> seen;
    const std::regex entry(kStamp + "(thread \\d+ line \\d+)");
    while (std::getline(text, line)) {
        std::smatch m;
        ASSERT_TRUE(std::regex_match(line, m, entry)) << line;
        EXPECT_TRUE(seen.insert(m[2]).second) << "twice: " << line;
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(kThreads * kLines));
}

}  // namespace
}  // namespace nbx
