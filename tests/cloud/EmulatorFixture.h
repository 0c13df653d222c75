#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "CloudEmulator.h"
#include "NBXCloudInterface.h"
#include "ScopedEnv.h"
#include "TempHome.h"

namespace nbx::test {

constexpr const char* kCountryCode = "44";
constexpr const char* kPhoneNumber = "7700900123";
constexpr const char* kAccessToken = "T1";

using Operation = bool (NBXCloudInterface::*)(const PropertyValue&, PropertyValue*, PropertyValue*);

// Test tables are written as JSON text; null when the text is not JSON.
PropertyValue fromJSON(std::string_view text);

// A private home, the emulator seeded with one user and one agent, and an interface made
// through the lookup.
class EmulatorFixture : public ::testing::Test {
public:
    // The caller's sender keys plus the keys of the JSON object `extra`.
    static PropertyValue sender(std::string_view extra = "{}");
    // The sender keys with a document to upload.
    static PropertyValue upload(const std::string& fileName, const Bytes& document);

protected:
    void SetUp() override;

    // The request log's last cloud entry; null when nothing was logged.
    PropertyValue lastRequest();
    // Headers of a logged request without the ones the transport adds by itself.
    static std::map<std::string, std::string> applicationHeaders(const PropertyValue& entry);
    // The fixture's values for the space-separated header `names`; empty ones are left out.
    std::map<std::string, std::string> expectedHeaders(const std::string& names);
    NBXCommunicationInterface& wire() { return *cloud->communicationInterface(); }
    // A fault from JSON text, answering `body` as it stands when given.
    void injectFault(std::string_view json, const char* body = nullptr);

    TempHome home;
    CloudEmulator emulator;
    std::unique_ptr<ScopedEnv> lookup;
    std::unique_ptr<NBXCloudInterface> cloud;
};

}  // namespace nbx::test

namespace nbx {
// Readable values in test failure messages.
inline void PrintTo(const PropertyValue& value, std::ostream* out) {
    *out << value.description();
}
}  // namespace nbx
