#include "AccountHelper.h"

#include <filesystem>

#include "JSONKit.h"
#include "NBXAuthenticationManger.h"
#include "NBXCloudInterface.h"
#include "StateFiles.h"

namespace nbx::account {

namespace {

constexpr const char* kUnreachable = "The account service could not be reached.";

}  // namespace

std::optional<std::string> requestAccountToken(const std::string& accountId,
                                               const std::string& password, std::string* error) {
    const auto cloud = NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary(), nullptr, nullptr);
    const auto body =
        JSONData(PropertyValue::dictionary({{"accountId", accountId}, {"password", password}}));
    Bytes answer;
    // The client has no operation of its own for the account service's sign-in.
    if (!cloud || !body ||
        !cloud->communicationInterface()->sendPCAgentServiceRequestToAPIURLPath(kSignInPath, "POST",
                                                                                body, &answer)) {
        *error = kUnreachable;
        return std::nullopt;
    }
    const PropertyValue decoded = objectFromJSONData(&answer).value_or(PropertyValue());
    const auto token = decoded["valmoraAccessToken"].string();
    if (isResponseASuccess(decoded) && token && !token->empty()) return token;
    if (decoded["errorCode"].isNull()) {
        *error = "The account service gave an answer that could not be read.";
        return std::nullopt;
    }
    *error = "Sign-in failed: " + decoded["errorReason"].string().value_or("refused") +
             ". [Error Code: " + NBXCommunicationInterface::toString(decoded["errorCode"]) + "]";
    return std::nullopt;
}

bool storeAccount(const std::string& accountId, const std::string& token, std::string* error) {
    const auto id = dataByAESEncryption(accountId);
    const auto secret = dataByAESEncryption(token);
    const std::string path = StateFiles::pathTo(StateFiles::kAccountFile);
    if (id && secret && StateFiles::updateDictionary(path, [&](PropertyDictionary& file) {
            file.set(kAccountIDKey, *id);
            file.set(kAccountTokenKey, *secret);
        })) {
        return true;
    }
    *error = "The account could not be stored in " + path + ".";
    return false;
}

bool signIn(const std::string& accountId, const std::string& password, std::string* error) {
    const auto token = requestAccountToken(accountId, password, error);
    return token && storeAccount(accountId, *token, error);
}

bool signOut(std::string* error) {
    const std::string path = StateFiles::pathTo(StateFiles::kAccountFile);
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) return true;
    if (StateFiles::updateDictionary(path, [](PropertyDictionary& file) {
            file.erase(kAccountIDKey);
            file.erase(kAccountTokenKey);
        })) {
        return true;
    }
    *error = "cannot write " + path;
    return false;
}

int run(const std::vector<std::string>& args, std::ostream& errors,
        const std::function<bool()>& signInDialog) {
    if (args.size() == 1 && args[0] == "-signin") return signInDialog() ? 0 : 1;
    if (args.size() == 1 && args[0] == "-signout") {
        std::string error;
        if (signOut(&error)) return 0;
        errors << "Valmora Account: " << error << "\n";
        return 1;
    }
    errors << kUsage;
    return 2;
}

}  // namespace nbx::account
