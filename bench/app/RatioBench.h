#pragma once

// The yardstick measurement both whole-process benchmarks share: the agent and a bare program
// run alternately so both see the same machine load; "ratio" is agent time over bare time
// (medians).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace nbx::bench {

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Each run answers its seconds, or a negative value when it failed.
inline void measureRatio(benchmark::State& state, const std::function<double()>& agentRun,
                         const std::function<double()>& bareRun, const char* whyFailed) {
    std::vector<double> agent;
    std::vector<double> bare;
    for (auto _ : state) {
        const double a = agentRun();
        const double b = bareRun();
        if (a < 0 || b < 0) {
            state.SkipWithError(whyFailed);
            return;
        }
        agent.push_back(a);
        bare.push_back(b);
        state.SetIterationTime(a);
    }
    state.counters["agent_ms"] = median(agent) * 1000;
    state.counters["bare_ms"] = median(bare) * 1000;
    state.counters["ratio"] = median(agent) / median(bare);
}

}  // namespace nbx::bench
