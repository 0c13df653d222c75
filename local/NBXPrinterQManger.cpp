#include "NBXPrinterQManger.h"

#include <cups/cups.h>

#include <strings.h>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <utility>

#include "Configuration.h"

#ifndef NBX_PRINTERQ_DEBUG
#define NBX_PRINTERQ_DEBUG 0
#endif

namespace nbx {

namespace {

constexpr bool kDebug = NBX_PRINTERQ_DEBUG != 0;

void debugLog(const char* message) {
    if constexpr (kDebug) std::fprintf(stderr, "%s\n", message);
}

// Inside double quotes the shell still expands these, so such a value is refused outright.
bool safeInDoubleQuotes(const std::string& value) {
    return value.find_first_of("\"\\$`") == std::string::npos;
}

std::string commandLine(std::initializer_list<std::pair<const char*, std::string>> options,
                        const char* flags = nullptr) {
    std::string command = NBXPrinterQManger::kLpadmin;
    for (const auto& [option, value] : options) {
        if (!safeInDoubleQuotes(value)) return {};
        command += std::string(" ") + option + " \"" + value + "\"";
    }
    if (flags) command += std::string(" ") + flags;
    return command + " ";
}

bool runCommand(const std::string& command) {
    if (command.empty()) return false;
    // Without this, output buffered before the fork could be written twice.
    std::fflush(nullptr);
    return std::system(command.c_str()) == 0;
}

}  // namespace

std::string NBXPrinterQManger::deviceUri() {
    return "nbxbackend://nbxaddress?addr=" + Configuration::deviceUriHost();
}

// Without -E the scheduler leaves a new queue stopped and refusing jobs. It must come after
// -p: in front of it, lpadmin takes -E to mean an encrypted connection.
std::string NBXPrinterQManger::makeCommand() {
    return commandLine({{"-p", kQueueName},
                        {"-v", deviceUri()},
                        {"-P", Configuration::printerDescriptionFile()},
                        {"-D", kDescription}},
                       "-E");
}

std::string NBXPrinterQManger::removeCommand() {
    return commandLine({{"-x", kQueueName}});
}

bool NBXPrinterQManger::checkPrinterQ() {
    cups_dest_t* dests = nullptr;
    const int count = cupsGetDests2(CUPS_HTTP_DEFAULT, &dests);
    if (count == 0 && cupsLastError() > IPP_STATUS_OK_EVENTS_COMPLETE) {
        if constexpr (kDebug) std::fprintf(stderr, "err %d\n", static_cast<int>(cupsLastError()));
    }
    bool found = false;
    for (int i = 0; i < count && !found; ++i) {
        if constexpr (kDebug) std::fprintf(stderr, "Printer ID \"%s\"\n", dests[i].name);
        found = strcasecmp(dests[i].name, kQueueName) == 0;
    }
    cupsFreeDests(count, dests);
    return found;
}

bool NBXPrinterQManger::makePrinterQ() {
    const bool made = runCommand(makeCommand());
    debugLog(made ? "Make PrinterQ Success" : "Make PrinterQ Fail");
    return made;
}

bool NBXPrinterQManger::removePrinterQ() {
    const bool removed = runCommand(removeCommand());
    debugLog(removed ? "Remove PrinterQ Success" : "Remove PrinterQ Fail");
    return removed;
}

}  // namespace nbx
