// nbx-doctor: says, check by check, why printing through the service does not work.
#include <cstdio>
#include <cstring>

#include "Doctor.h"
#include "NBXWebServiceRequest.h"

namespace {

constexpr const char* kUsage =
    "usage: nbx-doctor [--json]\n"
    "Checks what printing through Nimbrix needs, in order: lookup, api, identity, token, queue,\n"
    "backend, polling, helpers, state, log. One line per check; a failed one says what to do.\n"
    "--json prints {\"ok\":..,\"checks\":[{\"name\",\"ok\",\"detail\",\"remedy\"},...]}.\n"
    "Exits 0 when every check passes, 1 otherwise, 2 on a usage error.\n";

}  // namespace

int main(int argc, char** argv) {
    bool json = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(kUsage, stdout);
            return 0;
        } else {
            std::fprintf(stderr, "nbx-doctor: unknown argument \"%s\"\n%s", argv[i], kUsage);
            return 2;
        }
    }
    nbx::NBXWebServiceRequest::initializeTransport();
    const nbx::doctor::Report report = nbx::doctor::Doctor().run();
    std::fputs(json ? (report.json() + "\n").c_str() : report.text().c_str(), stdout);
    return report.allPassed() ? 0 : 1;
}
