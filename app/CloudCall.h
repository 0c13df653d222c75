#pragma once

#include <string>

#include "PropertyValue.h"

namespace nbx {

class AppDelegate;
class NBXCloudInterface;

// One exchange with the service as the application makes them: a fresh interface, the
// signed-in sender's phone first (the request may name another), success only with
// "success" and no "errorCode", both answers logged. Any thread.
struct CloudAnswer {
    using Operation = bool (NBXCloudInterface::*)(const PropertyValue&, PropertyValue*,
                                                  PropertyValue*);

    static CloudAnswer call(AppDelegate& app, const std::string& startLine, Operation operation,
                            const PropertyValue& request);

    bool success = false;
    // An interface to the service could be made.
    bool reached = false;
    // The returned information, or the error information of a failure.
    PropertyValue information;
    PropertyValue errorCode;
};

}  // namespace nbx
