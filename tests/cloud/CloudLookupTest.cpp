// Finding the service, and the identity the client shows it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "EmulatorFixture.h"

namespace nbx::test {
namespace {

class CloudLookupTest : public EmulatorFixture {
protected:
    std::unique_ptr<NBXCloudInterface> lookUp(PropertyValue* error,
                                              const PropertyValue& configuration = {},
                                              PropertyValue* returned = nullptr) {
        emulator.clearRequests();
        return NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
            configuration, returned, error);
    }
};

// The client version comes from the installer's file, else from the bundle; without one the
// query stops short.
TEST_F(CloudLookupTest, QueryCarriesTheClientAndItsVersion) {
    const std::string head = "clientType=nbxPCAgent_MAC&clientVender=valmora";
    const std::string tail = "&clientRegion=eu%20west&serviceType=nbxCrtSvc";
    const struct {
        const char* file;  // nullptr: no installer file
        std::optional<std::string> major, minor;
        std::string query;
    } cases[] = {
        {nullptr, "2", "00.125", head + "&clientVer=2.00.125" + tail},
        {"3.1.7", "3", "1.7", head + "&clientVer=3.1.7" + tail},
        {"4.02.300\n", "4", "02.300\n", head + "&clientVer=4.02.300%0A" + tail},
        {"3.1", std::nullopt, ".", head},
    };
    const auto folder = std::filesystem::path(home.temporaryFolder()) / "NBXInst_Installer";
    std::filesystem::create_directories(folder);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file ? c.file : "no file");
        if (c.file) std::ofstream(folder / "version.txt", std::ios::binary) << c.file;
        PropertyValue returned, error;
        auto fresh =
            lookUp(&error, fromJSON(R"({"clientRegion":"eu west","clientType":""})"), &returned);
        ASSERT_TRUE(fresh) << error.description();
        EXPECT_TRUE(returned["serviceList"].isArray());
        EXPECT_EQ(fresh->communicationInterface()->kclientVersionMajorNum(), c.major);
        EXPECT_EQ(fresh->communicationInterface()->kclientVersionMinorNum(), c.minor);
        // The lookup is the only request an interface makes while being created.
        EXPECT_EQ(emulator.requests().at(0)["query"], PropertyValue(c.query));
    }
}

TEST_F(CloudLookupTest, LookupAnswersGiveAnEndpointOrSayWhyNot) {
    const struct {
        const char* name;
        const char* fault;  // JSON keys added to the fault on the lookup path
        const char* body;
        PropertyValue errorCode;  // null: an endpoint is found
        const char* description = nullptr;
    } cases[] = {
        {"not JSON", R"("notJson":true)", nullptr, 1005,
         "Unable to parse the JSON response from Server"},
        {"refused", R"("status":200)",
         R"({"success":false,"errorCode":"E7","errorReason":"closed"})", "E7", "closed"},
        {"no service list", R"("status":200)", R"({"success":true})", 1001,
         "There is no Error information from Communication Interface"},
        {"entry without path", R"("status":200)",
         R"({"success":"true","serviceList":[{"domain":"h","protocol":"http://"}]})", 1001},
        {"empty answer", R"("status":503,"emptyBody":true)", nullptr, 503, "Service Unavailable"},
        // Of several entries the last one wins.
        {"two entries",
         R"("status":200)",
         R"({"success":true,"serviceList":[{"domain":"first","path":"/a","protocol":"http://"},)"
         R"({"domain":"second","path":"/b","protocol":"https://"}]})",
         {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        emulator.clearFaults();
        injectFault(std::string(R"({"path":"/svclookup/service",)") + c.fault + "}", c.body);
        PropertyValue error;
        const auto fresh = lookUp(&error);
        EXPECT_EQ(error["errorCode"], c.errorCode) << error.description();
        if (c.description) {
            EXPECT_EQ(error["ErrorDescription"], PropertyValue(c.description));
        }
        EXPECT_EQ(!fresh, !c.errorCode.isNull());
        if (fresh) {
            EXPECT_EQ(fresh->communicationInterface()->nbxResolvedDomain(), "second");
            EXPECT_EQ(fresh->communicationInterface()->nbxResolvedProtocol(), "https://");
        }
    }
}

// Verifying a PIN replaces the token, so the next call carries the new one, or none.
TEST_F(CloudLookupTest, ValidatedPinReplacesTheAccessToken) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {R"({"success":true,"accessToken":"T9"})", "T9"}, {R"({"success":true})", std::nullopt}};
    for (const auto& [answer, token] : cases) {
        SCOPED_TRACE(answer);
        emulator.clearFaults();
        injectFault(R"({"path":"/idmmgtsvc/user/verification"})", answer);
        ASSERT_TRUE(cloud->validateIdentifier(
            fromJSON(R"({"senderPhoneNumber":"5550199","countryCode":"1","pinCode":"1"})"), nullptr,
            nullptr));
        EXPECT_EQ(wire().accessToken(), token);
        cloud->getAgentState(sender(R"({"agentId":["a1"]})"), nullptr, nullptr);
        EXPECT_EQ(applicationHeaders(lastRequest())["accessToken"], token.value_or(""));
    }
}

}  // namespace
}  // namespace nbx::test
