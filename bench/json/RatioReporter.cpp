#include "RatioReporter.h"

#include <algorithm>
#include <cstdio>

namespace nbx::bench {

void RatioReporter::ReportRuns(const std::vector<Run>& reports) {
    ConsoleReporter::ReportRuns(reports);
    for (const Run& run : reports) {
        const auto rate = run.counters.find("bytes_per_second");
        // With repetitions the median, reported after the single runs, has the last word.
        const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
        if ((run.run_type != Run::RT_Iteration && !median) || rate == run.counters.end()) continue;
        const std::string name = run.run_name.function_name;
        bytesPerSecond_[name] = rate->second.value;
        const std::string group = name.substr(0, name.rfind('/'));
        if (std::find(order_.begin(), order_.end(), group) == order_.end()) order_.push_back(group);
    }
}

void RatioReporter::printRatios(const std::string& ours,
                                const std::vector<std::string>& others) const {
    std::printf("\n%-24s %10s", "ratio ours/other", (ours + " MB/s").c_str());
    for (const auto& other : others)
        std::printf(" %12s", other.c_str());
    std::printf("\n");
    for (const auto& group : order_) {
        const auto mine = bytesPerSecond_.find(group + "/" + ours);
        if (mine == bytesPerSecond_.end()) continue;
        std::printf("%-24s %10.1f", group.c_str(), mine->second / 1e6);
        for (const auto& other : others) {
            const auto theirs = bytesPerSecond_.find(group + "/" + other);
            if (theirs == bytesPerSecond_.end())
                std::printf(" %12s", "-");
            else
                std::printf(" %12.2f", mine->second / theirs->second);
        }
        std::printf("\n");
    }
}

}  // namespace nbx::bench
