#include "PrintQueue.h"

#include <cups/cups.h>

#include <algorithm>
#include <cctype>
#include <memory>

#include "Text.h"

namespace nbx::polling::PrintQueue {

namespace {

struct IppDelete {
    void operator()(ipp_t* ipp) const { ippDelete(ipp); }
};
using Ipp = std::unique_ptr<ipp_t, IppDelete>;

std::string uriFor(const char* resourceFormat, const std::string& value) {
    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", ippPort(),
                     resourceFormat, value.c_str());
    return uri;
}

Ipp request(ipp_op_t operation, const char* uriName, const std::string& uri,
            const std::vector<const char*>& attributes) {
    ipp_t* ipp = ippNewRequest(operation);
    ippAddString(ipp, IPP_TAG_OPERATION, IPP_TAG_URI, uriName, nullptr, uri.c_str());
    ippAddString(ipp, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
    ippAddStrings(ipp, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes",
                  static_cast<int>(attributes.size()), nullptr, attributes.data());
    return Ipp(cupsDoRequest(CUPS_HTTP_DEFAULT, ipp, "/"));
}

std::vector<std::string> strings(ipp_t* ipp, const char* name) {
    std::vector<std::string> values;
    ipp_attribute_t* attribute = ippFindAttribute(ipp, name, IPP_TAG_ZERO);
    for (int i = 0; attribute && i < ippGetCount(attribute); ++i) {
        const char* value = ippGetString(attribute, i, nullptr);
        values.emplace_back(value ? value : "");
    }
    return values;
}

bool notFound() {
    return cupsLastError() == IPP_STATUS_ERROR_NOT_FOUND;
}

}  // namespace

PropertyDictionary tonerLevels(const std::vector<int>& levels,
                               const std::vector<std::string>& colors,
                               const std::vector<std::string>& types) {
    static const std::pair<const char*, const char*> kColours[] = {
        {"#000000", "Black"}, {"#00ffff", "Cyan"}, {"#ff00ff", "Magenta"}, {"#ffff00", "Yellow"}};
    PropertyDictionary toner;
    if (levels.empty() || colors.empty()) return toner;
    for (const auto& [hex, name] : kColours)
        toner.set(name, -1);
    for (std::size_t i = 0; i < levels.size() && i < colors.size(); ++i) {
        // A waste container shares its toner's colour but is no supply level.
        if (i < types.size() && types[i].find("waste") != std::string::npos) continue;
        for (const auto& [hex, name] : kColours) {
            if (asciiLower(colors[i]) == hex) toner.set(name, levels[i]);
        }
    }
    return toner;
}

QueueState inspect(const std::string& queue) {
    QueueState state;
    Ipp answer =
        request(IPP_OP_GET_PRINTER_ATTRIBUTES, "printer-uri", uriFor("/printers/%s", queue),
                {"printer-name", "marker-levels", "marker-colors", "marker-types"});
    if (!answer || cupsLastError() > IPP_STATUS_OK_EVENTS_COMPLETE) {
        state.reach = notFound() ? Reach::Unknown : Reach::Unreachable;
        state.message = notFound() ? "the print scheduler has no queue named \"" + queue + "\""
                                   : std::string("the print scheduler did not answer: ") +
                                         cupsLastErrorString();
        return state;
    }
    state.reach = Reach::Known;
    std::vector<int> levels;
    ipp_attribute_t* attribute = ippFindAttribute(answer.get(), "marker-levels", IPP_TAG_INTEGER);
    for (int i = 0; attribute && i < ippGetCount(attribute); ++i)
        levels.push_back(ippGetInteger(attribute, i));
    state.toner = tonerLevels(levels, strings(answer.get(), "marker-colors"),
                              strings(answer.get(), "marker-types"));
    return state;
}

Options optionsForJob(const PropertyValue& job) {
    Options options;
    if (const auto copies = job["copies"].integer(); copies && *copies > 0 && *copies <= 999) {
        options.emplace_back("copies", std::to_string(*copies));
    }
    const std::string color = job["colorMode"].string().value_or("");
    if (color == "COLOR") options.emplace_back("print-color-mode", "color");
    if (color == "MONO") options.emplace_back("print-color-mode", "monochrome");
    const std::string sides = job["sides"].string().value_or("");
    if (sides == "SIMPLEX") options.emplace_back("sides", "one-sided");
    if (sides == "DUPLEX_LONG") options.emplace_back("sides", "two-sided-long-edge");
    if (sides == "DUPLEX_SHORT") options.emplace_back("sides", "two-sided-short-edge");
    const std::string media = asciiLower(job["mediaSize"].string().value_or(""));
    const bool plainMedia =
        !media.empty() && media.size() <= 64 && std::all_of(media.begin(), media.end(), [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.';
        });
    if (plainMedia) options.emplace_back("media", media);
    return options;
}

int submit(const std::string& queue, const std::string& file, const std::string& title,
           const Options& options, std::string* error) {
    int count = 0;
    cups_option_t* list = nullptr;
    for (const auto& [name, value] : options)
        count = cupsAddOption(name.c_str(), value.c_str(), count, &list);
    const int jobId =
        cupsPrintFile2(CUPS_HTTP_DEFAULT, queue.c_str(), file.c_str(), title.c_str(), count, list);
    cupsFreeOptions(count, list);
    if (jobId <= 0) *error = cupsLastErrorString() ? cupsLastErrorString() : "not accepted";
    return jobId;
}

JobProgress progress(int jobId) {
    JobProgress progress;
    Ipp answer =
        request(IPP_OP_GET_JOB_ATTRIBUTES, "job-uri", uriFor("/jobs/%s", std::to_string(jobId)),
                {"job-state", "job-state-message", "job-impressions-completed"});
    if (!answer || cupsLastError() > IPP_STATUS_OK_EVENTS_COMPLETE) {
        // A job the scheduler no longer remembers was accepted and has left its history, which
        // happens only after it ended; reporting it done beats reporting it forever.
        progress.state = notFound() ? JobState::Completed : JobState::Unreachable;
        progress.message = cupsLastErrorString() ? cupsLastErrorString() : "";
        return progress;
    }
    ipp_attribute_t* state = ippFindAttribute(answer.get(), "job-state", IPP_TAG_ENUM);
    ipp_attribute_t* message = ippFindAttribute(answer.get(), "job-state-message", IPP_TAG_TEXT);
    ipp_attribute_t* pages =
        ippFindAttribute(answer.get(), "job-impressions-completed", IPP_TAG_INTEGER);
    const int value = state ? ippGetInteger(state, 0) : IPP_JSTATE_PENDING;
    if (message && ippGetString(message, 0, nullptr))
        progress.message = ippGetString(message, 0, nullptr);
    if (pages) progress.impressions = ippGetInteger(pages, 0);
    if (value == IPP_JSTATE_COMPLETED) {
        progress.state = JobState::Completed;
    } else if (value == IPP_JSTATE_CANCELED || value == IPP_JSTATE_ABORTED) {
        progress.state = JobState::Failed;
        if (progress.message.empty())
            progress.message = value == IPP_JSTATE_CANCELED ? "canceled" : "aborted";
    } else {
        progress.state = JobState::Pending;
    }
    return progress;
}

}  // namespace nbx::polling::PrintQueue
