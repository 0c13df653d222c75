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
    for (const char* key : {"owner", "sharedWith", "agentState"})
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
    call.countryCode = request.get_header_value("countryCode");
    call.phone = request.get_header_value("identifier");
    if (!allDigits(call.countryCode, 4)) return error("12001", "invalid country code");
    if (!allDigits(call.phone, 15) || call.phone.front() == '0') {
        return error("12000", "invalid phone number");
    }
    if (route.jsonBody && !request.body.empty()) {
        if (request.get_header_value("Content-Type").rfind("application/json", 0) != 0) {
            return error("11000", "the body must be sent as application/json");
        }
        auto body = objectFromJSONData(request.body);
        if (!body || !body->isDictionary()) return error("11000", "the body is not a JSON object");
        call.body = std::move(*body);
    }
    if (route.access == Access::Member) return admitMember(call);
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
    routes_.push_back(
        {"PUT", "/idmmgtsvc/user/account/bind", Access::Member, true, [this](Call& call) {
             auto account = call.body["valmoraAccount"].string();
             auto token = call.body["valmoraAccessToken"].string();
             if (!account || !token) return error("11001", "account and token needed");
             call.user->set("valmoraAccount", *account);
             return ApiReply{200, success({{"accessToken", state_.issueToken(*call.user)}})};
         }});
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
    routes_.push_back({"GET", "/printmgtsvc/policy", Access::Member, true, [](Call& call) {
                           if (call.request.get_param_value("filter") != "longPollingSeconds") {
                               return error("11001", "unknown policy filter");
                           }
                           return ApiReply{200, success({{"longPollingSeconds", 60}})};
                       }});
}

void CloudService::addJobRoutes() {
    routes_.push_back({"POST", "/printmgtsvc/job/content", Access::Member, false,
                       [this](Call& call) { return uploadContent(call); }});
    routes_.push_back({"POST", "/printmgtsvc/job/content/send/me", Access::Member, true,
                       [this](Call& call) { return sendToAgent(call); }});
    routes_.push_back({"POST", "/printmgtsvc/job/content/send/other", Access::Member, true,
                       [this](Call& call) { return sendToPeople(call); }});
    routes_.push_back(
        {"POST", "/printmgtsvc/job/state/update", Access::Member, true, [this](Call& call) {
             PropertyDictionary update = *call.body.dictionaryPtr();
             update.set("kind", "statusUpdate");
             state_.addJob(std::move(update));
             return ApiReply{200, success()};
         }});
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
    for (auto& agent : state_.agents()) {
        if (isOwner(agent, *call.user) && agent["agentMacAddress"].string() == mac) {
            if (call.body["agentAlias"].isString())
                agent.set("agentAlias", call.body["agentAlias"]);
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
    return {
        200,
        success(
            {{"agentId", *id},
             {"supportedColor",
              record["supportedColor"].isNull() ? PropertyValue(true) : record["supportedColor"]},
             {"supportedMediaSize",
              record["supportedMediaSize"].string().value_or("A4,LETTER,LEGAL")},
             {"supportedSides", record["supportedSides"].string().value_or("DUPLEX/SIMPLEX")}})};
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
    if (!state_.findContent(*key)) return error("44000", "unknown contentKey");
    PropertyDictionary* agent = state_.findAgent(*id);
    PropertyValue record(agent ? *agent : PropertyDictionary{});
    if (!agent || !(isOwner(record, *call.user) || isSharedWith(record, *call.user))) {
        return error("41000", "no such agent for this user");
    }
    PropertyDictionary job = *call.body.dictionaryPtr();
    job.set("kind", "sendToAgent");
    const PropertyDictionary& stored = state_.addJob(std::move(job));
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

}  // namespace nbx::emulator
