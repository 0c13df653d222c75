#include "CloudState.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <fstream>
#include <random>
#include <sstream>

#include "JSONKit.h"

namespace nbx::emulator {
namespace {

std::int64_t nowSeconds() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

std::string randomDigits(std::mt19937_64& rng, int count) {
    std::string digits;
    for (int i = 0; i < count; ++i)
        digits += static_cast<char>('0' + rng() % 10);
    return digits;
}

std::string randomHex(std::mt19937_64& rng, int count) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    for (int i = 0; i < count; ++i)
        text += kHex[rng() % 16];
    return text;
}

std::mt19937_64& generator() {
    thread_local std::mt19937_64 rng{std::random_device{}()};
    return rng;
}

}  // namespace

// Digits only; none for anything else, so a stored or sent PIN never throws.
std::optional<std::int64_t> parseInteger(std::string_view text) {
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

namespace {

bool samePhone(const PropertyValue& record, const std::string& countryCode,
               const std::string& phone) {
    return record["countryCode"].string() == countryCode && record["phoneNumber"].string() == phone;
}

PropertyDictionary defaultUser(const std::string& countryCode, const std::string& phone,
                               const std::string& userId) {
    return PropertyDictionary{
        {"userId", userId},
        {"countryCode", countryCode},
        {"phoneNumber", phone},
        {"firstName", ""},
        {"lastName", ""},
        {"isSubscribed", true},
        {"maxAgentCount", CloudState::kMaxAgentCount},
        {"pushId", ""},
        {"settings", PropertyValue::dictionary({{"clientPushNoti", "false"},
                                                {"clientMarketingEula", "AGREED"},
                                                {"isAgreedSuppliesMarketEULA", "false"},
                                                {"isAgreedSuppliesDeviceEULA", "false"}})},
    };
}

// Seeded fields override the defaults; nested settings merge key by key.
void overlay(PropertyDictionary& base, const PropertyDictionary& extra) {
    for (const auto& [key, value] : extra) {
        PropertyValue* current = base.find(key);
        if (current && current->isDictionary() && value.isDictionary()) {
            overlay(*current->dictionaryPtr(), *value.dictionaryPtr());
        } else {
            base.set(key, value);
        }
    }
}

const PropertyArray& listOf(const PropertyValue& value) {
    static const PropertyArray kEmpty;
    return value.arrayPtr() ? *value.arrayPtr() : kEmpty;
}

bool isPhone(const PropertyValue& record) {
    return VerifyIfObjectIsOfType(record["countryCode"], PropertyValue::Type::String) &&
           VerifyIfObjectIsOfType(record["phoneNumber"], PropertyValue::Type::String);
}

std::optional<std::string> problemInUser(const PropertyValue& user) {
    if (!isPhone(user)) return "each user needs a non-empty countryCode and phoneNumber";
    if (!user["settings"].isNull() && !user["settings"].isDictionary()) {
        return "a user's settings must be an object";
    }
    if (!user["maxAgentCount"].isNull() && !user["maxAgentCount"].integer()) {
        return "maxAgentCount must be a number";
    }
    return std::nullopt;
}

std::optional<std::string> problemInAgent(const PropertyValue& agent) {
    if (!agent.isDictionary() || !isPhone(agent["owner"])) {
        return "each agent needs an owner with countryCode and phoneNumber";
    }
    const PropertyValue& id = agent["agentId"];
    if (!id.isNull() && (!id.isString() || id.stringPtr()->empty())) {
        return "agentId must be a non-empty string";
    }
    const PropertyValue& shared = agent["sharedWith"];
    if (!shared.isNull() && (!shared.isArray() ||
                             !std::all_of(listOf(shared).begin(), listOf(shared).end(), isPhone))) {
        return "sharedWith must be an array of phones";
    }
    return std::nullopt;
}

bool isAccount(const PropertyValue& account) {
    return VerifyIfObjectIsOfType(account["accountId"], PropertyValue::Type::String) &&
           VerifyIfObjectIsOfType(account["password"], PropertyValue::Type::String) &&
           (account["tokens"].isNull() || account["tokens"].isArray());
}

std::optional<std::string> problemInSeed(const PropertyValue& seed) {
    if (!seed.isDictionary()) return "the seed must be a JSON object";
    for (const char* list : {"users", "agents", "accounts", "blocklist"}) {
        if (!seed[list].isNull() && !seed[list].isArray()) {
            return std::string("\"") + list + "\" must be an array";
        }
    }
    if (!seed["options"].isNull() && !seed["options"].isDictionary()) {
        return "\"options\" must be an object";
    }
    for (const auto& user : listOf(seed["users"])) {
        if (auto problem = problemInUser(user)) return problem;
    }
    for (const auto& agent : listOf(seed["agents"])) {
        if (auto problem = problemInAgent(agent)) return problem;
    }
    for (const auto& account : listOf(seed["accounts"])) {
        if (!isAccount(account)) return "each account needs a non-empty accountId and password";
    }
    for (const auto& mac : listOf(seed["blocklist"])) {
        if (!mac.isString()) return "blocklist entries must be strings";
    }
    return std::nullopt;
}

}  // namespace

CloudState::CloudState() {
    reset();
}

void CloudState::reset() {
    users_ = PropertyValue::array();
    agents_ = PropertyValue::array();
    accounts_ = PropertyValue::array();
    pins_ = PropertyValue::array();
    contents_ = PropertyValue::array();
    jobs_ = PropertyValue::array();
    blocklist_ = PropertyValue::array();
    options_ = PropertyValue::dictionary({{"requireAccessToken", true}});
    counter_ = 0;
}

std::string CloudState::nextId(const std::string& prefix) {
    return prefix + std::to_string(++counter_);
}

void CloudState::setOption(const std::string& name, PropertyValue value) {
    options_.set(name, std::move(value));
}

std::optional<std::string> CloudState::merge(const PropertyValue& seed) {
    // Everything is checked before anything changes, so a bad seed leaves the state alone.
    if (auto error = problemInSeed(seed)) return error;
    for (const auto& user : listOf(seed["users"])) {
        overlay(ensureUser(*user["countryCode"].string(), *user["phoneNumber"].string()),
                *user.dictionaryPtr());
    }
    for (const auto& agent : listOf(seed["agents"]))
        mergeAgent(*agent.dictionaryPtr());
    for (const auto& account : listOf(seed["accounts"])) {
        PropertyValue* existing = findAccount(*account["accountId"].string());
        if (existing) {
            *existing = account;
        } else {
            accounts_.append(account);
        }
    }
    for (const auto& mac : listOf(seed["blocklist"])) {
        if (!isBlocked(*mac.string())) blocklist_.append(mac);
    }
    if (const auto* options = seed["options"].dictionaryPtr()) {
        for (const auto& [key, value] : *options)
            setOption(key, value);
    }
    return std::nullopt;
}

void CloudState::mergeAgent(PropertyDictionary agent) {
    const PropertyValue& owner = agent["owner"];
    ensureUser(*owner["countryCode"].string(), *owner["phoneNumber"].string());
    if (!agent.contains("agentId")) agent.set("agentId", nextId("agent-"));
    if (PropertyDictionary* existing = findAgent(*agent["agentId"].string())) {
        overlay(*existing, agent);
    } else {
        addAgent(std::move(agent));
    }
}

PropertyValue CloudState::toValue() const {
    return PropertyValue::dictionary({{"users", users_},
                                      {"agents", agents_},
                                      {"accounts", accounts_},
                                      {"pins", pins_},
                                      {"contents", contents_},
                                      {"jobs", jobs_},
                                      {"blocklist", blocklist_},
                                      {"options", options_},
                                      {"counter", counter_}});
}

bool CloudState::load(const std::string& file, std::string* error) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        *error = "cannot read " + file;
        return false;
    }
    std::stringstream text;
    text << in.rdbuf();
    auto value = objectFromJSONData(text.str());
    if (!value || !value->isDictionary()) {
        *error = file + " is not a JSON object";
        return false;
    }
    reset();
    if (auto problem = merge(*value)) {
        *error = *problem;
        return false;
    }
    if ((*value)["pins"].isArray()) pins_ = (*value)["pins"];
    if ((*value)["contents"].isArray()) contents_ = (*value)["contents"];
    if ((*value)["jobs"].isArray()) jobs_ = (*value)["jobs"];
    counter_ = std::max(counter_, (*value)["counter"].integer().value_or(0));
    return true;
}

bool CloudState::save(const std::string& file, std::string* error) const {
    auto bytes = JSONData(toValue());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!bytes || !out) {
        *error = "cannot write " + file;
        return false;
    }
    out.write(reinterpret_cast<const char*>(bytes->data()),
              static_cast<std::streamsize>(bytes->size()));
    return static_cast<bool>(out.flush());
}

PropertyDictionary* CloudState::findUser(const std::string& countryCode, const std::string& phone) {
    for (auto& user : *users_.arrayPtr()) {
        if (samePhone(user, countryCode, phone)) return user.dictionaryPtr();
    }
    return nullptr;
}

PropertyDictionary& CloudState::ensureUser(const std::string& countryCode,
                                           const std::string& phone) {
    if (PropertyDictionary* user = findUser(countryCode, phone)) return *user;
    users_.append(defaultUser(countryCode, phone, nextId("user-")));
    return *users_.arrayPtr()->back().dictionaryPtr();
}

PropertyDictionary* CloudState::userForToken(const std::string& token) {
    for (auto& user : *users_.arrayPtr()) {
        if (!token.empty() && user["accessToken"].string() == token) return user.dictionaryPtr();
    }
    return nullptr;
}

std::string CloudState::issueToken(PropertyDictionary& user) {
    std::string token = "tok-" + randomHex(generator(), 32);
    user.set("accessToken", token);
    return token;
}

std::string CloudState::issuePin(const std::string& countryCode, const std::string& phone,
                                 const std::string& messageType) {
    auto& rng = generator();
    std::string pin = randomDigits(rng, 4 + static_cast<int>(rng() % 3));
    pins_.append(PropertyValue::dictionary({{"countryCode", countryCode},
                                            {"phoneNumber", phone},
                                            {"pin", pin},
                                            {"messageType", messageType},
                                            {"issuedAt", nowSeconds()},
                                            {"used", false}}));
    return pin;
}

PropertyValue CloudState::issuedPins() const {
    PropertyValue list = PropertyValue::array();
    for (const auto& pin : *pins_.arrayPtr()) {
        list.append(PropertyValue::dictionary({{"countryCode", pin["countryCode"]},
                                               {"phoneNumber", pin["phoneNumber"]},
                                               {"pin", pin["pin"]},
                                               {"messageType", pin["messageType"]}}));
    }
    return list;
}

bool CloudState::consumePin(const std::string& countryCode, const std::string& phone,
                            std::int64_t pin) {
    auto& all = *pins_.arrayPtr();
    for (auto it = all.rbegin(); it != all.rend(); ++it) {
        if (!samePhone(*it, countryCode, phone)) continue;
        // Only the newest PIN of a phone counts: asking again voids the earlier one.
        bool fresh = nowSeconds() - (*it)["issuedAt"].integer().value_or(0) <= kPinLifetimeSeconds;
        bool matches = parseInteger((*it)["pin"].string().value_or("")) == pin;
        if (!fresh || !matches || (*it)["used"].isTrue()) return false;
        it->set("used", true);
        return true;
    }
    return false;
}

PropertyValue* CloudState::findAccount(const std::string& accountId) {
    for (auto& account : *accounts_.arrayPtr()) {
        if (account["accountId"].string() == accountId) return &account;
    }
    return nullptr;
}

std::optional<std::string> CloudState::signInAccount(const std::string& accountId,
                                                     const std::string& password) {
    PropertyValue* account = findAccount(accountId);
    if (!account || (*account)["password"].string() != password) return std::nullopt;
    std::string token = "va-" + randomHex(generator(), 32);
    // Every sign-in keeps its token: the account may be bound from several computers.
    if (!(*account)["tokens"].isArray()) account->set("tokens", PropertyValue::array());
    account->dictionaryPtr()->find("tokens")->append(token);
    return token;
}

bool CloudState::isAccountToken(const std::string& accountId, const std::string& token) const {
    const auto& accounts = *accounts_.arrayPtr();
    if (accounts.empty()) return true;
    for (const auto& account : accounts) {
        if (account["accountId"].string() != accountId) continue;
        for (const auto& issued : listOf(account["tokens"])) {
            if (issued.string() == token) return true;
        }
    }
    return false;
}

PropertyDictionary* CloudState::findAgent(const std::string& agentId) {
    for (auto& agent : *agents_.arrayPtr()) {
        if (agent["agentId"].string() == agentId) return agent.dictionaryPtr();
    }
    return nullptr;
}

PropertyDictionary& CloudState::addAgent(PropertyDictionary agent) {
    agents_.append(std::move(agent));
    return *agents_.arrayPtr()->back().dictionaryPtr();
}

bool CloudState::removeAgent(const std::string& agentId) {
    auto& all = *agents_.arrayPtr();
    for (auto it = all.begin(); it != all.end(); ++it) {
        if ((*it)["agentId"].string() == agentId) {
            all.erase(it);
            return true;
        }
    }
    return false;
}

bool CloudState::isBlocked(const std::string& macAddress) const {
    for (const auto& entry : *blocklist_.arrayPtr()) {
        if (entry.string() == macAddress) return true;
    }
    return false;
}

std::string CloudState::storeContent(PropertyDictionary content) {
    std::string key = "content-" + randomHex(generator(), 16);
    content.set("contentKey", key);
    contents_.append(std::move(content));
    return key;
}

const PropertyDictionary* CloudState::findContent(const std::string& contentKey) const {
    for (const auto& content : *contents_.arrayPtr()) {
        if (content["contentKey"].string() == contentKey) return content.dictionaryPtr();
    }
    return nullptr;
}

PropertyDictionary& CloudState::addJob(PropertyDictionary job) {
    job.set("jobHistoryId", static_cast<std::int64_t>(jobs_.size() + 1));
    job.set("transactionKey", "tx-" + randomHex(generator(), 16));
    jobs_.append(std::move(job));
    return *jobs_.arrayPtr()->back().dictionaryPtr();
}

}  // namespace nbx::emulator
