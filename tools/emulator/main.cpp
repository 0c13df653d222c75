// A local stand-in for the Nimbrix cloud service, for people and tests.
#include <csignal>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

#include "CloudState.h"
#include "EmulatorServer.h"

namespace {

struct Options {
    int port = 0;
    std::string stateFile;
    std::string saveFile;
    bool quiet = false;
    bool tokenCheck = true;
};

constexpr const char* kUsage =
    "usage: nimbrix-cloud-emulator [--port N] [--state FILE] [--save FILE] [--quiet] "
    "[--no-token-check]\n";

std::optional<Options> parseArguments(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        bool hasValue = i + 1 < argc;
        if (argument == "--port" && hasValue) {
            char* end = nullptr;
            long port = std::strtol(argv[++i], &end, 10);
            if (*end != '\0' || port < 0 || port > 65535) return std::nullopt;
            options.port = static_cast<int>(port);
        } else if (argument == "--state" && hasValue) {
            options.stateFile = argv[++i];
        } else if (argument == "--save" && hasValue) {
            options.saveFile = argv[++i];
        } else if (argument == "--quiet") {
            options.quiet = true;
        } else if (argument == "--no-token-check") {
            options.tokenCheck = false;
        } else {
            return std::nullopt;
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    auto options = parseArguments(argc, argv);
    if (!options) {
        std::cerr << kUsage;
        return 2;
    }
    nbx::emulator::CloudState state;
    std::string error;
    if (!options->stateFile.empty() && !state.load(options->stateFile, &error)) {
        std::cerr << "nimbrix-cloud-emulator: " << error << "\n";
        return 1;
    }
    if (!options->tokenCheck) state.setOption("requireAccessToken", false);

    // Signals are taken by sigwait below; every thread started later inherits the block.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    nbx::emulator::EmulatorServer server(state, std::cout, options->quiet);
    auto port = server.bind(options->port);
    if (!port) {
        std::cerr << "nimbrix-cloud-emulator: cannot listen on 127.0.0.1:" << options->port << "\n";
        return 1;
    }
    std::thread serving([&server] { server.serve(); });
    std::cout << "listening on 127.0.0.1:" << *port << std::endl;

    int received = 0;
    sigwait(&stopSignals, &received);
    server.stop();
    serving.join();
    if (!options->saveFile.empty() && !state.save(options->saveFile, &error)) {
        std::cerr << "nimbrix-cloud-emulator: " << error << "\n";
        return 1;
    }
    return 0;
}
