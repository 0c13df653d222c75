// nbx-cloud: calls one cloud operation from the command line and prints its outcome as JSON.
#include <cstdio>
#include <string>
#include <vector>

#include "CloudOperations.h"
#include "CommandLine.h"
#include "JSONKit.h"
#include "NBXCloudInterface.h"

namespace {

constexpr int kCallMade = 0;
constexpr int kNoInterface = 1;
constexpr int kUsageError = 2;

void printOutcome(bool result, const nbx::PropertyValue& returned,
                  const nbx::PropertyValue& error) {
    using nbx::cloudcli::printable;
    const auto outcome =
        nbx::PropertyValue::dictionary({{"result", result},
                                        {"returnedInformation", printable(returned)},
                                        {"errorInformation", printable(error)}});
    const auto json = nbx::JSONData(outcome);
    const std::string text = json ? std::string(json->begin(), json->end())
                                  : R"({"result":false,"returnedInformation":null,)"
                                    R"("errorInformation":{"ErrorDescription":"unprintable"}})";
    std::printf("%s\n", text.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    nbx::NBXWebServiceRequest::initializeTransport();
    std::string error;
    const auto line =
        nbx::cloudcli::parseCommandLine(std::vector<std::string>(argv + 1, argv + argc), &error);
    if (!line) {
        std::fprintf(stderr, "nbx-cloud: %s\n\n%s", error.c_str(),
                     nbx::cloudcli::usageText().c_str());
        return kUsageError;
    }
    if (line->help) {
        std::printf("%s", nbx::cloudcli::usageText().c_str());
        return kCallMade;
    }
    nbx::PropertyValue returned, failure;
    auto cloud = nbx::NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        nbx::PropertyValue::dictionary({{"Debug", line->debug}}), nullptr, &failure);
    if (!cloud) {
        printOutcome(false, returned, failure);
        return kNoInterface;
    }
    const auto* named = nbx::cloudcli::findCloudOperation(line->operation);
    const bool result = ((*cloud).*(named->operation))(line->input, &returned, &failure);
    printOutcome(result, returned, failure);
    return kCallMade;
}
