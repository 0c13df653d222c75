#pragma once

#include <string>

namespace nbx {

// A shared library opened when first needed instead of at program start: a window should not
// wait for libraries, and their dependencies, that it may never use. It stays open.
class SharedLibrary {
public:
    explicit SharedLibrary(const char* soname);

    // Binds one entry point; false, with the reason in why(), when it or the library is missing.
    template <typename F>
    bool bind(const char* name, F& slot) {
        slot = reinterpret_cast<F>(find(name));
        return slot != nullptr;
    }
    const std::string& why() const { return why_; }

private:
    void* find(const char* name);

    std::string soname_;
    void* handle_;
    std::string why_;
};

}  // namespace nbx
