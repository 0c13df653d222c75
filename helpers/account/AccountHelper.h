#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace nbx::account {

// The maker's account: "-signin" gets the account service's token for an account ID and
// password and keeps both, enciphered, in "va.plist", where the agent reads them to bind the
// account to the phone; "-signout" removes them again. Other keys of the file stay.

constexpr const char* kSignInPath = "/idmmgtsvc/account/signin";
constexpr const char* kAccountIDKey = "ValmoraAccountID";
constexpr const char* kAccountTokenKey = "ValmoraAccountToken";
constexpr const char* kUsage = "usage: \"Valmora Account\" -signin | -signout\n";

// The service's token for the account, found through the lookup server; nothing, with a
// message for the user in *error, when the service cannot be reached or refuses.
std::optional<std::string> requestAccountToken(const std::string& accountId,
                                               const std::string& password, std::string* error);
// Both keys or neither.
bool storeAccount(const std::string& accountId, const std::string& token, std::string* error);
bool signIn(const std::string& accountId, const std::string& password, std::string* error);
bool signOut(std::string* error);

// The program: 0 on success, 1 on cancel or failure, 2 on a usage error. `signInDialog` asks
// the user and answers whether the account was signed in.
int run(const std::vector<std::string>& args, std::ostream& errors,
        const std::function<bool()>& signInDialog);

}  // namespace nbx::account
