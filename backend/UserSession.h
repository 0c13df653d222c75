#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace nbx::backend {

// The user a job belongs to and the login session the back end may reach for it.
class UserSession {
public:
    // From the user database; none for an unknown name.
    static std::optional<UserSession> forUser(const std::string& name);

    // Gives up every right but the user's for good: a root back end becomes the user, any
    // other must already be that user. Sets HOME, USER, LOGNAME and the session's bus address.
    bool become(std::string* whyNot);
    // True when the user's session bus is up and the kernel says its end belongs to the user,
    // so nothing another user set up is ever reached.
    bool isReachable(std::string* whyNot) const;
    // What the agent is started with: the basics, the graphical session's variables as the
    // session's service manager knows them, and the scheduler's NBX_/Qt/print settings.
    std::vector<std::string> agentEnvironment() const;

    const std::string& name() const { return name_; }
    const std::string& home() const { return home_; }
    std::string busAddress() const;

private:
    UserSession(std::string name, uid_t uid, gid_t gid, std::string home);
    std::vector<std::string> graphicalVariables() const;

    std::string name_;
    uid_t uid_;
    gid_t gid_;
    std::string home_;
};

// Runs the program with the arguments and environment and waits for it; a termination request
// to the back end (the job cancelled) is passed on to it. The exit status, or -1 when it could
// not start or did not exit normally.
int runAndWait(const std::string& program, const std::vector<std::string>& arguments,
               const std::vector<std::string>& environment);
// The scheduler asked the back end to stop (the job was cancelled) while it waited.
bool terminationWasRequested();

}  // namespace nbx::backend
