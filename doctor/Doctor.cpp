#include "Doctor.h"

#include <netdb.h>

#include <set>

#include "Configuration.h"
#include "FileChecks.h"
#include "NBXAuthenticationManger.h"
#include "NBXCloudInterface.h"
#include "NBXWebServiceRequest.h"
#include "PollingCheck.h"
#include "PrintingChecks.h"
#include "PropertyListFile.h"
#include "StateFiles.h"

namespace nbx::doctor {

namespace {

const char* const kSignInAgain = "sign in again in Nimbrix (Settings, My Profile)";

std::string textOf(const PropertyValue& value) {
    if (auto text = value.string()) return *text;
    if (auto number = value.integer()) return std::to_string(*number);
    return {};
}

// The host of "host", "host:port" or "[v6]:port".
std::string hostOf(const std::string& server) {
    if (!server.empty() && server.front() == '[') return server.substr(1, server.find(']') - 1);
    const auto colon = server.find(':');
    return colon != std::string::npos && server.find(':', colon + 1) == std::string::npos
               ? server.substr(0, colon)
               : server;
}

bool resolves(const std::string& host) {
    addrinfo* found = nullptr;
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    const bool ok = getaddrinfo(host.c_str(), nullptr, &hints, &found) == 0;
    if (found) freeaddrinfo(found);
    return ok;
}

// An error dictionary of the cloud interface, or a service answer, in a few words.
std::string describe(const PropertyValue& error) {
    const std::string code = textOf(error["errorCode"]);
    std::string reason =
        error["ErrorDescription"].string().value_or(error["errorReason"].string().value_or(""));
    if (code.empty() || code == "0") return reason.empty() ? "no answer" : reason;
    return "error " + code + (reason.empty() ? "" : ": " + reason);
}

}  // namespace

Doctor::Doctor() : Doctor(Options()) {}
Doctor::Doctor(Options options) : options_(options) {}
Doctor::~Doctor() = default;

Report Doctor::run() {
    Report report;
    report.add(lookup());
    report.add(api());
    report.add(identity());
    report.add(token());
    report.add(PrintingChecks::queue());
    report.add(PrintingChecks::backend());
    report.add(PollingCheck::run(options_.agentReplyWait));
    report.add(FileChecks::helpers());
    report.add(FileChecks::state());
    report.add(FileChecks::log());
    return report;
}

CheckResult Doctor::lookup() {
    const std::string server = Configuration::lookupServer();
    const std::string remedy =
        "check the network connection and the lookup server (NBX_LOOKUP_SERVER, now " + server +
        ")";
    if (!resolves(hostOf(server)))
        return CheckResult::fail("lookup", "the lookup server " + server + " does not resolve",
                                 remedy);
    PropertyValue error;
    cloud_ = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary(), nullptr, &error);
    if (!cloud_)
        return CheckResult::fail(
            "lookup",
            "the lookup server " + server + " named no endpoint (" + describe(error) + ")", remedy);
    cloud_->communicationInterface()->setRequestTimeout(options_.requestTimeout);
    return CheckResult::pass("lookup", "the lookup server " + server + " names " + endpoint());
}

std::string Doctor::endpoint() const {
    const auto* wire = cloud_->communicationInterface();
    return NBXCommunicationInterface::constructURLStringWithProtocol(
               wire->nbxResolvedProtocol(), wire->nbxResolvedDomain(), wire->nbxResolvedAPIServer(),
               "/")
        .value_or("?");
}

// Any answer below 500 shows the service is there; which operation it has at the root does
// not matter.
CheckResult Doctor::api() {
    if (!cloud_) return CheckResult::skipped("api", "lookup");
    const std::string url = endpoint();
    NBXWebServiceRequest request(url, options_.requestTimeout);
    request.executeRequest();
    const int status = request.httpStatusCode();
    const std::string remedy = "check the network connection (a firewall or proxy may block " +
                               url + "); when it is fine, the service is down: try again later";
    if (status <= 0)
        return CheckResult::fail("api", "the endpoint " + url + " does not answer", remedy);
    if (status >= 500)
        return CheckResult::fail(
            "api", "the endpoint " + url + " answers HTTP " + std::to_string(status), remedy);
    apiAnswers_ = true;
    return CheckResult::pass("api", "the endpoint " + url + " answers");
}

CheckResult Doctor::identity() {
    phone_ = NBXAuthenticationManger::returnAuthInfo();
    if (!phone_)
        return CheckResult::fail("identity",
                                 "no phone number in " + NBXAuthenticationManger::myInfoPath(),
                                 kSignInAgain);
    const std::string accountFile = StateFiles::pathTo(StateFiles::kAccountFile);
    const auto account = readPropertyListFile(accountFile);
    const Bytes* cipher = account ? (*account)["accessToken"].data() : nullptr;
    if (!cipher)
        return CheckResult::fail("identity", "no access token in " + accountFile, kSignInAgain);
    accessToken_ = stringByAESDecryption(*cipher);
    if (!accessToken_)
        return CheckResult::fail("identity",
                                 "the access token in " + accountFile + " cannot be deciphered",
                                 std::string(kSignInAgain) + "; that stores a fresh token");
    return CheckResult::pass("identity", "signed in as +" + (*phone_)[0] + " " + (*phone_)[1]);
}

CheckResult Doctor::token() {
    if (!apiAnswers_) return CheckResult::skipped("token", "api");
    if (!accessToken_) return CheckResult::skipped("token", "identity");
    static const std::set<std::string> kRefusals = {"61000", "63000", "64000", "65000", "13000"};
    cloud_->communicationInterface()->setAccessToken(accessToken_);
    const PropertyValue input = PropertyValue::dictionary(
        {{"senderCountryCode", (*phone_)[0]}, {"senderPhoneNumber", (*phone_)[1]}});
    PropertyValue answer, error;
    if (cloud_->requestToGetUserAgentQuantity(input, &answer, &error) && isResponseASuccess(answer))
        return CheckResult::pass("token", "the service accepts the access token");
    const std::string code = textOf(answer["errorCode"]);
    if (kRefusals.count(code))
        return CheckResult::fail("token",
                                 "the service refuses the access token (" + describe(answer) + ")",
                                 kSignInAgain);
    return CheckResult::fail("token",
                             "the service did not confirm the access token (" +
                                 describe(answer["errorCode"].isNull() ? error : answer) + ")",
                             "try again later; if it keeps failing, " + std::string(kSignInAgain));
}

}  // namespace nbx::doctor
