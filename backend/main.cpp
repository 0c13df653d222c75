// The print queue's device: the scheduler runs it once without arguments to learn its device
// class, and once per job with job-id user title copies options [file].
#include <cups/backend.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

namespace {

constexpr int kJobArgumentsWithoutFile = 6;
constexpr int kJobArgumentsWithFile = 7;

// Reads the whole job so the scheduler sees it consumed; the cloud hand-off comes later.
bool drain(std::istream& in) {
    char buffer[64 * 1024];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    }
    return in.eof() && !in.bad();
}

int runJob(const char* file) {
    if (!file) return drain(std::cin) ? CUPS_BACKEND_OK : CUPS_BACKEND_FAILED;
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "ERROR: Unable to open print file \"%s\": %s\n", file,
                     std::strerror(errno));
        return CUPS_BACKEND_FAILED;
    }
    if (!drain(in)) {
        std::fprintf(stderr, "ERROR: Unable to read print file \"%s\"\n", file);
        return CUPS_BACKEND_FAILED;
    }
    return CUPS_BACKEND_OK;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc == 1) {
        std::puts("network nbxbackend \"Unknown\" \"Nimbrix\"");
        return CUPS_BACKEND_OK;
    }
    if (argc != kJobArgumentsWithoutFile && argc != kJobArgumentsWithFile) {
        std::fprintf(stderr, "Usage: %s job-id user title copies options [file]\n", argv[0]);
        return CUPS_BACKEND_FAILED;
    }
    std::ios::sync_with_stdio(false);
    return runJob(argc == kJobArgumentsWithFile ? argv[6] : nullptr);
}
