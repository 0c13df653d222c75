#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "PropertyValue.h"

namespace nbx::emulator {

// Everything the stand-in service remembers: users, agents, PINs, uploads and jobs. Records
// are kept as value trees so that they can be seeded, listed and saved as they are.
// Not thread-safe: the server serialises access.
std::optional<std::int64_t> parseInteger(std::string_view text);

class CloudState {
public:
    static constexpr int kMaxAgentCount = 5;
    static constexpr int kPinLifetimeSeconds = 1800;

    CloudState();

    void reset();
    // Merges {"users":[...], "agents":[...], "accounts":[...], "blocklist":[...], "options":{...}};
    // users, agents and accounts replace records with the same phone, agentId or accountId.
    // Answers an error text on a bad form.
    std::optional<std::string> merge(const PropertyValue& seed);
    PropertyValue toValue() const;
    bool load(const std::string& file, std::string* error);
    bool save(const std::string& file, std::string* error) const;

    PropertyDictionary* findUser(const std::string& countryCode, const std::string& phone);
    PropertyDictionary& ensureUser(const std::string& countryCode, const std::string& phone);
    PropertyDictionary* userForToken(const std::string& token);
    std::string issueToken(PropertyDictionary& user);

    std::string issuePin(const std::string& countryCode, const std::string& phone,
                         const std::string& messageType);
    // True when `pin` matches the newest unused, unexpired PIN of the phone; uses it up.
    bool consumePin(const std::string& countryCode, const std::string& phone, std::int64_t pin);
    // The PINs in issue order, as the admin path lists them.
    PropertyValue issuedPins() const;

    // The account service: a token for the right password, remembered for that account.
    std::optional<std::string> signInAccount(const std::string& accountId,
                                             const std::string& password);
    // True when sign-in issued `token` for the account; any token while no account is seeded.
    bool isAccountToken(const std::string& accountId, const std::string& token) const;

    PropertyArray& agents() { return *agents_.arrayPtr(); }
    PropertyDictionary* findAgent(const std::string& agentId);
    PropertyDictionary& addAgent(PropertyDictionary agent);
    bool removeAgent(const std::string& agentId);
    bool isBlocked(const std::string& macAddress) const;
    const PropertyValue& blocklist() const { return blocklist_; }

    std::string storeContent(PropertyDictionary content);
    const PropertyDictionary* findContent(const std::string& contentKey) const;
    // Gives the record the next jobHistoryId (an integer) and a transactionKey.
    PropertyDictionary& addJob(PropertyDictionary job);
    PropertyArray& jobs() { return *jobs_.arrayPtr(); }

    bool requireAccessToken() const { return options_["requireAccessToken"].isTrue(); }
    const PropertyValue& option(std::string_view name) const { return options_[name]; }
    void setOption(const std::string& name, PropertyValue value);
    std::string nextId(const std::string& prefix);

private:
    void mergeAgent(PropertyDictionary agent);
    PropertyValue* findAccount(const std::string& accountId);

    PropertyValue users_;
    PropertyValue agents_;
    PropertyValue accounts_;
    PropertyValue pins_;
    PropertyValue contents_;
    PropertyValue jobs_;
    PropertyValue blocklist_;
    PropertyValue options_;
    std::int64_t counter_ = 0;
};

}  // namespace nbx::emulator
