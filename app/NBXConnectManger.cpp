#include "NBXConnectManger.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <utility>

#include "LangController.h"
#include "NBXCloudInterface.h"
#include "NBXLogger.h"
#include "NBXUtility.h"
#include "PropertyListFile.h"
#include "StateFiles.h"

namespace nbx {

namespace {

struct CodeRow {
    std::initializer_list<const char*> codes;
    const char* messageKey;
};

const char* const kPhoneLimitKey =
    "You can't register printer anymore to this phone number(%1%) because the number of "
    "registrable printers has been exceeded. Please try again after removing a registered printer "
    "from mobile app.";

// Compared in this order; "430000" is six digits on purpose.
const std::array<CodeRow, 10> kCodeTable = {{
    {{"PTS71282", "73000"}, ""},
    {{"1002"}, "Connection error"},
    {{"12000", "12001"}, "Invalid country code or phone number."},
    {{"13000"}, "The phone number has not registered yet."},
    {{"15000", "15001", "30000"}, "Registered information was wrong in cloud server."},
    {{"16000"}, "Adding Printer in System Preferences is failed."},
    {{"31002"}, kPhoneLimitKey},
    {{"49999", "61001", "71000", "89999", "99999"}, "Internal cloud server error has occurred."},
    {{"11000", "11001", "13001", "14000", "14001", "18000", "19000", "20000", "32000", "33000",
      "41000", "41001", "42000", "430000", "44000", "45000"},
     "Web service request data was wrong."},
    {{"61000", "62000", "63000", "64000", "65000"}, "Authentication failed."},
}};

const char* const kUnknownKey = "Unknown cloud server error.";

std::unique_ptr<NBXCloudInterface> freshInterface() {
    return NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
        PropertyValue::dictionary({{"Debug", true}}), nullptr, nullptr);
}

bool succeeded(bool performed, const PropertyValue& answer) {
    return performed && answer["success"].isTrue();
}

// Only the service's own refusal is told here: a call that never got an answer, or that the
// interface refused before sending, shows nothing.
std::string failureMessage(bool ok, const PropertyValue& answer, const char* refusal) {
    return ok || answer["errorCode"].isNull() ? "" : refusal;
}

}  // namespace

void NBXConnectManger::postAlertMSG(const std::string& messageKey, const Context& context) {
    if (messageKey.empty()) return;
    if (!context.post) return runAlertMSG(messageKey, context);
    context.post([context, messageKey] { runAlertMSG(messageKey, context); });
}

void NBXConnectManger::postAlertPanel(const std::string& code, const Context& context) {
    if (!context.post) return runAlertPanel(code, context);
    context.post([context, code] { runAlertPanel(code, context); });
}

std::string NBXConnectManger::removeLeadingZeros(std::string text) {
    const auto firstNonZero = text.find_first_not_of('0');
    return firstNonZero == std::string::npos ? "" : text.substr(firstNonZero);
}

std::string NBXConnectManger::pinText(const std::string& pin) {
    const long long value = std::strtoll(pin.c_str(), nullptr, 10);
    return std::to_string(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

bool NBXConnectManger::requestPINCode(const PropertyValue& info, bool defaultSend,
                                      const Context& context) {
    const auto cloud = freshInterface();
    if (!cloud) {
        postAlertMSG("Connection failed.", context);
        return false;
    }
    PropertyValue request = PropertyValue::dictionary();
    for (const auto& [from, to] :
         {std::pair{"Code", "countryCode"}, {"PhoneNumber", "identifier"}}) {
        if (!info[from].string().value_or("").empty()) request.set(to, info[from]);
    }
    request.set("messageType", defaultSend ? "sms" : "push");
    PropertyValue answer, error;
    const bool ok =
        succeeded(cloud->requestAuthenticationByPushMessage(request, &answer, &error), answer);
    postAlertMSG(failureMessage(ok, answer, "Authentication failed."), context);
    return ok;
}

bool NBXConnectManger::sendInfoToServerWithPhone(const std::string& phone,
                                                 const std::string& WithCode,
                                                 const Context& context) {
    const auto cloud = freshInterface();
    if (!cloud) {
        postAlertPanel("1002", context);
        return false;
    }
    PropertyValue request = PropertyValue::dictionary();
    if (!phone.empty()) request.set("identifier", phone);
    if (!WithCode.empty()) request.set("countryCode", WithCode);
    PropertyValue answer, error;
    if (succeeded(cloud->requestAuthentication(request, &answer, &error), answer)) return true;
    const PropertyValue& code =
        answer["errorCode"].isNull() ? error["errorCode"] : answer["errorCode"];
    postAlertPanel(codeText(code), context);
    return false;
}

bool NBXConnectManger::sendPinToServerWithPhone(const std::string& phone,
                                                const std::string& WithCode,
                                                const std::string& WithPin,
                                                const Context& context) {
    const auto cloud = freshInterface();
    if (!cloud) {
        postAlertMSG("Connection failed.", context);
        return false;
    }
    const PropertyValue request =
        PropertyValue::dictionary({{"countryCode", WithCode},
                                   {"senderPhoneNumber", removeLeadingZeros(phone)},
                                   {"pinCode", pinText(WithPin)}});
    PropertyValue answer, error;
    const bool ok = succeeded(cloud->validateIdentifier(request, &answer, &error), answer);
    postAlertMSG(failureMessage(ok, answer, "Incorrect PIN."), context);
    return ok;
}

std::string NBXConnectManger::codeText(const PropertyValue& code) {
    if (auto text = code.string()) return *text;
    if (code.isNull()) return "";
    if (auto whole = code.integer()) return std::to_string(*whole);
    if (auto positive = code.unsignedInteger()) return std::to_string(*positive);
    return code.description();
}

bool NBXConnectManger::isSilentCode(const std::string& code) {
    return code == "PTS71282" || code == "73000";
}

std::string NBXConnectManger::messageKeyForCode(const std::string& code) {
    for (const auto& row : kCodeTable) {
        for (const char* candidate : row.codes) {
            if (code == candidate) return row.messageKey;
        }
    }
    return kUnknownKey;
}

std::string NBXConnectManger::storedPhoneText() {
    const auto info = readPropertyListFile(StateFiles::pathTo(StateFiles::kMyInfoFile));
    if (!info) return "";
    return "+" + (*info)["CountryCode"].string().value_or("") +
           removeLeadingZeros((*info)["PhoneNumber"].string().value_or(""));
}

std::string NBXConnectManger::replaceFirst(const std::string& text, const std::string& placeholder,
                                           const std::string& value) {
    const auto at = text.find(placeholder);
    if (at == std::string::npos) return text;
    return text.substr(0, at) + value + text.substr(at + placeholder.size());
}

std::string NBXConnectManger::codeLine(const std::string& codeTemplate, const std::string& code) {
    const auto first = codeTemplate.find("%1%");
    if (first == std::string::npos || code.empty()) return "";
    const std::string head = codeTemplate.substr(0, first);
    const std::string rest = codeTemplate.substr(first + 3);
    const auto second = rest.find("%2%");
    if (second == std::string::npos) return "";
    return head + "2" + rest.substr(0, second) + code + rest.substr(second + 3);
}

std::string NBXConnectManger::alertText(const std::string& code, const TextLookup& lookup,
                                        const std::string& phoneText) {
    std::string message = lookup(messageKeyForCode(code));
    if (code == "31002") message = replaceFirst(message, "%1%", phoneText);
    const std::string line = codeLine(lookup("[Error Code: %1% - %2%]"), code);
    return line.empty() ? message : message + " " + line;
}

void NBXConnectManger::runAlertPanel(const PropertyValue& code, const Context& context) {
    const std::string text = codeText(code);
    if (context.debug) NBXSystemLog("Show Alert Panel-------\nError Code Num : " + text);
    if (isSilentCode(text)) return;
    const LangController lang = LangController::forProcessLocale();
    const TextLookup lookup = [&](const std::string& key) {
        return lang.getLocalizedStringWithKey(key);
    };
    const std::string phone = text == "31002" ? storedPhoneText() : "";
    context.alerts.runModal({lookup("Error"), alertText(text, lookup, phone), {lookup("OK")}});
}

void NBXConnectManger::runAlertMSG(const std::string& messageKey, const Context& context) {
    const LangController lang = LangController::forProcessLocale();
    context.alerts.runModal({lang.getLocalizedStringWithKey("Error"),
                             lang.getLocalizedStringWithKey(messageKey),
                             {lang.getLocalizedStringWithKey("OK")}});
}

}  // namespace nbx
