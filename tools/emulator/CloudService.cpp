#include "CloudService.h"

#include <algorithm>
#include <cctype>
#include <ostream>

#include "Base64.h"
#include "JSONKit.h"
#include "MultipartBody.h"

namespace nbx::emulator {

struct CloudService::Call {
    const httplib::Request& request;
    PropertyValue body;
    std::string countryCode;
    std::string phone;
    PropertyDictionary* user = nullptr;
    PropertyDictionary* agent = nullptr;  // named by an agent-access request
};

namespace {

PropertyValue success(std::initializer_list<PropertyDictionary::Entry> members = {}) {
    PropertyDictionary document{{"success", true}};
    for (const auto& [key, value] : members)
        document.set(key, value);
    return document;
}

bool allDigits(const std::string& text, std::size_t maxLength) {
    return !text.empty() && text.size() <= maxLength &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

bool isAppId(const std::string& text) {
    return text.size() == CloudService::kAppIdLength &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c); });
}

bool isMacAddress(const std::string& text) {
    return text.size() == 12 && std::all_of(text.begin(), text.end(), [](unsigned char c) {
               return std::isdigit(c) || (c >= 'a' && c <= 'f');
           });
}

int statusFor(const std::string& code) {
    if (code.starts_with("6")) return 401;
    if (code == "13000" || code == "41000" || code == "44000" || code == "18000") return 404;
    if (code == "49999" || code == "99999") return 500;
    return 400;
}

// The service accepts flags as JSON booleans, numbers or the strings "true"/"false".
bool truthy(const PropertyValue& value) {
    if (auto text = value.string()) return *text == "true" || *text == "1";
    return value.isTrue();
}

// Service records carry bookkeeping keys the client never sees.
PropertyValue publicAgent(const PropertyDictionary& agent) {
    PropertyDictionary visible = agent;
    for (const char* key : {"owner", "sharedWith", "agentState", "hostDeviceId", "capabilities"})
        visible.erase(key);
    return visible;
}

bool isOwner(const PropertyValue& agent, const PropertyDictionary& user) {
    return agent["owner"]["countryCode"] == user["countryCode"] &&
           agent["owner"]["phoneNumber"] == user["phoneNumber"];
}

bool isSharedWith(const PropertyValue& agent, const PropertyDictionary& user) {
    const auto* shared = agent["sharedWith"].arrayPtr();
    if (!shared) return false;
    return std::any_of(shared->begin(), shared->end(), [&](const PropertyValue& person) {
        return person["countryCode"] == user["countryCode"] &&
               person["phoneNumber"] == user["phoneNumber"];
    });
}

// Phones as the service receives them in bodies: text or number, leading zeros dropped.
std::optional<std::string> phoneText(const PropertyValue& value) {
    std::string text =
        value.string().value_or(value.integer() ? std::to_string(*value.integer()) : "");
    text.erase(0, text.find_first_not_of('0') == std::string::npos ? text.size()
                                                                   : text.find_first_not_of('0'));
    if (!allDigits(text, 15)) return std::nullopt;
    return text;
}

// A number or text as the service stores it in its own records.
std::string textOf(const PropertyValue& value) {
    if (const auto* text = value.stringPtr()) return *text;
    if (value.isInteger() || (value.real() && value.integer() == value.real())) {
        return std::to_string(*value.integer());
    }
    return "";
}

// Print jobs, as opposed to the status updates and person-to-person sends kept beside them.
bool isPrintJob(const PropertyValue& job) {
    return job["kind"] == PropertyValue("sendToAgent") || job["kind"] == PropertyValue("pushed");
}

bool isFinal(const PropertyValue& job) {
    return job["state"] == PropertyValue("COMPLETED") || job["state"] == PropertyValue("FAILED");
}

bool oneOf(const PropertyValue& value, std::initializer_list<const char*> allowed) {
    return std::any_of(allowed.begin(), allowed.end(),
                       [&](const char* word) { return value.string() == word; });
}

// The print options a sender may give, checked and gathered into one dictionary. The desktop
// agent's sends carry them in "printOption".
std::optional<std::string> printOptions(const PropertyValue& request, PropertyValue* options) {
    *options = PropertyValue::dictionary();
    const PropertyValue& nested = request["printOption"];
    if (!nested.isNull() && !nested.isDictionary()) return "printOption must be an object";
    const PropertyValue& body = nested.isNull() ? request : nested;
    const PropertyValue& copies = body["copies"];
    if (!copies.isNull() && (!copies.isInteger() || copies.integer().value_or(0) < 1)) {
        return "copies must be a positive integer";
    }
    if (!body["colorMode"].isNull() && !oneOf(body["colorMode"], {"COLOR", "MONO"})) {
        return "colorMode must be COLOR or MONO";
    }
    if (!body["sides"].isNull() &&
        !oneOf(body["sides"], {"SIMPLEX", "DUPLEX_LONG", "DUPLEX_SHORT"})) {
        return "sides must be SIMPLEX, DUPLEX_LONG or DUPLEX_SHORT";
    }
    const PropertyValue& media = body["mediaSize"];
    if (!media.isNull() && (!media.isString() || media.stringPtr()->empty())) {
        return "mediaSize must be a name such as A4";
    }
    for (const char* key : {"copies", "colorMode", "sides", "mediaSize"}) {
        if (!body[key].isNull()) options->set(key, body[key]);
    }
    return std::nullopt;
}

// A job as the agent sees it in a poll.
PropertyValue listedJob(const PropertyValue& job) {
    PropertyDictionary listed{{"jobId", job["jobId"]},
                              {"jobHistoryId", textOf(job["jobHistoryId"])},
                              {"transactionKey", job["transactionKey"]},
                              {"fileName", job["fileName"]},
                              {"contentType", job["contentType"]},
                              {"size", job["size"]}};
    if (const auto* options = job["options"].dictionaryPtr()) {
        for (const auto& [key, value] : *options)
            listed.set(key, value);
    }
    return listed;
}

// The first final state stands; later reports only add to the history.
void recordUpdate(PropertyValue& job, const PropertyValue& update) {
    std::string code = textOf(update["errorCode"]);
    PropertyDictionary entry{{"errorCode", code},
                             {"errorReason", textOf(update["errorReason"])},
                             {"printedPages", textOf(update["printedPages"])}};
    if (!isFinal(job) && code == "0") {
        job.set("state", "COMPLETED");
        job.set("printedPages", entry["printedPages"]);
    } else if (!isFinal(job)) {
        job.set("state", "FAILED");
        job.set("errorCode", code);
        job.set("errorReason", entry["errorReason"]);
    }
    entry.set("state", job["state"]);
    PropertyValue* history = job.dictionaryPtr()->find("stateHistory");
    if (history && history->isArray()) {
        history->append(std::move(entry));
    } else {
        job.set("stateHistory", PropertyValue::array({std::move(entry)}));
    }
}

std::optional<std::string> codeText(const PropertyValue& value) {
    std::string text =
        value.string().value_or(value.integer() ? std::to_string(*value.integer()) : "");
    if (!allDigits(text, 4)) return std::nullopt;
    return text;
}

}  // namespace

CloudService::CloudService(CloudState& state, std::ostream& console)
    : state_(state), console_(console) {
    addRoutes();
}

ApiReply CloudService::error(const std::string& code, const std::string& reason) {
    return {statusFor(code),
            PropertyValue::dictionary(
                {{"success", false}, {"errorCode", code}, {"errorReason", reason}})};
}

ApiReply CloudService::lookup(const httplib::Request& request,
                              const std::string& selfHostPort) const {
    for (const char* parameter : {"clientType", "clientVender"}) {
        if (request.get_param_value(parameter).empty()) {
            return error("11000", std::string("missing lookup parameter ") + parameter);
        }
    }
    PropertyValue entry = PropertyValue::dictionary({{"serviceName", "nbxCrtSvc"},
                                                     {"protocol", "http://"},
                                                     {"domain", selfHostPort},
                                                     {"path", kApiPrefix}});
    return {200, success({{"serviceList", PropertyValue::array({entry})}})};
}

std::optional<ApiReply> CloudService::handle(const std::string& method, const std::string& apiPath,
                                             const httplib::Request& request) {
    bool pathKnown = false;
    for (const Route& route : routes_) {
        if (route.path != apiPath) continue;
        pathKnown = true;
        if (route.method != method) continue;
        Call call{request, {}, {}, {}, nullptr};
        if (auto refusal = admit(route, call)) return refusal;
        return route.operation(call);
    }
    if (pathKnown) return error("18000", "method " + method + " is not allowed on " + apiPath);
    return std::nullopt;
}

std::optional<ApiReply> CloudService::admit(const Route& route, Call& call) {
    const auto& request = call.request;
    if (!isAppId(request.get_header_value("appID"))) {
        return error("62000", "appID is missing or is not a 128-character application identifier");
    }
    std::string deviceId = request.get_header_value("deviceId");
    if (!deviceId.empty() && !isMacAddress(deviceId)) {
        return error("11001", "deviceId must be twelve lower-case hexadecimal digits");
    }
    if (route.access == Access::Agent) return admitAgent(call);
    if (route.access == Access::Account) return readBody(route, call);
    call.countryCode = request.get_header_value("countryCode");
    call.phone = request.get_header_value("identifier");
    if (!allDigits(call.countryCode, 4)) return error("12001", "invalid country code");
    if (!allDigits(call.phone, 15) || call.phone.front() == '0') {
        return error("12000", "invalid phone number");
    }
    if (auto refusal = readBody(route, call)) return refusal;
    if (route.access == Access::Member) return admitMember(call);
    return std::nullopt;
}

std::optional<ApiReply> CloudService::readBody(const Route& route, Call& call) {
    const auto& request = call.request;
    if (!route.jsonBody || request.body.empty()) return std::nullopt;
    if (request.get_header_value("Content-Type").rfind("application/json", 0) != 0) {
        return error("11000", "the body must be sent as application/json");
    }
    auto body = objectFromJSONData(request.body);
    if (!body || !body->isDictionary()) return error("11000", "the body is not a JSON object");
    call.body = std::move(*body);
    return std::nullopt;
}

std::optional<ApiReply> CloudService::admitMember(Call& call) {
    std::string token = call.request.get_header_value("accessToken");
    if (token.empty() && state_.requireAccessToken()) {
        return error("61000", "accessToken is missing (--no-token-check allows that)");
    }
    call.user = state_.findUser(call.countryCode, call.phone);
    if (!token.empty()) {
        PropertyDictionary* holder = state_.userForToken(token);
        if (!holder) return error("63000", "accessToken is not valid");
        if (holder != call.user) return error("64000", "accessToken belongs to another user");
    }
    if (!call.user || !(*call.user)["isSubscribed"].isTrue()) {
        return error("13000", "the phone number has not registered yet");
    }
    return std::nullopt;
}

// The agent's requests carry no phone and no token: the computer's MAC in `identifier` must be
// the one that registered the agent named in the query.
std::optional<ApiReply> CloudService::admitAgent(Call& call) {
    std::string host = call.request.get_header_value("identifier");
    if (!isMacAddress(host)) {
        return error("11001", "identifier must be twelve lower-case hexadecimal digits");
    }
    std::string agentId = call.request.get_param_value("agentId");
    if (agentId.empty()) return error("11001", "agentId is required");
    call.agent = state_.findAgent(agentId);
    if (!call.agent) return error("41000", "no agent " + agentId);
    if ((*call.agent)["hostDeviceId"].string() != host) {
        return error("41001", "agent " + agentId + " is served by another computer");
    }
    return std::nullopt;
}

void CloudService::addRoutes() {
    addAccountRoutes();
    addAgentRoutes();
    addJobRoutes();
    addSettingRoutes();
}

void CloudService::addAccountRoutes() {
    auto push = [this](Call& call) {
        std::string type = call.body["messageType"].string().value_or("");
        if (type.empty()) type = call.request.body == "sms" ? "sms" : "push";
        if (type != "sms" && type != "push")
            return error("11001", "messageType must be sms or push");
        return requestPin(call, type);
    };
    routes_.push_back({"POST", "/idmmgtsvc/user/verification", Access::Verification, false,
                       [this](Call& call) { return requestPin(call, "sms"); }});
    // The push request's body is {"messageType": ...} or the bare word.
    routes_.push_back({"POST", "/idmmgtsvc/user/verification/push", Access::Verification, false,
                       [push](Call& call) {
                           auto body = objectFromJSONData(call.request.body);
                           if (body && body->isDictionary()) call.body = *body;
                           return push(call);
                       }});
    routes_.push_back({"PUT", "/idmmgtsvc/user/verification", Access::Verification, true,
                       [this](Call& call) { return validateIdentifier(call); }});
    routes_.push_back({"PUT", "/idmmgtsvc/user", Access::Member, true,
                       [this](Call& call) { return subscribers(call); }});
    routes_.push_back({"POST", "/idmmgtsvc/account/signin", Access::Account, true,
                       [this](Call& call) { return signInAccount(call); }});
    routes_.push_back({"PUT", "/idmmgtsvc/user/account/bind", Access::Member, true,
                       [this](Call& call) { return bindAccount(call); }});
    routes_.push_back({"GET", "/idmmgtsvc/user/account", Access::Member, true, [](Call& call) {
                           const auto& account = (*call.user)["valmoraAccount"];
                           return ApiReply{200, success({{"isBound", account.isString()},
                                                         {"valmoraAccount", account}})};
                       }});
    routes_.push_back({"POST", "/idmmgtsvc/sms/invitation", Access::Member, true,
                       [this](Call& call) { return invite(call); }});
    routes_.push_back({"GET", "/idmmgtsvc/user/agent/quantity", Access::Member, true,
                       [this](Call& call) { return quantity(call); }});
    routes_.push_back(
        {"GET", "/idmmgtsvc/user/register/pushid", Access::Member, true, [](Call& call) {
             std::string pushId = (*call.user)["pushId"].string().value_or("");
             return ApiReply{200, success({{"isRegistered", !pushId.empty()}, {"pushId", pushId}})};
         }});
}

void CloudService::addAgentRoutes() {
    routes_.push_back({"GET", "/printmgtsvc/agent", Access::Member, true,
                       [this](Call& call) { return agentList(call); }});
    routes_.push_back({"POST", "/printmgtsvc/agent/bind", Access::Member, true,
                       [this](Call& call) { return bindAgent(call, "PC_AGENT"); }});
    routes_.push_back({"PUT", "/printmgtsvc/agent/bind", Access::Member, true,
                       [this](Call& call) { return renameAgent(call); }});
    routes_.push_back({"POST", "/printmgtsvc/agent/unbind", Access::Member, true,
                       [this](Call& call) { return releaseAgents(call); }});
    routes_.push_back({"POST", "/printmgtsvc/agent/register", Access::Member, true,
                       [this](Call& call) { return bindAgent(call, "PRT_AGENT"); }});
    routes_.push_back({"PUT", "/printmgtsvc/agent/unregister", Access::Member, true,
                       [this](Call& call) { return unregisterAgent(call); }});
    routes_.push_back({"PUT", "/printmgtsvc/agent/state", Access::Member, true,
                       [this](Call& call) { return agentStates(call); }});
    routes_.push_back({"POST", "/printmgtsvc/agent/capability", Access::Member, true,
                       [this](Call& call) { return capabilities(call); }});
    routes_.push_back({"GET", "/printmgtsvc/agent/blocklist", Access::Member, true, [this](Call&) {
                           return ApiReply{200, success({{"macAddressList", state_.blocklist()}})};
                       }});
    routes_.push_back({"GET", "/printmgtsvc/policy", Access::Member, true, [this](Call& call) {
                           if (call.request.get_param_value("filter") != "longPollingSeconds") {
                               return error("11001", "unknown policy filter");
                           }
                           auto seconds = state_.option("longPollingSeconds").integer();
                           return ApiReply{
                               200, success({{"longPollingSeconds",
                                              seconds.value_or(kDefaultLongPollingSeconds)}})};
                       }});
    routes_.push_back({"GET", "/printmgtsvc/agent/job", Access::Agent, false,
                       [this](Call& call) { return pendingJobs(call); }});
    routes_.push_back({"GET", "/printmgtsvc/agent/job/content", Access::Agent, false,
                       [this](Call& call) { return jobContent(call); }});
}

void CloudService::addJobRoutes() {
    routes_.push_back({"POST", "/printmgtsvc/job/content", Access::Member, false,
                       [this](Call& call) { return uploadContent(call); }});
    routes_.push_back({"POST", "/printmgtsvc/job/content/send/me", Access::Member, true,
                       [this](Call& call) { return sendToAgent(call); }});
    routes_.push_back({"POST", "/printmgtsvc/job/content/send/other", Access::Member, true,
                       [this](Call& call) { return sendToPeople(call); }});
    routes_.push_back({"POST", "/printmgtsvc/job/state/update", Access::Member, true,
                       [this](Call& call) { return updateJobState(call); }});
}

void CloudService::addSettingRoutes() {
    routes_.push_back(
        {"GET", "/idmmgtsvc/user/nbxd2/setting", Access::Member, true, [](Call& call) {
             PropertyDictionary document = *(*call.user)["settings"].dictionaryPtr();
             document.set("success", true);
             return ApiReply{200, document};
         }});
    routes_.push_back({"PUT", "/idmmgtsvc/user/nbxd2/setting", Access::Member, true,
                       [this](Call& call) { return updateSettings(call, {"clientPushNoti"}); }});
    routes_.push_back(
        {"PUT", "/idmmgtsvc/user/nbxd2/eula", Access::Member, true, [this](Call& call) {
             return updateSettings(call, {"isAgreedSuppliesMarketEULA",
                                          "isAgreedSuppliesDeviceEULA", "clientMarketingEula"});
         }});
    routes_.push_back(
        {"POST", "/idmmgtsvc/user/nbxd2/clientInfo", Access::Member, true, [](Call& call) {
             call.user->set("clientInfo", call.body);
             return ApiReply{200, success()};
         }});
    routes_.push_back(
        {"PUT", "/idmmgtsvc/user/nbxd2/uninstall", Access::Member, true, [](Call& call) {
             call.user->set("uninstalled", true);
             return ApiReply{200, success()};
         }});
}

ApiReply CloudService::requestPin(Call& call, const std::string& messageType) {
    // A phone first seen here stays unregistered until its PIN is verified.
    if (!state_.findUser(call.countryCode, call.phone)) {
        state_.ensureUser(call.countryCode, call.phone).set("isSubscribed", false);
    }
    std::string pin = state_.issuePin(call.countryCode, call.phone, messageType);
    console_ << "PIN for +" << call.countryCode << " " << call.phone << ": " << pin << std::endl;
    return {200, success({{"messageType", messageType},
                          {"expiresIn", CloudState::kPinLifetimeSeconds}})};
}

ApiReply CloudService::validateIdentifier(Call& call) {
    const PropertyValue& sent = call.body["pinCode"];
    auto pin = sent.isString() ? parseInteger(*sent.string()) : sent.integer();
    if (!pin || sent.isBoolean()) return error("11001", "pinCode must be a number");
    if (!state_.consumePin(call.countryCode, call.phone, *pin)) {
        return error("14000", "the PIN is wrong, used or expired");
    }
    PropertyDictionary& user = state_.ensureUser(call.countryCode, call.phone);
    user.set("isSubscribed", true);
    return {200, success({{"accessToken", state_.issueToken(user)}, {"userId", user["userId"]}})};
}

ApiReply CloudService::signInAccount(Call& call) {
    auto accountId = call.body["accountId"].string();
    auto password = call.body["password"].string();
    if (!accountId || !password) return error("11001", "accountId and password needed");
    auto token = state_.signInAccount(*accountId, *password);
    if (!token) return error("15000", "the account ID or password is wrong");
    return {200, success({{"valmoraAccessToken", *token}})};
}

ApiReply CloudService::bindAccount(Call& call) {
    auto account = call.body["valmoraAccount"].string();
    auto token = call.body["valmoraAccessToken"].string();
    if (!account || !token) return error("11001", "account and token needed");
    if (!state_.isAccountToken(*account, *token)) {
        return error("15001", "the account token was not issued for this account");
    }
    call.user->set("valmoraAccount", *account);
    // The answer names the user's token; the one in use stays valid, so binding ends no session.
    const auto current = (*call.user)["accessToken"].string();
    return {200, success({{"accessToken", current ? *current : state_.issueToken(*call.user)}})};
}

ApiReply CloudService::subscribers(Call& call) {
    const auto* asked = call.body["users"].arrayPtr();
    if (!asked || asked->empty()) return error("11001", "\"users\" must be a non-empty array");
    PropertyValue answers = PropertyValue::array();
    for (const auto& person : *asked) {
        auto code = codeText(person["countryCode"]);
        auto phone = phoneText(person["phoneNumber"]);
        if (!code || !phone) return error("12000", "invalid phone number in \"users\"");
        const PropertyDictionary* known = state_.findUser(*code, *phone);
        bool subscribed = known && (*known)["isSubscribed"].isTrue();
        answers.append(PropertyValue::dictionary(
            {{"countryCode", *code},
             {"phoneNumber", *phone},
             {"isSubscribed", subscribed ? 1 : 0},
             {"userId", known ? (*known)["userId"] : PropertyValue("")}}));
    }
    return {200, success({{"users", answers}})};
}

PropertyValue CloudService::agentsOf(const PropertyDictionary& user, bool own) const {
    PropertyValue list = PropertyValue::array();
    for (const auto& agent : state_.agents()) {
        if (own && isOwner(agent, user)) {
            PropertyValue record = publicAgent(*agent.dictionaryPtr());
            record.set("isSharedDevice", 0);
            list.append(std::move(record));
        } else if (!own && isSharedWith(agent, user)) {
            const PropertyDictionary* owner = state_.findUser(
                *agent["owner"]["countryCode"].string(), *agent["owner"]["phoneNumber"].string());
            PropertyValue record = publicAgent(*agent.dictionaryPtr());
            // A friend's printer is known by its owner; its address stays private.
            record.dictionaryPtr()->erase("agentMacAddress");
            record.set("isSharedDevice", 1);
            record.set("friendUserId", owner ? (*owner)["userId"] : PropertyValue(""));
            record.set("firstName", owner ? (*owner)["firstName"] : PropertyValue(""));
            record.set("lastName", owner ? (*owner)["lastName"] : PropertyValue(""));
            list.append(std::move(record));
        }
    }
    return list;
}

int CloudService::agentCount(const PropertyDictionary& user) const {
    return static_cast<int>(
        std::count_if(state_.agents().begin(), state_.agents().end(),
                      [&](const PropertyValue& a) { return isOwner(a, user); }));
}

ApiReply CloudService::agentList(Call& call) {
    std::string filter = call.request.get_param_value("filter");
    std::string lists = call.request.get_param_value("listid");
    if (filter.empty()) filter = "ALL";
    if (lists.empty()) lists = "my,friend";
    if (filter != "ALL") return error("11001", "unknown agent filter " + filter);
    PropertyDictionary document{{"success", true}};
    if (lists.find("my") != std::string::npos)
        document.set("agentList", agentsOf(*call.user, true));
    if (lists.find("friend") != std::string::npos) {
        document.set("friendAgentList", agentsOf(*call.user, false));
    }
    return {200, document};
}

ApiReply CloudService::quantity(Call& call) {
    PropertyValue user = PropertyValue::dictionary(
        {{"agentCount", agentCount(*call.user)},
         {"maxAgentCount",
          (*call.user)["maxAgentCount"].integer().value_or(CloudState::kMaxAgentCount)}});
    return {200, success({{"user", user}})};
}

ApiReply CloudService::bindAgent(Call& call, const std::string& type) {
    auto mac = call.body["agentMacAddress"].string();
    if (!mac || mac->empty()) return error("11001", "agentMacAddress is required");
    if (state_.isBlocked(mac->substr(0, mac->find(',')))) {
        return error("32000", "this MAC address may not be registered");
    }
    // The computer that registers an agent is the one its job requests must come from.
    std::string host = call.request.get_header_value("deviceId");
    const PropertyValue& model = call.body["agentModelName"];
    bool takesModel = type == "PRT_AGENT" && model.isString() && !model.stringPtr()->empty();
    for (auto& agent : state_.agents()) {
        if (isOwner(agent, *call.user) && agent["agentMacAddress"].string() == mac) {
            if (call.body["agentAlias"].isString())
                agent.set("agentAlias", call.body["agentAlias"]);
            if (takesModel) agent.set("agentModelName", model);
            if (!host.empty()) agent.set("hostDeviceId", host);
            return {200, success({{"agentId", agent["agentId"]}})};
        }
    }
    auto max = (*call.user)["maxAgentCount"].integer().value_or(CloudState::kMaxAgentCount);
    if (agentCount(*call.user) >= max) {
        return error("31002", "the number of registrable printers has been exceeded");
    }
    PropertyDictionary agent{{"agentId", state_.nextId("agent-")},
                             {"agentAlias", call.body["agentAlias"].string().value_or(*mac)},
                             {"agentModelName", type == "PC_AGENT" ? "PC Agent" : "Printer"},
                             {"agentMacAddress", *mac},
                             {"agentType", type},
                             {"isPaidDevice", false},
                             {"owner", PropertyValue::dictionary({{"countryCode", call.countryCode},
                                                                  {"phoneNumber", call.phone}})}};
    if (call.body["printerOnID"].isString()) agent.set("printerOnID", call.body["printerOnID"]);
    if (takesModel) agent.set("agentModelName", model);
    if (!host.empty()) agent.set("hostDeviceId", host);
    return {200, success({{"agentId", state_.addAgent(std::move(agent))["agentId"]}})};
}

PropertyDictionary* CloudService::ownedAgent(Call& call, const std::string& agentId,
                                             ApiReply* failure) {
    PropertyDictionary* agent = state_.findAgent(agentId);
    if (!agent) {
        *failure = error("41000", "no agent " + agentId);
    } else if (!isOwner(PropertyValue(*agent), *call.user)) {
        *failure = error("41001", "agent " + agentId + " belongs to another user");
        agent = nullptr;
    }
    return agent;
}

ApiReply CloudService::releaseAgents(Call& call) {
    const auto* ids = call.body["agentId"].arrayPtr();
    if (!ids || ids->empty()) return error("11001", "agentId must be a non-empty array");
    ApiReply failure;
    for (const auto& id : *ids) {
        if (!id.isString() || !ownedAgent(call, *id.string(), &failure)) {
            return id.isString() ? failure : error("11001", "agentId entries must be strings");
        }
    }
    for (const auto& id : *ids)
        state_.removeAgent(*id.string());
    return {200, success()};
}

ApiReply CloudService::renameAgent(Call& call) {
    auto id = call.body["agentId"].string();
    auto alias = call.body["agentAlias"].string();
    if (!id || !alias || alias->empty()) return error("11001", "agentId and agentAlias needed");
    ApiReply failure;
    PropertyDictionary* agent = ownedAgent(call, *id, &failure);
    if (!agent) return failure;
    agent->set("agentAlias", *alias);
    return {200, success({{"agentId", *id}, {"agentAlias", *alias}})};
}

ApiReply CloudService::unregisterAgent(Call& call) {
    std::string mac =
        call.body["agentMacAddress"].string().value_or(call.request.get_header_value("deviceId"));
    for (const auto& agent : state_.agents()) {
        if (isOwner(agent, *call.user) && agent["agentMacAddress"].string() == mac) {
            state_.removeAgent(*agent["agentId"].string());
            return {200, success()};
        }
    }
    return error("41000", "no agent of this user has MAC address " + mac);
}

ApiReply CloudService::agentStates(Call& call) {
    const auto* ids = call.body["agentId"].arrayPtr();
    if (!ids || ids->empty()) return error("11001", "agentId must be a non-empty array");
    PropertyValue states = PropertyValue::array();
    for (const auto& id : *ids) {
        PropertyDictionary* agent = id.isString() ? state_.findAgent(*id.string()) : nullptr;
        PropertyValue record(agent ? *agent : PropertyDictionary{});
        if (!agent || !(isOwner(record, *call.user) || isSharedWith(record, *call.user))) {
            return error("41000", "unknown agent in agentId");
        }
        states.append(PropertyValue::dictionary(
            {{"agentId", id}, {"agentState", record["agentState"].string().value_or("ONLINE")}}));
    }
    return {200, success({{"agentList", states}})};
}

ApiReply CloudService::capabilities(Call& call) {
    auto id = call.body["agentId"].string();
    if (!id) return error("11001", "agentId is required");
    PropertyDictionary* agent = state_.findAgent(*id);
    PropertyValue record(agent ? *agent : PropertyDictionary{});
    bool shared = truthy(call.body["isSharedDevice"]);
    bool allowed =
        agent && (shared ? isSharedWith(record, *call.user) : isOwner(record, *call.user));
    if (!allowed) return error("41000", "no such agent for this user");
    PropertyValue answer = success(
        {{"agentId", *id},
         {"supportedColor",
          record["supportedColor"].isNull() ? PropertyValue(true) : record["supportedColor"]},
         {"supportedMediaSize", record["supportedMediaSize"].string().value_or("A4,LETTER,LEGAL")},
         {"supportedSides", record["supportedSides"].string().value_or("DUPLEX/SIMPLEX")}});
    // Anything else a test seeds under "capabilities" is answered as it stands.
    if (const auto* extra = record["capabilities"].dictionaryPtr()) {
        for (const auto& [key, value] : *extra)
            answer.set(key, value);
    }
    return {200, answer};
}

ApiReply CloudService::uploadContent(Call& call) {
    std::string problem;
    auto body = MultipartBody::parse(call.request.get_header_value("Content-Type"),
                                     call.request.body, &problem);
    if (!body) return error("45000", problem);
    const MultipartBody::Part* content = body->find("content");
    if (!content || !content->fileName) return error("45000", "no file part named \"content\"");
    PropertyDictionary record{
        {"fileName", *content->fileName},
        {"contentType", content->contentType},
        {"size", static_cast<std::uint64_t>(content->data.size())},
        {"partCount", static_cast<std::uint64_t>(body->parts().size())},
        {"endsWithLineBreak", body->endsWithLineBreak()},
        {"boundary", *MultipartBody::boundaryOf(call.request.get_header_value("Content-Type"))},
        {"ownerCountryCode", call.countryCode},
        {"ownerPhoneNumber", call.phone},
        {"dataBase64", base64Encode(content->data)}};
    std::string key = state_.storeContent(std::move(record));
    return {200, success({{"contentKey", key},
                          {"fileName", *content->fileName},
                          {"size", static_cast<std::uint64_t>(content->data.size())}})};
}

ApiReply CloudService::sendToAgent(Call& call) {
    auto key = call.body["contentKey"].string();
    auto id = call.body["agentId"].string();
    if (!key || !id) return error("11001", "contentKey and agentId are required");
    const PropertyDictionary* content = state_.findContent(*key);
    if (!content) return error("44000", "unknown contentKey");
    PropertyDictionary* agent = state_.findAgent(*id);
    PropertyValue record(agent ? *agent : PropertyDictionary{});
    if (!agent || !(isOwner(record, *call.user) || isSharedWith(record, *call.user))) {
        return error("41000", "no such agent for this user");
    }
    PropertyValue options;
    if (auto problem = printOptions(call.body, &options)) return error("11001", *problem);
    PropertyDictionary job = *call.body.dictionaryPtr();
    job.set("kind", "sendToAgent");
    const PropertyDictionary& stored = queueJob(std::move(job), *content, std::move(options));
    return {200, success({{"jobHistoryId", stored["jobHistoryId"]},
                          {"transactionKey", stored["transactionKey"]}})};
}

ApiReply CloudService::sendToPeople(Call& call) {
    auto key = call.body["contentKey"].string();
    const auto* receivers = call.body["receivers"].arrayPtr();
    if (!key || !receivers || receivers->empty()) {
        return error("11001", "contentKey and a non-empty receivers array are required");
    }
    if (!state_.findContent(*key)) return error("44000", "unknown contentKey");
    for (const auto& person : *receivers) {
        if (!codeText(person["countryCode"]) || !phoneText(person["phoneNumber"])) {
            return error("12000", "invalid phone number in \"receivers\"");
        }
    }
    PropertyDictionary job = *call.body.dictionaryPtr();
    job.set("kind", "sendToPeople");
    const PropertyDictionary& stored = state_.addJob(std::move(job));
    return {200, success({{"jobHistoryId", stored["jobHistoryId"]},
                          {"transactionKey", stored["transactionKey"]}})};
}

ApiReply CloudService::invite(Call& call) {
    const auto* people = call.body["users"].arrayPtr();
    if (!people || people->empty()) return error("11001", "\"users\" must be a non-empty array");
    for (const auto& person : *people) {
        auto code = codeText(person["countryCode"]);
        auto phone = phoneText(person["phoneNumber"]);
        if (!code || !phone) return error("12000", "invalid phone number in \"users\"");
        console_ << "Invitation SMS to +" << *code << " " << *phone << std::endl;
    }
    return {200, success()};
}

ApiReply CloudService::updateSettings(Call& call, const std::vector<std::string>& keys) {
    PropertyValue settings = (*call.user)["settings"];
    bool any = false;
    for (const auto& key : keys) {
        const PropertyValue& value = call.body[key];
        if (value.isNull()) continue;
        any = true;
        // The service reports the marketing agreement in its own vocabulary.
        if (key == "clientMarketingEula") {
            settings.set(key, truthy(value) ? "AGREED" : "DISAGREED");
        } else {
            settings.set(key, truthy(value) ? "true" : "false");
        }
    }
    if (!any) return error("11001", "no setting in the body");
    call.user->set("settings", settings);
    return {200, success()};
}

PropertyDictionary& CloudService::queueJob(PropertyDictionary job,
                                           const PropertyDictionary& content,
                                           PropertyValue options) {
    job.set("jobId", state_.nextId("job-"));
    for (const char* key : {"fileName", "contentType", "size", "contentKey"})
        job.set(key, content[key]);
    job.set("options", std::move(options));
    job.set("state", "QUEUED");
    job.set("stateHistory", PropertyValue::array());
    return state_.addJob(std::move(job));
}

ApiReply CloudService::pendingJobs(Call& call) {
    PropertyValue jobs = PropertyValue::array();
    for (const auto& job : state_.jobs()) {
        if (isPrintJob(job) && !isFinal(job) && job["agentId"] == (*call.agent)["agentId"]) {
            jobs.append(listedJob(job));
        }
    }
    ApiReply reply{200, success({{"jobs", jobs}})};
    if (jobs.size() == 0) {
        auto wait = parseInteger(call.request.get_param_value("waitSeconds")).value_or(0);
        reply.waitSeconds = static_cast<int>(std::clamp<std::int64_t>(wait, 0, kMaxWaitSeconds));
    }
    return reply;
}

ApiReply CloudService::jobContent(Call& call) {
    std::string jobId = call.request.get_param_value("jobId");
    for (const auto& job : state_.jobs()) {
        if (!isPrintJob(job) || job["jobId"].string() != jobId ||
            !(job["agentId"] == (*call.agent)["agentId"])) {
            continue;
        }
        const auto* content = state_.findContent(job["contentKey"].string().value_or(""));
        auto bytes =
            content ? base64Decode((*content)["dataBase64"].string().value_or("")) : std::nullopt;
        if (!bytes) break;
        ApiReply reply;
        reply.bytes = std::move(*bytes);
        return reply;
    }
    return error("44000", "this agent has no job " + jobId);
}

// Today's clients send the ids as numbers and may leave the key out; a key given must match.
// An unknown job is still a success, as it always was.
ApiReply CloudService::updateJobState(Call& call) {
    const PropertyValue& update = call.body;
    PropertyDictionary record =
        update.dictionaryPtr() ? *update.dictionaryPtr() : PropertyDictionary{};
    record.set("kind", "statusUpdate");
    state_.addJob(std::move(record));
    std::string historyId = textOf(update["jobHistoryId"]);
    auto key = update["transactionKey"].string();
    for (auto& job : state_.jobs()) {
        if (!isPrintJob(job) || historyId.empty() || textOf(job["jobHistoryId"]) != historyId) {
            continue;
        }
        if (!key || job["transactionKey"].string() == key) recordUpdate(job, update);
        break;
    }
    return {200, success()};
}

std::optional<std::string> CloudService::pushJob(const PropertyValue& body, PropertyValue* result) {
    auto agentId = body["agentId"].string();
    if (!agentId || !state_.findAgent(*agentId)) {
        return "no agent " + agentId.value_or("named in \"agentId\"");
    }
    std::optional<std::string> data = body["data"].string();
    if (!data && body["dataBase64"].isString()) {
        data = base64Decode(*body["dataBase64"].stringPtr());
        if (!data) return "dataBase64 is not base64";
    }
    if (!data) return "the job needs \"data\" or \"dataBase64\"";
    for (const char* key : {"fileName", "contentType"}) {
        if (!body[key].isNull() && !body[key].isString()) return std::string(key) + " must be text";
    }
    PropertyValue options;
    if (auto problem = printOptions(body, &options)) return problem;
    std::string key = state_.storeContent(
        {{"fileName", body["fileName"].string().value_or("document")},
         {"contentType", body["contentType"].string().value_or("application/octet-stream")},
         {"size", static_cast<std::uint64_t>(data->size())},
         {"dataBase64", base64Encode(*data)}});
    const PropertyDictionary& job = queueJob({{"agentId", *agentId}, {"kind", "pushed"}},
                                             *state_.findContent(key), std::move(options));
    *result = PropertyValue::dictionary({{"success", true},
                                         {"jobId", job["jobId"]},
                                         {"jobHistoryId", textOf(job["jobHistoryId"])}});
    return std::nullopt;
}

}  // namespace nbx::emulator
