#include "TempHome.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace nbx::test {

namespace {

std::string makeRoot() {
    std::string pattern = (std::filesystem::temp_directory_path() / "nbx-home-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary home");
    std::filesystem::create_directories(pattern + "/tmp");
    return pattern;
}

}  // namespace

TempHome::TempHome()
    : root_(makeRoot()), home_("HOME", root_), tmpdir_("TMPDIR", temporaryFolder()) {}

TempHome::~TempHome() {
    std::error_code ec;
    std::filesystem::remove_all(root_, ec);
}

std::string TempHome::appSupportFolder() const {
    return root_ + "/Library/Application Support/Valmora/Nimbrix";
}

}  // namespace nbx::test
