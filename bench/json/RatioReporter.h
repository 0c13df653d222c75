#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace nbx::bench {

// Console output as usual, then, per document and direction, our throughput divided by each
// other library's. Runs are named "direction/document/library".
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& reports) override;
    void printRatios(const std::string& ours, const std::vector<std::string>& others) const;

private:
    std::map<std::string, double> bytesPerSecond_;  // by run name
    std::vector<std::string> order_;                // "direction/document", first-seen order
};

}  // namespace nbx::bench
