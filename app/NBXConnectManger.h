#pragma once

#include <functional>
#include <string>

#include "AlertPresenter.h"
#include "PropertyValue.h"

namespace nbx {

// Turns cloud error codes and message keys into modal alerts, and runs the phone
// verification calls, each on a fresh cloud interface.
class NBXConnectManger {
public:
    using Poster = std::function<void(std::function<void()>)>;
    struct Context {
        AlertPresenter& alerts;
        bool debug = false;
        // Hands an alert to the main thread without waiting; alerts are shown in place when empty.
        Poster post = {};
    };
    // Looks a text up in the language table by its English wording.
    using TextLookup = std::function<std::string(const std::string& key)>;

    static void runAlertPanel(const PropertyValue& code, const Context& context);
    static void runAlertMSG(const std::string& messageKey, const Context& context);

    // PIN request by push (false) or SMS (true) for {"Code", "PhoneNumber"}.
    static bool requestPINCode(const PropertyValue& info, bool defaultSend, const Context& context);
    static bool sendInfoToServerWithPhone(const std::string& phone, const std::string& WithCode,
                                          const Context& context);
    static bool sendPinToServerWithPhone(const std::string& phone, const std::string& WithCode,
                                         const std::string& WithPin, const Context& context);
    static std::string removeLeadingZeros(std::string text);
    // The PIN's leading integer in decimal, as the service compares PINs: "0042" is "42".
    static std::string pinText(const std::string& pin);

    // An error code as text: numbers in decimal, text as it stands.
    static std::string codeText(const PropertyValue& code);
    static bool isSilentCode(const std::string& code);
    // The message key for a code; the first matching row of the table wins.
    static std::string messageKeyForCode(const std::string& code);
    // "+<country><number without leading zeros>" from the stored MyInfo file, "" without it.
    static std::string storedPhoneText();
    // The template with "2" for its first placeholder and the code for its second; "" when a
    // placeholder is missing or the code is empty.
    static std::string codeLine(const std::string& codeTemplate, const std::string& code);
    static std::string replaceFirst(const std::string& text, const std::string& placeholder,
                                    const std::string& value);
    static std::string alertText(const std::string& code, const TextLookup& lookup,
                                 const std::string& phoneText);

private:
    // Shows a message key (or the alert for a code) through the context's poster.
    static void postAlertMSG(const std::string& messageKey, const Context& context);
    static void postAlertPanel(const std::string& code, const Context& context);
};

}  // namespace nbx
