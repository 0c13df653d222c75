// Finding the service, and the identity the client shows it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "EmulatorFixture.h"
#include "JSONKit.h"
#include "LoopbackServer.h"
#include "PropertyListFile.h"

namespace nbx::test {
namespace {

PropertyValue lookupQuery(CloudEmulator& emulator) {
    const PropertyValue log = emulator.requests();
    for (std::size_t i = 0; i < log.size(); ++i) {
        if (log.at(i)["path"] == PropertyValue("/nbx/v2/svclookup/service")) return log.at(i);
    }
    return {};
}

class CloudLookupTest : public EmulatorFixture {
protected:
    std::unique_ptr<NBXCloudInterface> lookUp(PropertyValue* error,
                                              PropertyValue configuration = {}) {
        emulator.clearRequests();
        return NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(configuration,
                                                                                    nullptr, error);
    }
    void writeInstallerFile(const std::string& name, const std::string& content) {
        const auto folder = std::filesystem::path(home.temporaryFolder()) / "NBXInst_Installer";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / name, std::ios::binary) << content;
    }
};

TEST_F(CloudLookupTest, QueryCarriesTheClientAndTheAnswerNamesTheEndpoint) {
    PropertyValue returned, error;
    emulator.clearRequests();
    auto fresh = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary({{"clientRegion", "eu west"}, {"clientType", ""}}), &returned,
        &error);
    ASSERT_TRUE(fresh) << error.description();
    EXPECT_TRUE(returned["serviceList"].isArray());
    const auto& wire = *fresh->communicationInterface();
    EXPECT_EQ(wire.nbxResolvedProtocol(), "http://");
    EXPECT_EQ(wire.nbxResolvedDomain(), emulator.hostPort());
    EXPECT_EQ(wire.nbxResolvedAPIServer(), "/nbx/v2");
    const PropertyValue sent = lookupQuery(emulator);
    EXPECT_EQ(sent["method"], PropertyValue("GET"));
    EXPECT_EQ(sent["query"], PropertyValue("clientType=nbxPCAgent_MAC&clientVender=valmora&"
                                           "clientVer=2.00.125&clientRegion=eu%20west&"
                                           "serviceType=nbxCrtSvc"));
}

TEST_F(CloudLookupTest, InstallerVersionFileDecidesVersionHeaders) {
    struct Case {
        const char* file;
        std::optional<std::string> major, minor, query;
    };
    const Case cases[] = {
        {"3.1.7", "3", "1.7", "clientVer=3.1.7&"},
        {"4.02.300\n", "4", "02.300\n", "clientVer=4.02.300%0A&"},
        {"3.1", std::nullopt, ".", std::nullopt},
        {"", std::nullopt, ".", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        writeInstallerFile("version.txt", c.file);
        PropertyValue error;
        auto fresh = lookUp(&error);
        ASSERT_TRUE(fresh) << error.description();
        const auto& wire = *fresh->communicationInterface();
        EXPECT_EQ(wire.kclientVersionMajorNum(), c.major);
        EXPECT_EQ(wire.kclientVersionMinorNum(), c.minor);
        const std::string query = lookupQuery(emulator)["query"].string().value_or("");
        if (c.query) {
            EXPECT_NE(query.find(*c.query), std::string::npos) << query;
        } else {
            EXPECT_EQ(query, "clientType=nbxPCAgent_MAC&clientVender=valmora");
        }
    }
}

TEST_F(CloudLookupTest, LookupFailuresGiveNoInterfaceAndSayWhy) {
    struct Case {
        const char* name;
        PropertyValue fault;
        PropertyValue errorCode;
        std::optional<std::string> description;
    };
    const auto f = [](std::initializer_list<PropertyDictionary::Entry> e) {
        PropertyValue fault = PropertyValue::dictionary({{"path", "/svclookup/service"}});
        for (const auto& [k, v] : e)
            fault.set(k, v);
        return fault;
    };
    const Case cases[] = {
        {"not JSON", f({{"notJson", true}}), 1005, "Unable to parse the JSON response from Server"},
        {"refused", f({{"body", R"({"success":false,"errorCode":"E7","errorReason":"closed"})"}}),
         "E7", "closed"},
        {"no service list", f({{"body", R"({"success":true})"}}), 1001,
         "There is no Error information from Communication Interface"},
        {"entry without path",
         f({{"body", R"({"success":"true","serviceList":[{"domain":"h",)"
                     R"("protocol":"http://"}]})"}}),
         1001, std::nullopt},
        {"empty answer", f({{"status", 503}, {"emptyBody", true}}), 503, "Service Unavailable"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        emulator.clearFaults();
        emulator.injectFault(c.fault);
        PropertyValue error;
        EXPECT_FALSE(lookUp(&error));
        EXPECT_EQ(error["errorCode"], c.errorCode) << error.description();
        if (c.description) {
            EXPECT_EQ(error["ErrorDescription"], PropertyValue(*c.description));
        }
    }
}

TEST_F(CloudLookupTest, LastServiceEntryWins) {
    emulator.injectFault(PropertyValue::dictionary(
        {{"path", "/svclookup/service"},
         {"body",
          R"({"success":true,"serviceList":[{"domain":"first","path":"/a",)"
          R"("protocol":"http://"},{"domain":"second","path":"/b","protocol":"https://"}]})"}}));
    PropertyValue error;
    auto fresh = lookUp(&error);
    ASSERT_TRUE(fresh) << error.description();
    EXPECT_EQ(fresh->communicationInterface()->nbxResolvedDomain(), "second");
    EXPECT_EQ(fresh->communicationInterface()->nbxResolvedProtocol(), "https://");
}

TEST(CloudLookupUnreachable, ConnectionRefusedGivesStatusZero) {
    TempHome home;
    ScopedEnv lookup("NBX_LOOKUP_SERVER", "127.0.0.1:" + std::to_string(closedLoopbackPort()));
    PropertyValue error;
    EXPECT_FALSE(NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary(), nullptr, &error));
    EXPECT_EQ(error["errorCode"], PropertyValue(0));
    EXPECT_EQ(error["ErrorDescription"], PropertyValue("No Response"));
}

// The wrappers read the installer's choices and send their own bodies.
class CloudWrapperTest : public CloudLookupTest {
protected:
    PropertyValue sentBody() {
        const auto body = lastRequest()["body"].string().value_or("");
        return objectFromJSONData(std::string_view(body)).value_or(PropertyValue());
    }
};

TEST_F(CloudWrapperTest, AgreementFlagsFollowTheInstallerSettings) {
    struct Case {
        const char* name;
        std::optional<PropertyValue> status;  // none: no settings file
        const char* device;
        const char* marketing;
    };
    const Case cases[] = {
        {"no file", std::nullopt, "true", "true"},
        {"agreed", PropertyValue(1), "true", "true"},
        {"declined", PropertyValue(0), "false", "false"},
        {"declined as text", PropertyValue("0"), "false", "false"},
        {"no key", PropertyValue(), "true", "true"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(NBXCloudInterface::installerSettingsFile());
        if (c.status) {
            std::filesystem::create_directories(
                std::filesystem::path(NBXCloudInterface::installerSettingsFile()).parent_path());
            PropertyValue settings = PropertyValue::dictionary({{"Other", 1}});
            if (!c.status->isNull()) settings.set("MarketAgreementStatus", *c.status);
            ASSERT_TRUE(
                writePropertyListFile(NBXCloudInterface::installerSettingsFile(), settings));
        }
        EXPECT_TRUE(cloud->updateEULAForSuppliesToServer(sender(), nullptr, nullptr));
        EXPECT_EQ(sentBody(),
                  PropertyValue::dictionary({{"isAgreedSuppliesMarketEULA", "false"},
                                             {"isAgreedSuppliesDeviceEULA", c.device}}));
        EXPECT_TRUE(cloud->updateMarketingEULAToServer(sender(), nullptr, nullptr));
        EXPECT_EQ(sentBody(), PropertyValue::dictionary({{"clientMarketingEula", c.marketing}}));
    }
}

TEST_F(CloudWrapperTest, SettingAndClientInformationWrappers) {
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
    EXPECT_EQ(body["clientOSVersion"].string(), NBXCloudInterface::MacOSVersionString());
    // An answer without "success" true makes a wrapper fail.
    emulator.injectFault(PropertyValue::dictionary(
        {{"path", "/idmmgtsvc/user/nbxd2/setting"}, {"body", R"({"success":false})"}}));
    EXPECT_FALSE(cloud->updateNbxd2SettingInformation(sender(), nullptr, nullptr));
}

TEST(CloudSystemFacts, LocationIsTheRegionOfTheLocale) {
    const std::pair<const char*, const char*> cases[] = {
        {"en_US", "US"}, {"de_AT", "AT"}, {"en", "en"}, {"zh_Hant_TW", "Hant_TW"}, {"", ""}};
    for (const auto& [locale, region] : cases)
        EXPECT_EQ(NBXCloudInterface::systemLocationString(locale), region);
}

// Verifying a PIN replaces the token, so the next call carries the new one, or none.
TEST_F(CloudLookupTest, ValidatedPinReplacesTheAccessToken) {
    const auto ask = PropertyValue::dictionary({{"identifier", "5550199"}, {"countryCode", "1"}});
    ASSERT_TRUE(cloud->requestAuthentication(ask, nullptr, nullptr));
    const auto pin = emulator.latestPin("1", "5550199");
    ASSERT_TRUE(pin);
    PropertyValue answer, error;
    ASSERT_TRUE(cloud->validateIdentifier(
        PropertyValue::dictionary(
            {{"senderPhoneNumber", "5550199"}, {"countryCode", "1"}, {"pinCode", *pin}}),
        &answer, &error))
        << error.description();
    ASSERT_TRUE(answer["accessToken"].isString()) << answer.description();
    EXPECT_EQ(wire().accessToken(), answer["accessToken"].string());

    emulator.injectFault(PropertyValue::dictionary({{"path", "/idmmgtsvc/user/verification"},
                                                    {"method", "PUT"},
                                                    {"body", R"({"success":true})"}}));
    ASSERT_TRUE(cloud->validateIdentifier(
        PropertyValue::dictionary(
            {{"senderPhoneNumber", "5550199"}, {"countryCode", "1"}, {"pinCode", "1"}}),
        nullptr, nullptr));
    EXPECT_EQ(wire().accessToken(), std::nullopt);
    cloud->getAgentState(sender({{"agentId", PropertyValue::array({"a1"})}}), nullptr, nullptr);
    EXPECT_EQ(applicationHeaders(lastRequest()).count("accessToken"), 0u);
}

}  // namespace
}  // namespace nbx::test
