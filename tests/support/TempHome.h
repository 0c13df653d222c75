#pragma once

#include <string>

#include "ScopedEnv.h"

namespace nbx::test {

// A private home folder for one test: HOME points at a fresh folder, TMPDIR at a "tmp" folder
// inside it, both restored and the folder removed when the object goes away.
class TempHome {
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    const std::string& path() const { return root_; }
    // The temporary folder, with the trailing "/" the application expects.
    std::string temporaryFolder() const { return root_ + "/tmp/"; }
    // The per-user state folder, which the application creates on first use.
    std::string appSupportFolder() const;

private:
    std::string root_;
    ScopedEnv home_, tmpdir_;
};

}  // namespace nbx::test
