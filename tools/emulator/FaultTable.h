#pragma once

#include <optional>
#include <string>
#include <vector>

#include "PropertyValue.h"

namespace nbx::emulator {

// One misbehaviour to stage on matching requests.
struct Fault {
    std::string path;    // exact path, or "*"
    std::string method;  // empty: any method
    int delayMs = 0;
    int status = 0;  // 0: keep the real status
    std::optional<std::string> body;
    bool emptyBody = false;
    bool notJson = false;
    bool truncate = false;
    bool drop = false;
    int redirects = 0;
    int times = 1;  // 0: forever
};

// Faults in the order they were added; the first match wins and is used up.
class FaultTable {
public:
    // Answers an error text when the description is not a valid fault.
    static std::optional<std::string> parse(const PropertyValue& description, Fault* fault);

    void add(Fault fault);
    void clear();
    // `apiPath` is the path without the service prefix, so a fault may name either form.
    std::optional<Fault> take(const std::string& method, const std::string& path,
                              const std::string& apiPath);

private:
    std::vector<Fault> faults_;
};

}  // namespace nbx::emulator
