#pragma once

#include "UrlOpener.h"

namespace nbx {

class QtUrlOpener : public UrlOpener {
public:
    void openURL(const std::string& url) override;
};

}  // namespace nbx
