#include "PrintingChecks.h"

#include <cups/cups.h>
#include <strings.h>
#include <sys/stat.h>

#include <cstdio>

#include "Configuration.h"
#include "NBXPrinterQManger.h"

namespace nbx::doctor {

namespace {

struct QueueFacts {
    bool found = false;
    std::string deviceUri;
    std::string makeAndModel;
};

// Copies what is needed, so the list is freed on every path.
std::optional<QueueFacts> askScheduler(std::string* whyNot) {
    cups_dest_t* dests = nullptr;
    const int count = cupsGetDests2(CUPS_HTTP_DEFAULT, &dests);
    // "Not found" is a scheduler without any queue.
    if (count == 0 && cupsLastError() > IPP_STATUS_OK_EVENTS_COMPLETE &&
        cupsLastError() != IPP_STATUS_ERROR_NOT_FOUND) {
        *whyNot = cupsLastErrorString();
        return std::nullopt;
    }
    QueueFacts facts;
    for (int i = 0; i < count && !facts.found; ++i) {
        if (strcasecmp(dests[i].name, NBXPrinterQManger::kQueueName) != 0) continue;
        facts.found = true;
        const auto option = [&](const char* name) {
            const char* value = cupsGetOption(name, dests[i].num_options, dests[i].options);
            return std::string(value ? value : "");
        };
        facts.deviceUri = option("device-uri");
        facts.makeAndModel = option("printer-make-and-model");
    }
    cupsFreeDests(count, dests);
    return facts;
}

std::string octal(mode_t mode) {
    char text[8];
    std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
    return text;
}

}  // namespace

std::optional<std::string> PrintingChecks::nickName(const std::string& descriptionFile) {
    cups_file_t* file = cupsFileOpen(descriptionFile.c_str(), "r");
    if (!file) return std::nullopt;
    std::optional<std::string> name;
    char line[1024];
    const std::string key = "*NickName:";
    while (!name && cupsFileGets(file, line, sizeof line)) {
        const std::string text = line;
        if (text.rfind(key, 0) != 0) continue;
        const auto open = text.find('"');
        const auto close = text.rfind('"');
        if (open != std::string::npos && close > open)
            name = text.substr(open + 1, close - open - 1);
    }
    cupsFileClose(file);
    return name;
}

CheckResult PrintingChecks::queue() {
    const std::string queue = NBXPrinterQManger::kQueueName;
    const std::string expectedUri = NBXPrinterQManger::deviceUri();
    const std::string remake =
        "add the printer again in Nimbrix, or run: " + NBXPrinterQManger::makeCommand();
    std::string whyNot;
    const auto facts = askScheduler(&whyNot);
    if (!facts)
        return CheckResult::fail("queue", "the print scheduler cannot be asked: " + whyNot,
                                 "start the printing service (cups) and try again");
    if (!facts->found)
        return CheckResult::fail("queue", "there is no print queue " + queue, remake);
    if (facts->deviceUri != expectedUri)
        return CheckResult::fail(
            "queue", queue + " prints to " + facts->deviceUri + ", not to " + expectedUri, remake);
    const std::string descriptionFile = Configuration::printerDescriptionFile();
    const auto model = nickName(descriptionFile);
    if (!model)
        return CheckResult::fail(
            "queue",
            "the description file " + descriptionFile + " is missing or unreadable (NBX_PPD_FILE)",
            "install Nimbrix again");
    if (facts->makeAndModel != *model)
        return CheckResult::fail("queue",
                                 queue + " was made as \"" + facts->makeAndModel + "\", not with " +
                                     descriptionFile + " (\"" + *model + "\")",
                                 remake);
    return CheckResult::pass("queue",
                             queue + " prints to " + expectedUri + " as \"" + *model + "\"");
}

CheckResult PrintingChecks::backend() {
    const std::string uri = NBXPrinterQManger::deviceUri();
    const std::string folder = Configuration::cupsServerBin() + "/backend";
    const std::string path = folder + "/" + uri.substr(0, uri.find(':'));
    const std::string fix = "chown root " + path + " && chmod 0700 " + path;
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode))
        return CheckResult::fail("backend", "no back end " + path,
                                 "install Nimbrix again; the scheduler looks for back ends in " +
                                     folder + " (its ServerBin; NBX_CUPS_SERVERBIN)");
    if (facts.st_uid != 0)
        return CheckResult::fail("backend",
                                 path + " belongs to user " + std::to_string(facts.st_uid) +
                                     ", not root, so the scheduler refuses it",
                                 fix);
    if (facts.st_mode & (S_IWGRP | S_IWOTH))
        return CheckResult::fail("backend",
                                 path + " has mode " + octal(facts.st_mode) +
                                     ": others may change it, so the scheduler refuses it",
                                 fix);
    if (!(facts.st_mode & S_IXUSR))
        return CheckResult::fail(
            "backend", path + " has mode " + octal(facts.st_mode) + ": not a program", fix);
    // Only a back end closed to group and others runs as root, which reaching the session of
    // whoever printed needs.
    const bool asRoot = (facts.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return CheckResult::pass("backend", path + " (mode " + octal(facts.st_mode) + ", runs " +
                                            (asRoot ? "as root" : "without root") + ")");
}

}  // namespace nbx::doctor
