#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Configuration.h"

namespace nbx {
namespace {

TEST(Configuration, EnvironmentOverridesDefaultsAndEmptyMeansDefault) {
    const struct {
        const char* variable;
        std::string (*read)();
        std::string fallback;
    } cases[] = {
        {"NBX_HELPER_FOLDER", Configuration::helperApplicationFolder,
         "/Library/Printers/Valmora/Nimbrix/"},
        {"NBX_PPD_FILE", Configuration::printerDescriptionFile,
         "/Library/Printers/PPDs/Contents/Resources/Nimbrix.gz"},
    };
    for (const auto& c : cases) {
        for (const std::string value : {"", "/elsewhere"}) {
            ::setenv(c.variable, value.c_str(), 1);
            EXPECT_EQ(c.read(), value.empty() ? c.fallback : value) << c.variable;
        }
        ::unsetenv(c.variable);
        EXPECT_EQ(c.read(), c.fallback) << c.variable;
    }
}

TEST(Configuration, ResourcesSitBesideTheProgramsFolder) {
    ::unsetenv("NBX_RESOURCES");
    const std::string folder = Configuration::resourcesFolder();
    EXPECT_TRUE(folder.ends_with("/share/nimbrix")) << folder;
    EXPECT_EQ(folder.find("/bin/"), std::string::npos) << folder;
}

}  // namespace
}  // namespace nbx
