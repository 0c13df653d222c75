// Finding the service, and the identity the client shows it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "EmulatorFixture.h"
#include "PropertyListFile.h"

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
    // The lookup is the only request an interface makes while being created.
    PropertyValue lookupQuery() { return emulator.requests().at(0)["query"]; }
    PropertyValue sentBody() { return fromJSON(lastRequest()["body"].string().value_or("")); }
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
        {"", std::nullopt, ".", head},
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
        EXPECT_EQ(lookupQuery(), PropertyValue(c.query));
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
        if (!c.errorCode.isNull()) {
            EXPECT_FALSE(fresh);
        } else {
            ASSERT_TRUE(fresh);
            EXPECT_EQ(fresh->communicationInterface()->nbxResolvedDomain(), "second");
            EXPECT_EQ(fresh->communicationInterface()->nbxResolvedProtocol(), "https://");
        }
    }
}

TEST_F(CloudLookupTest, AgreementFlagsFollowTheInstallerSettings) {
    const std::string file = NBXCloudInterface::installerSettingsFile();
    const struct {
        const char* name;
        const char* settings;  // nullptr: no settings file
        const char* agreed;
    } cases[] = {
        {"no file", nullptr, "true"},
        {"agreed", R"({"Other":1,"MarketAgreementStatus":1})", "true"},
        {"declined", R"({"Other":1,"MarketAgreementStatus":0})", "false"},
        {"declined as text", R"({"Other":1,"MarketAgreementStatus":"0"})", "false"},
        {"no key", R"({"Other":1})", "true"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(file);
        if (c.settings) {
            std::filesystem::create_directories(std::filesystem::path(file).parent_path());
            ASSERT_TRUE(writePropertyListFile(file, fromJSON(c.settings)));
        }
        EXPECT_TRUE(cloud->updateEULAForSuppliesToServer(sender(), nullptr, nullptr));
        EXPECT_EQ(sentBody(),
                  PropertyValue::dictionary({{"isAgreedSuppliesMarketEULA", "false"},
                                             {"isAgreedSuppliesDeviceEULA", c.agreed}}));
        EXPECT_TRUE(cloud->updateMarketingEULAToServer(sender(), nullptr, nullptr));
        EXPECT_EQ(sentBody(), PropertyValue::dictionary({{"clientMarketingEula", c.agreed}}));
    }
}

TEST_F(CloudLookupTest, SettingAndClientInformationWrappers) {
    ScopedEnv locale("LC_ALL", "de_AT.UTF-8");
    PropertyValue untouched = "untouched";
    EXPECT_TRUE(cloud->updateNbxd2SettingInformation(sender(), &untouched, &untouched));
    EXPECT_EQ(untouched, PropertyValue("untouched"));
    EXPECT_EQ(sentBody(), PropertyValue::dictionary({{"clientPushNoti", "false"}}));
    EXPECT_TRUE(cloud->registerNbxd2InformationToServer(sender(), nullptr, nullptr));
    const PropertyValue body = sentBody();
    EXPECT_EQ(body["clientOS"], PropertyValue("Mac"));
    EXPECT_EQ(body["clientOSLanguage"], PropertyValue("de"));
    EXPECT_EQ(body["clientSysLocation"], PropertyValue("AT"));
    // An answer without "success" true makes a wrapper fail.
    injectFault(R"({"path":"/idmmgtsvc/user/nbxd2/setting"})", R"({"success":false})");
    EXPECT_FALSE(cloud->updateNbxd2SettingInformation(sender(), nullptr, nullptr));

    const std::pair<const char*, const char*> regions[] = {
        {"en_US", "US"}, {"en", "en"}, {"zh_Hant_TW", "Hant_TW"}, {"", ""}};
    for (const auto& [name, region] : regions)
        EXPECT_EQ(NBXCloudInterface::systemLocationString(name), region);
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
        const auto headers = applicationHeaders(lastRequest());
        EXPECT_EQ(headers.contains("accessToken") ? std::optional(headers.at("accessToken"))
                                                  : std::nullopt,
                  token);
    }
}

}  // namespace
}  // namespace nbx::test
