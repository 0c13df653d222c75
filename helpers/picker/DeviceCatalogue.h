#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "PropertyValue.h"

namespace nbx::picker {

// One printer the picker offers, with the values the agent reads back from PrinterInfo.plist.
// Every text is empty when unknown.
struct DeviceEntry {
    std::string displayName;  // what the list shows
    std::string modelName;
    std::string deviceId;        // IEEE 1284 device id as CUPS reports it
    std::string connectionType;  // "USB", "Network" or "Local"
    std::string vid, pid;        // upper-case hex
    std::string serialNumber;
    std::string macAddress;
    std::string address;  // queue name, or the device URI of a device without a queue
    std::string deviceUri;
    bool isQueue = false;
};

// How long the scheduler may look for devices without a queue.
constexpr std::chrono::seconds kDeviceSearchTimeout{5};

// A device described by CUPS: its IEEE 1284 id, make-and-model and URI.
DeviceEntry describeDevice(std::string_view deviceId, std::string_view makeAndModel,
                           std::string_view uri);

// The scheduler's queues, in the scheduler's order; instances and the agent's own cloud queue
// are left out.
std::vector<DeviceEntry> listQueues();
// Devices the scheduler finds on USB and the network within `timeout`, except those whose
// URI is in `skipUris`.
std::vector<DeviceEntry> listDevices(std::chrono::seconds timeout,
                                     const std::vector<std::string>& skipUris);
// Queues first, then the devices that are no queue's device yet. `show` gets the queues at
// once and the devices when the search ends.
void listCatalogue(std::chrono::seconds timeout,
                   const std::function<void(std::vector<DeviceEntry>)>& show);
std::vector<DeviceEntry> listCatalogue(std::chrono::seconds timeout);

// The entry as the agent reads it: every key, text values.
PropertyDictionary toPrinterInfo(const DeviceEntry& entry);
// Writes an array holding the entry's dictionary, making the parent folder when missing.
bool writePrinterInfo(const std::string& path, const DeviceEntry& entry);

}  // namespace nbx::picker
