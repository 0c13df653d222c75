// Upload memory and per-exchange overhead of the cloud client, on loopback.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "BenchServers.h"
#include "NBXCloudInterface.h"

namespace nbx::bench {
namespace {

constexpr std::size_t kMiB = 1 << 20;

long statusKiB(const char* field) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.starts_with(field)) return std::atol(line.c_str() + std::strlen(field));
    }
    return -1;
}

PropertyValue sender(std::initializer_list<PropertyDictionary::Entry> extra) {
    PropertyValue input = PropertyValue::dictionary(
        {{"senderCountryCode", "44"}, {"senderPhoneNumber", "7700900123"}});
    for (const auto& [key, value] : extra)
        input.set(key, value);
    return input;
}

// Peak memory the upload adds beyond the document, in bytes; measured in a child process so
// the high-water mark belongs to the upload alone. Negative on failure.
long long uploadOverheadBytes(const std::string& hostPort, std::size_t documentBytes) {
    int channel[2];
    if (::pipe(channel) != 0) return -1;
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        NBXWebServiceRequest::initializeTransport();
        auto cloud =
            NBXCloudInterface::interfaceWithNBXServerInformation(hostPort, "/nbx/v2", "http://");
        Bytes document(documentBytes, 0x25);
        PropertyValue input = sender({{"fileName", "big.pdf"}, {"pdfData", std::move(document)}});
        std::ofstream("/proc/self/clear_refs") << "5";
        const long baseKiB = statusKiB("VmRSS:");
        const bool ok = cloud && cloud->uploadContentJob(input, nullptr, nullptr);
        const long long overhead = ok ? (statusKiB("VmHWM:") - baseKiB) * 1024LL : -1;
        if (::write(channel[1], &overhead, sizeof overhead) < 0) ::_exit(1);
        ::_exit(0);
    }
    ::close(channel[1]);
    long long overhead = -1;
    if (::read(channel[0], &overhead, sizeof overhead) != sizeof overhead) overhead = -1;
    ::close(channel[0]);
    ::waitpid(child, nullptr, 0);
    return overhead;
}

void reportUpload(benchmark::State& state, const std::string& hostPort) {
    const std::size_t size = static_cast<std::size_t>(state.range(0)) * kMiB;
    long long overhead = -1;
    for (auto _ : state)
        overhead = uploadOverheadBytes(hostPort, size);
    if (overhead < 0) state.SkipWithError("upload failed");
    state.counters["overhead_MiB"] = static_cast<double>(overhead) / kMiB;
    state.counters["overhead_fraction"] = static_cast<double>(overhead) / static_cast<double>(size);
}

// 256 MiB is past the emulator's body limit, so the big case goes to a discarding server.
void BM_UploadMemoryToSink(benchmark::State& state) {
    DiscardSink sink;
    reportUpload(state, sink.hostPort());
}
BENCHMARK(BM_UploadMemoryToSink)->Arg(256)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_UploadMemoryToEmulator(benchmark::State& state) {
    EmulatorProcess emulator;
    if (!emulator.ok()) return state.SkipWithError("emulator did not start");
    reportUpload(state, emulator.hostPort());
}
BENCHMARK(BM_UploadMemoryToEmulator)->Arg(48)->Iterations(1)->Unit(benchmark::kMillisecond);

size_t discard(char*, size_t size, size_t count, void*) {
    return size * count;
}

// The least a client can do: a fresh handle and one GET.
bool bareGet(const std::string& url) {
    CURL* curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &discard);
    const bool ok = curl_easy_perform(curl) == CURLE_OK;
    curl_easy_cleanup(curl);
    return ok;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[values.size() / 2];
}

void BM_ExchangeOverhead(benchmark::State& state) {
    EmulatorProcess emulator;
    if (!emulator.ok()) return state.SkipWithError("emulator did not start");
    auto cloud = NBXCloudInterface::interfaceWithNBXServerInformation(emulator.hostPort(),
                                                                      "/nbx/v2", "http://");
    const std::string url = "http://" + emulator.hostPort() + "/nbx/v2/printmgtsvc/agent/state";
    const PropertyValue input = sender({{"agentId", PropertyValue::array({"a1"})}});
    std::vector<double> facade, bare;
    using Clock = std::chrono::steady_clock;
    for (auto _ : state) {
        auto start = Clock::now();
        PropertyValue answer;
        benchmark::DoNotOptimize(cloud->getAgentState(input, &answer, nullptr));
        facade.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        start = Clock::now();
        benchmark::DoNotOptimize(bareGet(url));
        bare.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    state.counters["getAgentState_median_us"] = median(facade);
    state.counters["bare_get_median_us"] = median(bare);
    state.counters["ratio"] = median(facade) / median(bare);
}
BENCHMARK(BM_ExchangeOverhead)->Iterations(400)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace nbx::bench

int main(int argc, char** argv) {
    nbx::NBXWebServiceRequest::initializeTransport();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
