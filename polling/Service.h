#pragma once

#include <memory>
#include <string>

#include "NBXCloudInterface.h"
#include "PropertyValue.h"

namespace nbx::polling {

// What one call to the service came to.
struct Outcome {
    bool ok = false;
    PropertyValue answer;
    // The service's own error code as text; empty when it gave none (no answer at all).
    std::string errorCode;
    std::string reason;
};

using CloudCall = bool (NBXCloudInterface::*)(const PropertyValue&, PropertyValue*, PropertyValue*);

// Text or a whole number as text; "" for anything else. The service sends ids either way.
std::string textOf(const PropertyValue& value);

// A fresh interface through the lookup server; it reads the stored access token, so a sign-in
// made after this program started is picked up by the next one.
std::unique_ptr<NBXCloudInterface> connectService(std::string* whyNot);
// Runs one façade operation; ok only for an answer whose "success" is true.
Outcome callService(NBXCloudInterface& cloud, CloudCall call, const PropertyValue& input);

}  // namespace nbx::polling
