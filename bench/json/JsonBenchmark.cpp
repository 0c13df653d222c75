#include <benchmark/benchmark.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "BenchDocuments.h"
#include "JSONKit.h"
#include "RatioReporter.h"

namespace {

using nbx::bench::RatioReporter;

void decodeOurs(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        auto value = nbx::objectFromJSONData(text);
        if (!value) state.SkipWithError("decode failed");
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void decodeRapid(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        rapidjson::Document doc;
        doc.Parse(text.data(), text.size());
        if (doc.HasParseError()) state.SkipWithError("decode failed");
        benchmark::DoNotOptimize(doc);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void decodeNlohmann(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        auto doc = nlohmann::json::parse(text);
        benchmark::DoNotOptimize(doc);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

// Throughput counts the bytes written.
void encodeOurs(benchmark::State& state, const std::string& text) {
    const auto value = nbx::objectFromJSONData(text);
    std::size_t written = 0;
    for (auto _ : state) {
        auto bytes = nbx::JSONData(*value);
        written += bytes->size();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(written));
}

void encodeRapid(benchmark::State& state, const std::string& text) {
    rapidjson::Document doc;
    doc.Parse(text.data(), text.size());
    std::size_t written = 0;
    for (auto _ : state) {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        doc.Accept(writer);
        written += buffer.GetSize();
        benchmark::DoNotOptimize(buffer.GetString());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(written));
}

void encodeNlohmann(benchmark::State& state, const std::string& text) {
    const auto doc = nlohmann::json::parse(text);
    std::size_t written = 0;
    for (auto _ : state) {
        auto out = doc.dump();
        written += out.size();
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(written));
}

using Runner = void (*)(benchmark::State&, const std::string&);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::pair<const char*, std::string> documents[] = {
        {"agents", nbx::bench::agentListDocument()},
        {"numbers", nbx::bench::numberDocument()},
        {"strings", nbx::bench::stringDocument()}};
    const std::pair<const char*, Runner> runners[] = {
        {"decode/%s/ours", decodeOurs},         {"decode/%s/rapidjson", decodeRapid},
        {"decode/%s/nlohmann", decodeNlohmann}, {"encode/%s/ours", encodeOurs},
        {"encode/%s/rapidjson", encodeRapid},   {"encode/%s/nlohmann", encodeNlohmann}};
    for (const auto& [document, text] : documents) {
        for (const auto& [pattern, runner] : runners) {
            std::string name = pattern;
            name.replace(name.find("%s"), 2, document);
            benchmark::RegisterBenchmark(name.c_str(), runner, text)->Unit(benchmark::kMillisecond);
        }
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios("ours", {"rapidjson", "nlohmann"});
    benchmark::Shutdown();
    return 0;
}
