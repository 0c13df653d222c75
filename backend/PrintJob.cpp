#include "PrintJob.h"

#include <cups/backend.h>
#include <fcntl.h>
#include <unistd.h>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Configuration.h"
#include "DesktopNotice.h"
#include "JobOptions.h"
#include "JobSender.h"
#include "Outbox.h"
#include "PropertyListFile.h"
#include "SecretMask.h"
#include "StateFiles.h"
#include "UserSession.h"

namespace nbx::backend {

namespace {

constexpr int kPostOfficePageLimit = 150;
constexpr std::chrono::hours kKeepMarks{24 * 30};

void say(const char* level, const std::string& text) {
    std::fprintf(stderr, "%s: %s\n", level, maskSecrets(text).c_str());
    std::fflush(stderr);
}

int countPages(const std::string& path) {
    try {
        QPDF pdf;
        pdf.setSuppressWarnings(true);
        pdf.processFile(path.c_str());
        return static_cast<int>(QPDFPageDocumentHelper(pdf).getAllPages().size());
    } catch (const std::exception&) {
        return 0;
    }
}

bool filled(const PropertyValue& value) {
    return !value.string().value_or("").empty();
}

bool isComplete(const PropertyValue& target) {
    const auto type = target["TargetType"].string();
    if (type == "Agent") return filled(target["agentId"]);
    return type == "Phone" && filled(target["TargetCountryCode"]) &&
           filled(target["TargetPhoneNumber"]);
}

// The record the agent listed for the target's printer, for its name and limits.
PropertyValue listedAgent(const PropertyValue& target) {
    for (const PropertyValue& agent : StateFiles::agentList().value_or(PropertyArray()))
        if (filled(agent["agentId"]) && agent["agentId"] == target["agentId"]) return agent;
    return {};
}

std::string fileNameFor(const std::string& title) {
    const std::string name = title.empty() ? "document" : title;
    const bool pdf = name.size() >= 4 && strcasecmp(name.c_str() + name.size() - 4, ".pdf") == 0;
    return pdf ? name.substr(0, name.size() - 4) : name;
}

class Job {
public:
    Job(const PrintJob& job, UserSession& session)
        : job_(job), session_(session), outbox_(Outbox::forCurrentUser()) {}

    int run(int fd) {
        std::string why;
        outbox_.prune(kKeepMarks);
        key_ = outbox_.keyFor(job_.jobId, job_.title);
        if (!outbox_.stage(fd, key_, &why)) {
            say("ERROR", why + "; the job is tried again later");
            return CUPS_BACKEND_RETRY;
        }
        if (outbox_.wasSent(key_)) {
            say("INFO", "Already sent to the Nimbrix service");
            outbox_.discard(key_);
            return CUPS_BACKEND_OK;
        }
        if (!outbox_.entry(key_)) {
            if (const auto status = decide()) return *status;
        }
        return deliver();
    }

private:
    // The agent's choice; an exit status when the job ends here.
    std::optional<int> decide() {
        std::string why;
        if (!session_.isReachable(&why)) {
            say("INFO", "Held until " + session_.name() + " logs in: " + why);
            outbox_.discard(key_);
            return CUPS_BACKEND_HOLD;
        }
        const int pages = std::max(1, countPages(outbox_.document(key_).string()));
        const std::string targetPath = outbox_.targetFile(key_).string();
        writePropertyListFile(targetPath, PropertyValue::dictionary());
        const JobOptions options = JobOptions::parse(job_.copies, job_.options);
        say("INFO", "Choose where the job goes in the Nimbrix window");
        const int status =
            runAndWait(Configuration::agentProgram(), options.agentArguments(pages, targetPath),
                       session_.agentEnvironment());
        if (terminationWasRequested())
            return end("INFO", "Cancelled while waiting for the choice", CUPS_BACKEND_CANCEL);
        const std::optional<PropertyValue> target = readPropertyListFile(targetPath);
        if (!target) return end("INFO", "Cancelled in the Nimbrix window", CUPS_BACKEND_CANCEL);
        if (!isComplete(*target)) {
            if (status != 0) {
                return end("ERROR",
                           "The Nimbrix agent could not run (status " + std::to_string(status) +
                               "); the job is held",
                           CUPS_BACKEND_HOLD);
            }
            return end("INFO", "No target was chosen; the job is cancelled", CUPS_BACKEND_CANCEL);
        }
        const PropertyValue agent = listedAgent(*target);
        if (agent["agentType"].string() == "POST_AGENT" && pages > kPostOfficePageLimit) {
            return end("ERROR",
                       "The job has more pages than the Post Office bundle allows (" +
                           std::to_string(kPostOfficePageLimit) + ")",
                       CUPS_BACKEND_CANCEL);
        }
        PropertyValue entry = PropertyValue::dictionary({{"target", *target},
                                                         {"title", fileNameFor(job_.title)},
                                                         {"jobId", job_.jobId},
                                                         {Outbox::kTitle, job_.title},
                                                         {"copies", options.copies},
                                                         {"totalPages", pages}});
        if (filled(agent["agentAlias"])) entry.set("targetName", agent["agentAlias"]);
        if (!outbox_.saveEntry(key_, entry))
            return end("ERROR", "Cannot keep the job in the outbox", CUPS_BACKEND_RETRY);
        std::remove(targetPath.c_str());
        return std::nullopt;
    }

    int end(const char* level, const std::string& text, int status) {
        say(level, text);
        outbox_.discard(key_);
        return status;
    }

    int deliver() {
        const std::optional<PropertyValue> entry = outbox_.entry(key_);
        const std::string title = entry ? (*entry)["title"].string().value_or("") : "";
        say("STATE", "+connecting-to-device");
        Outbox::Claim claim(outbox_);
        JobSender sender(outbox_);
        const JobSender::Result result = sender.send(key_);
        say("STATE", "-connecting-to-device");
        switch (result.outcome) {
            case JobSender::Outcome::Sent: {
                const int pages =
                    entry ? static_cast<int>((*entry)["totalPages"].integer().value_or(1) *
                                             (*entry)["copies"].integer().value_or(1))
                          : 0;
                say("PAGE", "total " + std::to_string(pages));
                say("INFO", "Sent to " + result.target);
                notify("Sent \"" + title + "\"", "to " + result.target + ".",
                       DesktopNotice::Urgency::Brief);
                sendWaiting(sender);
                return CUPS_BACKEND_OK;
            }
            case JobSender::Outcome::Waiting:
                say("INFO",
                    "The Nimbrix service cannot be reached; the job waits and is tried "
                    "again");
                notify("\"" + title + "\" is waiting",
                       "The Nimbrix service cannot be reached. The job is sent when it answers.",
                       DesktopNotice::Urgency::Lasting);
                return CUPS_BACKEND_RETRY;
            case JobSender::Outcome::NotSignedIn:
                say("ERROR",
                    "Nimbrix needs you to sign in again" +
                        (result.errorCode.empty() ? "" : " (code " + result.errorCode + ")") +
                        "; the job is held");
                notify("\"" + title + "\" is held",
                       "Open Nimbrix and authenticate your phone again, then release the job.",
                       DesktopNotice::Urgency::Lasting);
                return CUPS_BACKEND_HOLD;
            case JobSender::Outcome::Refused:
                outbox_.discard(key_);
                say("ERROR", "The Nimbrix service refused the job (code " +
                                 (result.errorCode.empty() ? "none" : result.errorCode) + ")");
                notify("\"" + title + "\" was not sent",
                       "The Nimbrix service refused it (code " + result.errorCode + ").",
                       DesktopNotice::Urgency::Lasting);
                return CUPS_BACKEND_CANCEL;
        }
        return CUPS_BACKEND_RETRY;
    }

    // Jobs left behind by earlier runs go out with this one; the first that cannot stops it.
    void sendWaiting(JobSender& sender) {
        for (const std::string& key : outbox_.waiting()) {
            const auto entry = outbox_.entry(key);
            const JobSender::Result result = sender.send(key);
            if (result.outcome == JobSender::Outcome::Waiting) return;
            if (result.outcome == JobSender::Outcome::Sent && entry) {
                notify("Sent \"" + (*entry)["title"].string().value_or("") + "\"",
                       "to " + result.target + ", after waiting.", DesktopNotice::Urgency::Brief);
            }
        }
    }

    static void notify(const std::string& summary, const std::string& body,
                       DesktopNotice::Urgency urgency) {
        DesktopNotice::show(summary, body, urgency);
    }

    const PrintJob& job_;
    UserSession& session_;
    Outbox outbox_;
    std::string key_;
};

}  // namespace

int PrintJob::run() const {
    const int fd = file ? open(file->c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO;
    if (fd < 0) {
        say("ERROR", "Unable to open print file \"" + *file + "\": " + std::strerror(errno));
        return CUPS_BACKEND_FAILED;
    }
    std::optional<UserSession> session = UserSession::forUser(user);
    std::string why;
    if (!session) why = "the user \"" + user + "\" is not known on this computer";
    if (session && session->become(&why)) return Job(*this, *session).run(fd);
    say("ERROR", why + "; the job is held");
    return CUPS_BACKEND_HOLD;
}

}  // namespace nbx::backend
