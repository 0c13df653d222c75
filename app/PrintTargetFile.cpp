// The job target file: where the job goes and with which options, as the back end reads it.
#include <QString>
#include <algorithm>

#include "AppDelegate.h"
#include "DistributedNotificationCenter.h"
#include "NBXConnectManger.h"
#include "PhoneRegistration.h"
#include "PrintTarget.h"
#include "PropertyListFile.h"
#include "StateFiles.h"

namespace nbx {

namespace {

constexpr int kPostOfficePageLimit = 150;
const char* const kWrongInformation = "Registered information was wrong in cloud server.";
const char* const kNoDefaultPrinter =
    "Default printer is not available. Please select target printer at first.";

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (std::size_t at; (at = text.find(separator, start)) != std::string::npos; start = at + 1)
        pieces.push_back(text.substr(start, at - start));
    pieces.push_back(text.substr(start));
    return pieces;
}

bool contains(const std::vector<std::string>& list, const std::string& word) {
    return std::find(list.begin(), list.end(), word) != list.end();
}

}  // namespace

std::string PrintTarget::replaceString(std::string text, const std::string& from,
                                       const std::string& to) {
    if (from.empty()) return text;
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string PrintTarget::changeValuetoWirteTargetPlist(const std::string& paper) {
    if (paper == "EXCUTIVE") return "Executive";
    if (paper == "LETTER") return "Letter";
    if (paper == "LEGAL") return "Legal";
    if (paper == "FOLIO") return "US-Folio";
    return paper;
}

bool PrintTarget::checkSupportPaperSize(const PropertyValue& agent) const {
    app_.log("Check support paper size");
    const auto supported = agent["supportedMediaSize"].string();
    if (!supported) return true;
    const std::vector<std::string> names = split(*supported, ',');
    bool found = false;
    for (std::string piece : split(argPaperSize, ':')) {
        if (piece.find("US-") != std::string::npos)
            piece = piece.substr(std::min<std::size_t>(3, piece.size()));
        piece = QString::fromStdString(piece).toUpper().toStdString();
        if (contains(names, piece)) {
            found = true;
        } else {
            app_.log(piece + " paper size is not supported in this printer.");
        }
    }
    return found;
}

bool PrintTarget::checkDuplex(const PropertyValue& agent) const {
    app_.log("Check support duplex or simplex");
    const std::string sides = agent["supportedSides"].string().value_or("");
    return sides.empty() || contains(split(sides, '/'), argDueplex == "On" ? "DUPLEX" : "SIMPLEX");
}

std::optional<PropertyValue> PrintTarget::supportPrintOption(const PropertyValue& record) {
    if (!record["isPaidDevice"].isTrue()) return std::nullopt;
    PropertyValue agent = record;
    if (agent["agentType"].string() == "POST_AGENT") {
        for (const auto& [key, value] :
             {std::pair<const char*, PropertyValue>{"supportedColor", true},
              {"supportedMediaSize", "A4"},
              {"supportedSides", "DUPLEX/SIMPLEX"}}) {
            if (agent[key].isNull()) agent.set(key, value);
        }
    }
    const auto tr = [this](const char* key) { return app_.localized(key).toStdString(); };
    PropertyValue changes = PropertyValue::dictionary();
    std::string lines;
    const auto change = [&](const char* key, const char* value, const char* label,
                            const char* shown) {
        changes.set(key, value);
        lines += "\n- " + tr(label) + " : " + tr(shown);
    };
    if (agent["supportedColor"].boolean() == false && argColor == "RGBA") {
        change("Color", "MONOCHORME", "Color Mode", "Grayscale");
    }
    if (!checkSupportPaperSize(agent)) change("PageSize", "A4", "Paper Size", "A4");
    if (!checkDuplex(agent)) change("Duplex", "None", "Double-sided Printing", "None");
    const bool changed = changes.size() > 0;
    if (changed) {
        const int answer = app_.platform().alerts->runModal(
            {tr("Information"),
             tr("The printer doesn't support selected print option(s). Do you want to print "
                "with changed print option(s) like below?") +
                 "\n" + lines,
             {tr("Yes"), tr("No")}});
        if (answer != 0) {
            app_.terminate();
            return std::nullopt;
        }
    }
    changes.set("UserSelection", changed ? 1 : 0);
    return changes;
}

PropertyValue PrintTarget::targetBase(const PropertyDictionary& myInfo) const {
    const std::string duplex = argDueplex == "DUPLEXSHORT"  ? "DuplexTumble"
                               : argDueplex == "DUPLEXLONG" ? "DuplexNoTumble"
                                                            : "None";
    return PropertyValue::dictionary(
        {{"MyCountryCode", myInfo["CountryCode"]},
         {"MyPhoneNumber",
          NBXConnectManger::removeLeadingZeros(myInfo["PhoneNumber"].string().value_or(""))},
         {"UserSelection", 0},
         {"Color", argColor == "Gray" ? "MONOCHORME" : "COLOR"},
         {"Duplex", duplex},
         {"PageSize", changeValuetoWirteTargetPlist(argPaperSize)}});
}

bool PrintTarget::writeToTargetPlist() {
    const auto preferences =
        StateFiles::readDictionary(StateFiles::pathTo(StateFiles::kJobPreferenceFile));
    if (!preferences) {
        alert(kWrongInformation);
        discardTarget();
        app_.terminate();
        return false;
    }
    const PropertyValue& sendInfoValue = (*preferences)["SendInfo"];
    const PropertyDictionary sendInfo =
        sendInfoValue.dictionaryPtr() ? *sendInfoValue.dictionaryPtr() : PropertyDictionary();
    const std::string missingPrinter =
        (*preferences)["DirectPrint"].string() == "TRUE" ? kNoDefaultPrinter : kWrongInformation;
    if (!app_.checkMyInfoPlist()) {
        discardTarget();
        app_.terminate();
        return true;
    }
    const PropertyDictionary myInfo =
        StateFiles::readDictionary(StateFiles::pathTo(StateFiles::kMyInfoFile))
            .value_or(PropertyDictionary());
    PropertyValue target = targetBase(myInfo);
    const bool settled = sendInfo["Type"].string() == "Printer"
                             ? printerTarget(target, sendInfo, missingPrinter)
                             : phoneTarget(target, sendInfo, myInfo);
    app_.log("Dic Send Printer Info = " + target.description());
    return settled;
}

bool PrintTarget::printerTarget(PropertyValue& target, const PropertyDictionary& sendInfo,
                                const std::string& missingPrinter) {
    target.set("TargetType", "Agent");
    const auto agents = StateFiles::agentList();
    if (!agents) {
        alert(missingPrinter);
        discardTarget();
        if (!bAfterCapabilityCheck) app_.terminate();
        return false;
    }
    const bool own = sendInfo.contains("MACAddress");
    target.set("isSharedDevice", own ? "false" : "true");
    if (agents->empty()) {
        if (own) alert(kNoDefaultPrinter);
        writeTarget(target);
        app_.terminate();
        return true;
    }
    for (const PropertyValue& agent : *agents) {
        if (!own) {
            if (agent["friendUserId"].isNull() ||
                !(agent["friendUserId"] == sendInfo["FriendUserId"]))
                continue;
            target.set("agentId", agent["agentId"]);
            target.set("friendUserId", agent["friendUserId"]);
            break;
        }
        if (!(agent["agentMacAddress"] == sendInfo["MACAddress"])) continue;
        target.set("agentId", agent["agentId"]);
        if (agent["agentType"].string() == "POST_AGENT" && argTotalPages > kPostOfficePageLimit) {
            app_.platform().alerts->runModal(
                {app_.localized("Information").toStdString(),
                 replaceString(app_.localized("The number of pages exceeds the Post Office bundle "
                                              "limit (maximum is %1% pages). Please reduce the "
                                              "number of pages and try again.")
                                   .toStdString(),
                               "%1%", std::to_string(kPostOfficePageLimit)),
                 {app_.localized("Yes").toStdString()}});
            discardTarget();
            writeTarget(target);
            return false;
        }
        if (agent["isPaidDevice"].isTrue()) {
            const auto changes = supportPrintOption(agent);
            if (!changes) return false;
            if ((*changes)["UserSelection"].integer() == 1) {
                for (const char* key : {"UserSelection", "Duplex", "PageSize", "Color"})
                    if (!(*changes)[key].isNull()) target.set(key, (*changes)[key]);
                app_.log("Change Print Option : " + changes->description());
            }
        }
        break;
    }
    if (target["agentId"].isNull()) {
        alert(missingPrinter);
        discardTarget();
        if (own) {
            writeTarget(target);
        } else {
            app_.terminate();
        }
        return false;
    }
    writeTarget(target);
    app_.terminate();
    return true;
}

bool PrintTarget::phoneTarget(PropertyValue& target, const PropertyDictionary& sendInfo,
                              const PropertyDictionary& myInfo) {
    target.set("TargetType", "Phone");
    const bool toFriend = sendInfo["Type"].string() == "Friend";
    const std::string code =
        (toFriend ? sendInfo["Code"] : myInfo["CountryCode"]).string().value_or("");
    std::string phone =
        (toFriend ? sendInfo["PhoneNumber"] : myInfo["PhoneNumber"]).string().value_or("");
    if (!toFriend) phone = NBXConnectManger::removeLeadingZeros(phone);
    if (toFriend && phone == "-1") {
        alert("Please, enter the phone number of the friend you want to send the file.");
        return true;
    }
    if (!app_.registration().verifCode(code, phone)) {
        std::string text =
            app_.localized("'+%1% %2%' has not installed Nimbrix application.").toStdString();
        alert(replaceString(replaceString(text, "%1%", code), "%2%", phone));
        if (!bAfterCapabilityCheck) {
            writeTarget(target);
            app_.terminate();
        }
        return false;
    }
    target.set("TargetCountryCode", code);
    target.set("TargetPhoneNumber", phone);
    writeTarget(target);
    app_.terminate();
    return true;
}

bool PrintTarget::sendBackendNotSupport(int state) {
    const auto center = DistributedNotificationCenter::connectSessionBus(nullptr);
    return center &&
           center->postNotificationName(kErrorName, PropertyValue::dictionary({{"state", state}}));
}

bool PrintTarget::sendPaperNotSupport() {
    return sendBackendNotSupport(1008);
}

void PrintTarget::alert(const std::string& text) {
    // A text not in the language table is shown as it stands.
    NBXConnectManger::runAlertMSG(text, app_.alertContext());
}

void PrintTarget::writeTarget(const PropertyValue& target) {
    writePropertyListFile(argTargetPlist, target);
}

}  // namespace nbx
