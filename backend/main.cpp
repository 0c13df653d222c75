// The print queue's device: the scheduler runs it once without arguments to learn its device
// class, and once per job with job-id user title copies options [file].
#include <cups/backend.h>
#include <signal.h>

#include <cstdio>

#include "NBXWebServiceRequest.h"
#include "PrintJob.h"

int main(int argc, char* argv[]) {
    if (argc == 1) {
        std::puts("network nbxbackend \"Unknown\" \"Nimbrix\"");
        return CUPS_BACKEND_OK;
    }
    if (argc != 6 && argc != 7) {
        std::fprintf(stderr, "Usage: %s job-id user title copies options [file]\n", argv[0]);
        return CUPS_BACKEND_FAILED;
    }
    // A service that hangs up must fail the exchange, not end the job.
    signal(SIGPIPE, SIG_IGN);
    nbx::NBXWebServiceRequest::initializeTransport();
    nbx::backend::PrintJob job{argv[1], argv[2], argv[3], argv[4], argv[5], std::nullopt};
    if (argc == 7) job.file = argv[6];
    return job.run();
}
