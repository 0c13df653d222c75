#pragma once

#include <string>
#include <vector>

namespace nbx {

struct AlertRequest {
    std::string title;
    std::string text;
    std::vector<std::string> buttons;  // the first is the default
};

// Every modal alert of the application goes through this one interface.
class AlertPresenter {
public:
    virtual ~AlertPresenter() = default;
    // Shows the alert and answers the index of the button the user chose.
    virtual int runModal(const AlertRequest& request) = 0;
};

}  // namespace nbx
