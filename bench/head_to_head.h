// One benchmark row that runs this library and a peer codec on the same
// input in the same process, alternating run for run, so machine load hits
// both alike. The row's time is ours (manual time); counters give both
// throughputs from the fastest run of each and their ratio, x_peer =
// peer time / our time (above 1: we are faster).
#ifndef ZEQ_BENCH_HEAD_TO_HEAD_H
#define ZEQ_BENCH_HEAD_TO_HEAD_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>

namespace zeq::bench {

// items: work units of one run (pixels or bytes); unit names them per
// second in the counters ("MP/s" counts millions of items, "MB/s" too).
template <class Ours, class Peer>
void headToHead(benchmark::State& state, double items, const std::string& unit, Ours&& ours,
                Peer&& peer) {
    using Clock = std::chrono::steady_clock;
    double bestOurs = std::numeric_limits<double>::infinity(), bestPeer = bestOurs;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        ours();
        const auto t1 = Clock::now();
        peer();
        const auto t2 = Clock::now();
        const double o = std::chrono::duration<double>(t1 - t0).count();
        bestOurs = std::min(bestOurs, o);
        bestPeer = std::min(bestPeer, std::chrono::duration<double>(t2 - t1).count());
        state.SetIterationTime(o);
    }
    state.counters["zeqj_" + unit] = items / 1e6 / bestOurs;
    state.counters["peer_" + unit] = items / 1e6 / bestPeer;
    state.counters["x_peer"] = bestPeer / bestOurs;
}

}  // namespace zeq::bench

#endif
