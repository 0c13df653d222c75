#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace nbx::test {

// Sets (or, with no value, removes) an environment variable for the lifetime of the object,
// then puts back what was there before.
class ScopedEnv {
public:
    ScopedEnv(std::string name, std::optional<std::string> value) : name_(std::move(name)) {
        if (const char* old = std::getenv(name_.c_str())) previous_ = old;
        apply(value);
    }
    ScopedEnv(std::string name, const char* value)
        : ScopedEnv(std::move(name), std::optional<std::string>(value)) {}
    ~ScopedEnv() { apply(previous_); }

    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void apply(const std::optional<std::string>& value) const {
        if (value) {
            setenv(name_.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name_.c_str());
        }
    }

    std::string name_;
    std::optional<std::string> previous_;
};

}  // namespace nbx::test
