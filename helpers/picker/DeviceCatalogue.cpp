#include "DeviceCatalogue.h"

#include <cups/adminutil.h>
#include <cups/cups.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <map>

#include "DeviceId.h"
#include "NBXPrinterQManger.h"
#include "PropertyListFile.h"
#include "Text.h"

namespace nbx::picker {

namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
            hexDigit(text[i + 2]) >= 0) {
            decoded += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

// A parameter of the URI's query ("usb://Acme/Laser?serial=X&interface=1"), decoded.
std::string uriParameter(std::string_view uri, std::string_view name) {
    const auto query = uri.find('?');
    if (query == std::string_view::npos) return {};
    std::string_view rest = uri.substr(query + 1);
    while (!rest.empty()) {
        const auto end = rest.find('&');
        const std::string_view pair = rest.substr(0, end);
        const auto equals = pair.find('=');
        if (equals != std::string_view::npos && asciiLower(pair.substr(0, equals)) == name)
            return percentDecoded(pair.substr(equals + 1));
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 1);
    }
    return {};
}

// USB vendor and product ids are 16 bits; anything else is not one.
std::string usbIdText(std::string_view text) {
    text = trimmed(text);
    if (text.size() > 2 && (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X"))
        text.remove_prefix(2);
    if (text.empty() || text.size() > 4) return {};
    for (const char c : text)
        if (hexDigit(c) < 0) return {};
    return std::string(4 - text.size(), '0') + asciiUpper(text);
}

// Six hex pairs, with or without separators, as "AA:BB:CC:DD:EE:FF".
std::string macAddressText(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (hexDigit(c) >= 0) {
            digits += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        } else if (c != ':' && c != '-' && c != '.') {
            return {};
        }
    }
    if (digits.size() != 12) return {};
    std::string mac;
    for (std::size_t i = 0; i < 12; i += 2)
        mac += (i ? ":" : "") + digits.substr(i, 2);
    return mac;
}

std::string connectionTypeOf(std::string_view uri) {
    const auto colon = uri.find(':');
    if (colon == std::string_view::npos) return "Local";
    const std::string scheme = asciiLower(uri.substr(0, colon));
    if (scheme == "usb") return "USB";
    // Vendor back ends name the bus in the path: "hp:/usb/...", "hp:/net/...".
    const std::string path = asciiLower(uri.substr(colon + 1));
    if (path.rfind("/usb/", 0) == 0) return "USB";
    if (path.rfind("/net/", 0) == 0) return "Network";
    static const char* const kNetworkSchemes[] = {"ipp", "ipps",  "http", "https", "socket", "lpd",
                                                  "smb", "dnssd", "mdns", "snmp",  "ippusb"};
    for (const char* network : kNetworkSchemes)
        if (scheme == network) return "Network";
    return "Local";
}

std::string optionValue(const cups_dest_t& dest, const char* name) {
    const char* value = cupsGetOption(name, dest.num_options, dest.options);
    return value ? value : "";
}

// The scheduler keeps the device id out of the destination list, so it is asked for once.
std::map<std::string, std::string> queueDeviceIds() {
    std::map<std::string, std::string> ids;
    ipp_t* request = ippNewRequest(IPP_OP_CUPS_GET_PRINTERS);
    static const char* const kAttributes[] = {"printer-name", "printer-device-id"};
    ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", 2, nullptr,
                  kAttributes);
    ipp_t* response = cupsDoRequest(CUPS_HTTP_DEFAULT, request, "/");
    if (!response) return ids;
    std::string name, id;
    const auto flush = [&] {
        if (!name.empty()) ids[name] = id;
        name.clear();
        id.clear();
    };
    for (ipp_attribute_t* a = ippFirstAttribute(response); a; a = ippNextAttribute(response)) {
        const char* attribute = ippGetName(a);
        if (!attribute || ippGetGroupTag(a) != IPP_TAG_PRINTER) {
            flush();
            continue;
        }
        const char* value = ippGetString(a, 0, nullptr);
        if (!value) continue;
        if (std::string_view(attribute) == "printer-name") name = value;
        if (std::string_view(attribute) == "printer-device-id") id = value;
    }
    flush();
    ippDelete(response);
    return ids;
}

std::string schemeOf(std::string_view uri) {
    return asciiLower(uri.substr(0, uri.find(':')));
}

struct DeviceSearch {
    const std::vector<std::string>* skipUris;
    std::vector<DeviceEntry> found;
};

void onDevice(const char* deviceClass, const char* deviceId, const char* info,
              const char* makeAndModel, const char* uri, const char* /*location*/, void* context) {
    auto& search = *static_cast<DeviceSearch*>(context);
    // Bare scheme names ("socket", "lpd") are templates for typing an address, not devices.
    if (!uri || std::string_view(uri).find(':') == std::string_view::npos) return;
    if (std::find(search.skipUris->begin(), search.skipUris->end(), uri) != search.skipUris->end())
        return;
    DeviceEntry entry =
        describeDevice(deviceId ? deviceId : "", makeAndModel ? makeAndModel : "", uri);
    if (entry.connectionType == "Local" ||
        std::string_view(deviceClass ? deviceClass : "") == "file")
        return;
    if (info && *info) entry.displayName = info;
    search.found.push_back(std::move(entry));
}

}  // namespace

DeviceEntry describeDevice(std::string_view deviceId, std::string_view makeAndModel,
                           std::string_view uri) {
    DeviceEntry entry;
    entry.deviceId = deviceId;
    entry.deviceUri = uri;
    entry.address = uri;
    entry.modelName = DeviceId::value(deviceId, "MDL", "MODEL");
    // The scheduler says "Unknown" where it knows nothing.
    if (entry.modelName.empty() && makeAndModel != "Unknown") entry.modelName = makeAndModel;
    entry.connectionType = connectionTypeOf(uri);
    entry.serialNumber = uriParameter(uri, "serial");
    if (entry.serialNumber.empty())
        entry.serialNumber = DeviceId::value(deviceId, "SN", "SERIALNUMBER");
    entry.vid = usbIdText(uriParameter(uri, "vid"));
    if (entry.vid.empty()) entry.vid = usbIdText(DeviceId::value(deviceId, "VID"));
    entry.pid = usbIdText(uriParameter(uri, "pid"));
    if (entry.pid.empty()) entry.pid = usbIdText(DeviceId::value(deviceId, "PID"));
    entry.macAddress = macAddressText(uriParameter(uri, "mac"));
    entry.displayName = entry.modelName.empty() ? std::string(uri) : entry.modelName;
    return entry;
}

std::vector<DeviceEntry> listQueues() {
    cups_dest_t* dests = nullptr;
    const int count = cupsGetDests2(CUPS_HTTP_DEFAULT, &dests);
    const auto ids = count > 0 ? queueDeviceIds() : std::map<std::string, std::string>();
    // Sharing the agent's own cloud queue would send jobs round in a loop.
    const std::string cloudScheme = schemeOf(NBXPrinterQManger::deviceUri());
    std::vector<DeviceEntry> queues;
    for (int i = 0; i < count; ++i) {
        const cups_dest_t& dest = dests[i];
        if (dest.instance || !dest.name) continue;
        const std::string uri = optionValue(dest, "device-uri");
        if (schemeOf(uri) == cloudScheme) continue;
        const auto id = ids.find(dest.name);
        DeviceEntry entry = describeDevice(id == ids.end() ? "" : id->second,
                                           optionValue(dest, "printer-make-and-model"), uri);
        entry.address = dest.name;
        entry.isQueue = true;
        const std::string info = optionValue(dest, "printer-info");
        entry.displayName = info.empty() ? dest.name : info;
        queues.push_back(std::move(entry));
    }
    cupsFreeDests(count, dests);
    return queues;
}

std::vector<DeviceEntry> listDevices(std::chrono::seconds timeout,
                                     const std::vector<std::string>& skipUris) {
    DeviceSearch search{&skipUris, {}};
    // Deprecated in favour of printing straight to discovered IPP printers, but still the
    // scheduler's only way to report USB devices without a queue.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    cupsGetDevices(CUPS_HTTP_DEFAULT, static_cast<int>(timeout.count()), CUPS_INCLUDE_ALL,
                   CUPS_EXCLUDE_NONE, onDevice, &search);
#pragma GCC diagnostic pop
    return std::move(search.found);
}

void listCatalogue(std::chrono::seconds timeout,
                   const std::function<void(std::vector<DeviceEntry>)>& show) {
    std::vector<DeviceEntry> queues = listQueues();
    std::vector<std::string> queueUris;
    for (const DeviceEntry& queue : queues)
        queueUris.push_back(queue.deviceUri);
    show(std::move(queues));
    show(listDevices(timeout, queueUris));
}

std::vector<DeviceEntry> listCatalogue(std::chrono::seconds timeout) {
    std::vector<DeviceEntry> catalogue;
    listCatalogue(timeout, [&](std::vector<DeviceEntry> found) {
        std::move(found.begin(), found.end(), std::back_inserter(catalogue));
    });
    return catalogue;
}

PropertyDictionary toPrinterInfo(const DeviceEntry& entry) {
    return PropertyDictionary{{"ModelName", entry.modelName},
                              {"DeviceID", entry.deviceId},
                              {"ConnectionType", entry.connectionType},
                              {"VID", entry.vid},
                              {"PID", entry.pid},
                              {"SerialNumber", entry.serialNumber},
                              {"MACAddress", entry.macAddress},
                              {"Address", entry.address}};
}

bool writePrinterInfo(const std::string& path, const DeviceEntry& entry) {
    std::error_code ec;
    const auto folder = std::filesystem::path(path).parent_path();
    if (!folder.empty()) std::filesystem::create_directories(folder, ec);
    if (ec) return false;
    return writePropertyListFile(path, PropertyArray{PropertyValue(toPrinterInfo(entry))});
}

}  // namespace nbx::picker
