#include "StateFiles.h"

#include <filesystem>

#include "NBXAuthenticationManger.h"
#include "NBXUtility.h"
#include "PropertyListFile.h"

namespace nbx {

namespace {

const char* flagText(bool on) {
    return on ? "TRUE" : "FALSE";
}

std::string jobPreferencePath() {
    return StateFiles::pathTo(StateFiles::kJobPreferenceFile);
}
std::string myInfoPath() {
    return StateFiles::pathTo(StateFiles::kMyInfoFile);
}

// A copy, as the file's contents are gone once read; null when absent.
PropertyValue entry(const std::string& path, std::string_view key) {
    const auto file = StateFiles::readDictionary(path);
    return file ? (*file)[key] : PropertyValue();
}

}  // namespace

std::string StateFiles::pathTo(std::string_view fileName) {
    return NBXUtility::appSupportPathForNBX() + "/" + std::string(fileName);
}

std::optional<PropertyDictionary> StateFiles::readDictionary(const std::string& path) {
    auto file = readPropertyListFile(path);
    if (!file || !file->isDictionary()) return std::nullopt;
    return std::move(*file->dictionaryPtr());
}

std::optional<PropertyArray> StateFiles::readArray(const std::string& path) {
    auto file = readPropertyListFile(path);
    if (!file || !file->isArray()) return std::nullopt;
    return std::move(*file->arrayPtr());
}

bool StateFiles::updateDictionary(const std::string& path,
                                  const std::function<void(PropertyDictionary&)>& change) {
    PropertyDictionary dict = readDictionary(path).value_or(PropertyDictionary());
    change(dict);
    return writePropertyListFile(path, dict);
}

std::optional<PropertyDictionary> StateFiles::sendInfo() {
    const PropertyValue value = entry(jobPreferencePath(), "SendInfo");
    if (!value.isDictionary()) return std::nullopt;
    return *value.dictionaryPtr();
}

bool StateFiles::setSendInfo(const PropertyDictionary& target) {
    return updateDictionary(jobPreferencePath(),
                            [&](PropertyDictionary& d) { d.set("SendInfo", target); });
}

std::optional<std::string> StateFiles::directPrint() {
    const PropertyValue value = entry(jobPreferencePath(), "DirectPrint");
    return value.string();
}

bool StateFiles::setDirectPrint(bool on) {
    return updateDictionary(jobPreferencePath(),
                            [&](PropertyDictionary& d) { d.set("DirectPrint", flagText(on)); });
}

std::optional<bool> StateFiles::agAgain() {
    const PropertyValue value = entry(jobPreferencePath(), "AgAgain");
    return value.boolean();
}

std::optional<std::string> StateFiles::agTime() {
    const PropertyValue value = entry(jobPreferencePath(), "Agtime");
    return value.string();
}

bool StateFiles::setTonerReminder(bool again, const std::optional<std::string>& time) {
    return updateDictionary(jobPreferencePath(), [&](PropertyDictionary& d) {
        d.set("AgAgain", again);
        if (time)
            d.set("Agtime", *time);
        else
            d.erase("Agtime");
    });
}

bool StateFiles::printerLater() {
    const PropertyValue value = entry(myInfoPath(), "PrinterLater");
    return value.boolean().value_or(false);
}

bool StateFiles::setPrinterLater(bool later) {
    return updateDictionary(myInfoPath(),
                            [&](PropertyDictionary& d) { d.set("PrinterLater", later); });
}

std::optional<bool> StateFiles::notiAgree() {
    const PropertyValue value = entry(myInfoPath(), "NotiAgree");
    const std::string* text = value.stringPtr();
    if (!text) return std::nullopt;
    return *text != "FALSE";
}

bool StateFiles::setNotiAgree(bool agreed) {
    return updateDictionary(myInfoPath(),
                            [&](PropertyDictionary& d) { d.set("NotiAgree", flagText(agreed)); });
}

bool StateFiles::setEncryptedAccountValue(const std::string& key, std::string_view text) {
    const auto cipher = dataByAESEncryption(text);
    if (!cipher) return false;
    return updateDictionary(pathTo(kAccountFile),
                            [&](PropertyDictionary& d) { d.set(key, *cipher); });
}

std::optional<PropertyArray> StateFiles::agentList() {
    return readArray(pathTo(kAgentListFile));
}

bool StateFiles::setAgentList(const PropertyArray& agents) {
    return writePropertyListFile(pathTo(kAgentListFile), agents);
}

void StateFiles::removeAgentList() {
    std::error_code ec;
    std::filesystem::remove(pathTo(kAgentListFile), ec);
}

std::optional<PropertyArray> StateFiles::printerInfoList() {
    auto list = readArray(pathTo(kPrinterInfoFile));
    if (!list) return std::nullopt;
    std::erase_if(*list, [](const PropertyValue& item) { return !item.isDictionary(); });
    return list;
}

}  // namespace nbx
