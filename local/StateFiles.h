#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "PropertyValue.h"

namespace nbx {

// Typed access to the property-list files in the per-user folder. Every read goes to the
// file; every change reads, changes and writes the whole file. A missing, malformed or
// wrongly typed file or entry reads as nothing (or the default named below).
class StateFiles {
public:
    static constexpr std::string_view kJobPreferenceFile = "com.Valmora.nbx.plist";
    static constexpr std::string_view kMyInfoFile = "MyInfo.plist";
    static constexpr std::string_view kAccountFile = "va.plist";
    static constexpr std::string_view kAgentListFile = "AgentPL.plist";
    static constexpr std::string_view kPrinterInfoFile = "PrinterInfo.plist";
    static constexpr std::string_view kSupInfoFile = "supInfo.plist";

    // The file's path in the per-user folder (made when missing).
    static std::string pathTo(std::string_view fileName);

    static std::optional<PropertyDictionary> readDictionary(const std::string& path);
    static std::optional<PropertyArray> readArray(const std::string& path);
    // Reads the dictionary (or starts from an empty one), applies `change`, writes it whole.
    static bool updateDictionary(const std::string& path,
                                 const std::function<void(PropertyDictionary&)>& change);

    // Job-preference file.
    static std::optional<PropertyDictionary> sendInfo();
    static bool setSendInfo(const PropertyDictionary& target);
    // The raw "DirectPrint" text, "TRUE" or "FALSE" as stored.
    static std::optional<std::string> directPrint();
    static bool isDirectPrint() { return directPrint() == "TRUE"; }
    static bool setDirectPrint(bool on);
    static std::optional<bool> agAgain();
    static std::optional<std::string> agTime();
    // Sets "AgAgain"; a missing time removes "Agtime".
    static bool setTonerReminder(bool again, const std::optional<std::string>& time);

    // MyInfo file.
    static bool printerLater();  // false when missing
    static bool setPrinterLater(bool later);
    // Nothing when never chosen; false only for "FALSE".
    static std::optional<bool> notiAgree();
    static bool setNotiAgree(bool agreed);

    // Account file: the text is stored enciphered; nothing is stored when that fails.
    static bool setEncryptedAccountValue(const std::string& key, std::string_view text);

    // Agent-list file and the device-list picker's file.
    static std::optional<PropertyArray> agentList();
    static bool setAgentList(const PropertyArray& agents);
    static void removeAgentList();
    // Only the entries that are dictionaries.
    static std::optional<PropertyArray> printerInfoList();
};

}  // namespace nbx
