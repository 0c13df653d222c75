#pragma once

#include <string>
#include <utility>
#include <vector>

#include "PropertyValue.h"

namespace nbx::emulator {

// Every request the emulator received, as tests read it back. Bounded so a long manual session
// cannot grow it without limit: the oldest entries go first.
class RequestLog {
public:
    static constexpr std::size_t kMaxEntries = 10000;

    void add(const std::string& method, const std::string& path, const std::string& query,
             const std::vector<std::pair<std::string, std::string>>& headers,
             const std::string& body);
    void clear() { entries_.clear(); }
    PropertyValue toValue() const;

private:
    PropertyArray entries_;
};

}  // namespace nbx::emulator
