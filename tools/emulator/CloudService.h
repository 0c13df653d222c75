#pragma once

#include <httplib.h>

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CloudState.h"
#include "PropertyValue.h"

namespace nbx::emulator {

struct ApiReply {
    ApiReply(int status = 200, PropertyValue document = {})
        : status(status), document(std::move(document)) {}

    int status;
    PropertyValue document;
    // Answered as application/octet-stream instead of the document (a job's content).
    std::optional<std::string> bytes;
    // A long poll found nothing yet: asking again within this many seconds may find more.
    int waitSeconds = 0;
};

// The service's REST operations over a CloudState: header checks as the real service makes
// them, then the operation itself. Callers serialise access.
class CloudService {
public:
    static constexpr const char* kApiPrefix = "/nbx/v2";
    static constexpr const char* kLookupPath = "/nbx/v2/svclookup/service";
    static constexpr std::size_t kAppIdLength = 128;
    static constexpr int kMaxWaitSeconds = 30;
    static constexpr int kDefaultLongPollingSeconds = 60;

    CloudService(CloudState& state, std::ostream& console);

    ApiReply lookup(const httplib::Request& request, const std::string& selfHostPort) const;
    // None when no operation has this method and path (the path without the prefix).
    std::optional<ApiReply> handle(const std::string& method, const std::string& apiPath,
                                   const httplib::Request& request);
    static ApiReply error(const std::string& code, const std::string& reason);
    // Queues a job for an agent as another user would: {"agentId", "fileName", "data" or
    // "dataBase64", "contentType", print options}. Answers an error text, or fills `result`.
    std::optional<std::string> pushJob(const PropertyValue& body, PropertyValue* result);

private:
    // Agent: the polling agent's own requests, named by the computer's MAC, not by a phone.
    // Account: the account service's sign-in, which knows no phone.
    enum class Access { Verification, Member, Agent, Account };
    struct Call;
    using Operation = std::function<ApiReply(Call&)>;
    struct Route {
        std::string method;
        std::string path;
        Access access;
        bool jsonBody;
        Operation operation;
    };

    void addRoutes();
    void addAccountRoutes();
    void addAgentRoutes();
    void addJobRoutes();
    void addSettingRoutes();
    std::optional<ApiReply> admit(const Route& route, Call& call);
    std::optional<ApiReply> admitMember(Call& call);
    std::optional<ApiReply> admitAgent(Call& call);
    static std::optional<ApiReply> readBody(const Route& route, Call& call);

    ApiReply requestPin(Call& call, const std::string& messageType);
    ApiReply validateIdentifier(Call& call);
    ApiReply subscribers(Call& call);
    ApiReply signInAccount(Call& call);
    ApiReply bindAccount(Call& call);
    ApiReply agentList(Call& call);
    ApiReply bindAgent(Call& call, const std::string& type);
    ApiReply releaseAgents(Call& call);
    ApiReply renameAgent(Call& call);
    ApiReply unregisterAgent(Call& call);
    ApiReply agentStates(Call& call);
    ApiReply capabilities(Call& call);
    ApiReply uploadContent(Call& call);
    ApiReply sendToAgent(Call& call);
    ApiReply sendToPeople(Call& call);
    ApiReply pendingJobs(Call& call);
    ApiReply jobContent(Call& call);
    ApiReply updateJobState(Call& call);
    PropertyDictionary& queueJob(PropertyDictionary job, const PropertyDictionary& content,
                                 PropertyValue options);
    ApiReply invite(Call& call);
    ApiReply quantity(Call& call);
    ApiReply updateSettings(Call& call, const std::vector<std::string>& keys);

    PropertyDictionary* ownedAgent(Call& call, const std::string& agentId, ApiReply* failure);
    PropertyValue agentsOf(const PropertyDictionary& user, bool own) const;
    int agentCount(const PropertyDictionary& user) const;

    CloudState& state_;
    std::ostream& console_;
    std::vector<Route> routes_;
};

}  // namespace nbx::emulator
