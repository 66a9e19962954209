// One benchmark row that runs this library and a peer codec on the same
// input in the same process, alternating run for run, so machine load hits
// both alike. Runs are timed in CPU time of the calling thread (both sides
// run on it alone), which other processes on a busy machine disturb far
// less than wall time. The row's time is ours (manual time); counters give
// both throughputs from the fastest run of each and their ratio, x_peer =
// peer time / our time (above 1: we are faster).
#ifndef ZEQ_BENCH_HEAD_TO_HEAD_H
#define ZEQ_BENCH_HEAD_TO_HEAD_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <string>

namespace zeq::bench {

// items: work units of one run (pixels or bytes); unit names them per
// second in the counters ("MP/s" counts millions of items, "MB/s" too).
template <class Ours, class Peer>
void headToHead(benchmark::State& state, double items, const std::string& unit, Ours&& ours,
                Peer&& peer) {
    const auto now = [] {
        timespec t;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
    };
    double bestOurs = std::numeric_limits<double>::infinity(), bestPeer = bestOurs;
    for (auto _ : state) {
        const double t0 = now();
        ours();
        const double t1 = now();
        peer();
        const double t2 = now();
        bestOurs = std::min(bestOurs, t1 - t0);
        bestPeer = std::min(bestPeer, t2 - t1);
        state.SetIterationTime(t1 - t0);
    }
    state.counters["zeqj_" + unit] = items / 1e6 / bestOurs;
    state.counters["peer_" + unit] = items / 1e6 / bestPeer;
    state.counters["x_peer"] = bestPeer / bestOurs;
}

}  // namespace zeq::bench

#endif
