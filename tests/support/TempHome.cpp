#include "TempHome.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace nbx::test {

namespace {

std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

void restore(const char* name, const std::optional<std::string>& value) {
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
}

}  // namespace

TempHome::TempHome() : oldHome_(environment("HOME")), oldTmpdir_(environment("TMPDIR")) {
    std::string pattern = (std::filesystem::temp_directory_path() / "nbx-home-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary home");
    root_ = pattern;
    std::filesystem::create_directories(root_ + "/tmp");
    setenv("HOME", root_.c_str(), 1);
    setenv("TMPDIR", temporaryFolder().c_str(), 1);
}

TempHome::~TempHome() {
    restore("HOME", oldHome_);
    restore("TMPDIR", oldTmpdir_);
    std::error_code ec;
    std::filesystem::remove_all(root_, ec);
}

std::string TempHome::appSupportFolder() const {
    return root_ + "/Library/Application Support/Valmora/Nimbrix";
}

}  // namespace nbx::test
