#pragma once

#include <string_view>
#include <vector>

#include "NBXCloudInterface.h"

namespace nbx::cloudcli {

using Operation = bool (NBXCloudInterface::*)(const PropertyValue&, PropertyValue*, PropertyValue*);

struct NamedOperation {
    std::string_view name;
    Operation operation;
};

// Every operation of the cloud interface the tool can call, by its name.
const std::vector<NamedOperation>& cloudOperations();
const NamedOperation* findCloudOperation(std::string_view name);

}  // namespace nbx::cloudcli
