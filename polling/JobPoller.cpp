#include "JobPoller.h"

#include <algorithm>
#include <filesystem>

#include "JSONKit.h"
#include "PollingFiles.h"
#include "PrintQueue.h"
#include "Service.h"

namespace nbx::polling {

namespace {

// Steps of a ledger entry, in order.
constexpr const char* kDownloaded = "downloaded";
constexpr const char* kPrinting = "printing";
constexpr const char* kReporting = "reporting";
constexpr const char* kDone = "done";

// The ledger key of a listed job: its id, or for an entry without a usable id its two report
// ids, so it is rejected once; empty when it has neither.
std::string keyFor(const PropertyValue& job) {
    const std::string jobId = textOf(job["jobId"]);
    if (PollingFiles::isSafeJobId(jobId)) return jobId;
    const std::string history = textOf(job["jobHistoryId"]);
    const std::string transaction = textOf(job["transactionKey"]);
    if (history.empty() || transaction.empty()) return {};
    return "#" + history + "/" + transaction;
}

std::string step(const PropertyValue& entry) {
    return entry["step"].string().value_or("");
}

void finish(PropertyValue& entry, const std::string& errorCode, const std::string& reason,
            const std::string& printedPages) {
    entry.set("step", kReporting);
    entry.set("errorCode", errorCode);
    entry.set("errorReason", reason);
    entry.set("printedPages", printedPages);
}

}  // namespace

void JobPoller::run() {
    ledger_ = PollingFiles::loadLedger();
    std::chrono::milliseconds backoff = kFirstBackoff;
    while (auto snapshot = state_.waitForRegistration()) {
        const auto generation = snapshot->generation;
        const auto started = std::chrono::steady_clock::now();
        const Round result = round(snapshot->registration, generation);
        if (result == Round::ServiceDown) {
            if (!state_.pause(backoff, generation)) break;
            backoff = std::min(backoff * 2, kMaxBackoff);
            continue;
        }
        backoff = kFirstBackoff;
        // A service that answers a long poll at once must not be asked again at once.
        auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(
            kMinRoundTime - (std::chrono::steady_clock::now() - started));
        if (awaitingScheduler()) {
            rest = std::max(rest, kPrintCheckInterval);
        } else if (result == Round::NothingNew) {
            rest = std::max(rest, kRetryInterval);
        }
        if (rest.count() > 0 && !state_.pause(rest, generation)) break;
    }
}

JobPoller::Round JobPoller::round(const Registration& registration, std::uint64_t generation) {
    if (!cloud_) {
        std::string whyNot;
        cloud_ = connectService(&whyNot);
        if (!cloud_) {
            log_(whyNot);
            return Round::ServiceDown;
        }
    }
    if (!intervalKnown_) fetchInterval(registration);
    advanceLedger(registration);

    // While the scheduler prints a job the poll returns at once, so its end is noticed soon.
    const int wait = awaitingScheduler() ? 0 : std::min(intervalSeconds_, kMaxWaitSeconds);
    const std::string path = "/printmgtsvc/agent/job?agentId=" +
                             NBXCommunicationInterface::urlEncode(registration.agentId) +
                             "&waitSeconds=" + std::to_string(wait);
    Bytes body;
    auto& communication = *cloud_->communicationInterface();
    const bool sent =
        communication.sendPCAgentServiceRequestToAPIURLPath(path, "GET", std::nullopt, &body);
    if (!state_.isCurrent(generation)) return Round::Idle;
    if (!sent) {
        log_("no answer to the job poll (" + textOf(communication.errorCodeNumber()) + ")");
        return Round::ServiceDown;
    }
    const auto answer = objectFromJSONData(&body);
    const PropertyArray* jobs = answer ? (*answer)["jobs"].arrayPtr() : nullptr;
    if (!answer || !isResponseASuccess(*answer) || !jobs) {
        log_("the job poll failed: " + SafeStringFromNSData(&body).substr(0, 200));
        return Round::ServiceDown;
    }
    bool anyNew = false;
    for (const auto& job : *jobs) {
        const Accepted accepted = accept(job, registration);
        if (accepted == Accepted::ServiceDown) return Round::ServiceDown;
        anyNew = anyNew || accepted == Accepted::New;
    }
    forgetReported(*jobs);
    advanceLedger(registration);
    if (jobs->empty()) return Round::Idle;
    return anyNew ? Round::NewJobs : Round::NothingNew;
}

void JobPoller::fetchInterval(const Registration& registration) {
    intervalKnown_ = true;
    const Outcome outcome =
        callService(*cloud_, &NBXCloudInterface::getLongPollingTimeoutInformation,
                    PropertyValue::dictionary({{"senderCountryCode", registration.countryCode},
                                               {"senderPhoneNumber", registration.phoneNumber}}));
    const auto seconds = outcome.answer["longPollingSeconds"].integer();
    if (outcome.ok && seconds && *seconds > 0) {
        intervalSeconds_ = static_cast<int>(std::min<std::int64_t>(*seconds, 3600));
    } else {
        log_("no long-polling interval from the service, using " +
             std::to_string(kDefaultIntervalSeconds) + " s: " + outcome.reason);
    }
}

JobPoller::Accepted JobPoller::accept(const PropertyValue& job, const Registration& registration) {
    const std::string key = keyFor(job);
    if (key.empty()) {
        log_("a job entry without ids was ignored: " + job.description());
        return Accepted::Known;
    }
    if (ledger_.contains(key)) return Accepted::Known;
    if (key.front() == '#') {
        rejectJob(key, job, registration, "the job entry has no usable job id");
        return Accepted::New;
    }
    std::string whyBad;
    if (!download(key, job, registration, &whyBad)) {
        if (whyBad.empty()) return Accepted::ServiceDown;
        rejectJob(key, job, registration, whyBad);
    }
    return Accepted::New;
}

bool JobPoller::download(const std::string& jobId, const PropertyValue& job,
                         const Registration& registration, std::string* whyBad) {
    const std::string path = "/printmgtsvc/agent/job/content?agentId=" +
                             NBXCommunicationInterface::urlEncode(registration.agentId) +
                             "&jobId=" + NBXCommunicationInterface::urlEncode(jobId);
    Bytes document;
    auto& communication = *cloud_->communicationInterface();
    if (!communication.sendPCAgentServiceRequestToAPIURLPath(path, "GET", std::nullopt,
                                                             &document)) {
        const auto status = communication.errorCodeNumber().integer().value_or(0);
        // An answer without a body is a finished exchange; only silence or 5xx is the service.
        if (status >= 200 && status < 500) {
            *whyBad = "the document could not be downloaded (HTTP " + std::to_string(status) + ")";
        } else {
            log_("job " + jobId + " not downloaded now (" + std::to_string(status) + ")");
        }
        return false;
    }
    // The download answers the document itself, so an error shows only as the error form.
    const auto decoded =
        !document.empty() && document.front() == '{' ? objectFromJSONData(&document) : std::nullopt;
    if (decoded && (*decoded)["success"] == PropertyValue(false) &&
        !(*decoded)["errorCode"].isNull()) {
        *whyBad = "the service refused the document: " + textOf((*decoded)["errorCode"]);
        return false;
    }
    const auto size = job["size"].integer();
    if (size && *size != static_cast<std::int64_t>(document.size())) {
        *whyBad = "the document has " + std::to_string(document.size()) + " bytes, not " +
                  std::to_string(*size);
        return false;
    }
    if (!PollingFiles::writeFileAtomically(PollingFiles::downloadedJobPath(jobId), document)) {
        log_("cannot store job " + jobId + "; it is fetched again next round");
        return true;
    }
    ledger_.set(jobId, PropertyValue::dictionary({{"job", job},
                                                  {"step", kDownloaded},
                                                  {"countryCode", registration.countryCode},
                                                  {"phoneNumber", registration.phoneNumber}}));
    saveLedger();
    log_("job " + jobId + " downloaded (" + std::to_string(document.size()) + " bytes)");
    return true;
}

void JobPoller::rejectJob(const std::string& key, const PropertyValue& job,
                          const Registration& registration, const std::string& reason) {
    log_("job " + key + " cannot be printed: " + reason);
    PropertyValue entry = PropertyValue::dictionary({{"job", job},
                                                     {"countryCode", registration.countryCode},
                                                     {"phoneNumber", registration.phoneNumber}});
    finish(entry, "1", reason, "0");
    ledger_.set(key, std::move(entry));
    saveLedger();
}

void JobPoller::advanceLedger(const Registration& registration) {
    std::vector<std::string> keys;
    for (const auto& [key, entry] : ledger_)
        keys.push_back(key);
    for (const auto& key : keys) {
        PropertyValue entry = ledger_[key];
        bool changed = false;
        while (advance(key, entry, registration))
            changed = true;
        if (changed) {
            ledger_.set(key, entry);
            saveLedger();
        }
    }
}

bool JobPoller::advance(const std::string& jobId, PropertyValue& entry,
                        const Registration& registration) {
    const std::string current = step(entry);
    const PropertyValue& job = entry["job"];
    if (current == kDownloaded) {
        const std::string file = PollingFiles::downloadedJobPath(jobId);
        std::error_code ec;
        if (!std::filesystem::exists(file, ec)) {
            finish(entry, "1", "the downloaded document is gone", "0");
            return true;
        }
        std::string error;
        const std::string title = job["fileName"].string().value_or(jobId);
        const int cupsJob = PrintQueue::submit(registration.queue, file, title,
                                               PrintQueue::optionsForJob(job), &error);
        if (cupsJob <= 0) {
            log_("job " + jobId + " not printed now, tried again next round: " + error);
            return false;
        }
        std::filesystem::remove(file, ec);
        entry.set("step", kPrinting);
        entry.set("cupsJobId", cupsJob);
        entry.set("submitted", std::chrono::time_point_cast<std::chrono::microseconds>(
                                   std::chrono::system_clock::now()));
        log_("job " + jobId + " is job " + std::to_string(cupsJob) + " on " + registration.queue);
        return true;
    }
    if (current == kPrinting) {
        const auto progress =
            PrintQueue::progress(static_cast<int>(entry["cupsJobId"].integer().value_or(0)));
        if (progress.state == PrintQueue::JobState::Completed) {
            // The scheduler counts impressions only when a filter reports pages, so a raw queue
            // shows none for a printed document; the service expects a page count.
            const int pages = progress.impressions > 0 ? progress.impressions : 1;
            finish(entry, "0", "", std::to_string(pages));
            return true;
        }
        if (progress.state == PrintQueue::JobState::Failed) {
            finish(entry, "1", progress.message, "0");
            return true;
        }
        return false;
    }
    if (current == kReporting && cloud_) {
        const PropertyValue input =
            PropertyValue::dictionary({{"senderCountryCode", entry["countryCode"]},
                                       {"senderPhoneNumber", entry["phoneNumber"]},
                                       {"jobHistoryId", textOf(job["jobHistoryId"])},
                                       {"transactionKey", textOf(job["transactionKey"])},
                                       {"printedPages", entry["printedPages"]},
                                       {"errorCode", entry["errorCode"]},
                                       {"errorReason", entry["errorReason"]}});
        const Outcome outcome =
            callService(*cloud_, &NBXCloudInterface::updateJobProcessingStatus, input);
        if (outcome.ok) {
            entry.set("step", kDone);
            log_("job " + jobId + " reported (" + textOf(entry["errorCode"]) + ")");
            return true;
        }
        // Without an answer, or with a token refused, the report is kept for the next round;
        // the service's refusal of the report itself would come back every time.
        if (outcome.errorCode.empty() || outcome.errorCode.front() == '6') {
            if (!outcome.errorCode.empty()) cloud_.reset();
            log_("report of job " + jobId + " kept for later: " + outcome.reason);
            return false;
        }
        log_("the service refused the report of job " + jobId + ": " + outcome.errorCode + " " +
             outcome.reason);
        entry.set("step", kDone);
        return true;
    }
    return false;
}

void JobPoller::forgetReported(const PropertyArray& listed) {
    std::vector<std::string> gone;
    for (const auto& [key, entry] : ledger_) {
        const bool stillListed = std::any_of(
            listed.begin(), listed.end(), [&](const PropertyValue& j) { return keyFor(j) == key; });
        if (step(entry) == kDone && !stillListed) gone.push_back(key);
    }
    for (const auto& key : gone)
        ledger_.erase(key);
    if (!gone.empty()) saveLedger();
}

bool JobPoller::awaitingScheduler() const {
    const auto since = std::chrono::system_clock::now() - kPrintCheckPeriod;
    return std::any_of(ledger_.begin(), ledger_.end(), [&](const auto& item) {
        const auto submitted = item.second["submitted"].date();
        return step(item.second) == kPrinting && submitted && *submitted > since;
    });
}

void JobPoller::saveLedger() {
    if (!PollingFiles::saveLedger(ledger_)) log_("the job ledger could not be written");
}

}  // namespace nbx::polling
