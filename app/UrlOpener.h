#pragma once

#include <string>

namespace nbx {

// Opens web pages in the user's browser.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;
    virtual void openURL(const std::string& url) = 0;
};

}  // namespace nbx
