#pragma once

#include "Platform/Framework/Types.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <ctime>
#include <vector>

namespace KelBench {

// What an optimiser must not see through.
using benchmark::DoNotOptimize;

// The processor time of the calling thread: what it costs, however long others make it wait.
struct ThreadClock {
    using time_point = std::chrono::duration<F64, std::nano>;
    static time_point now() {
        timespec time{};
        clock_gettime( CLOCK_THREAD_CPUTIME_ID, &time );
        return time_point( static_cast<F64>( time.tv_sec ) * 1e9 +
                           static_cast<F64>( time.tv_nsec ) );
    }
};

// Durations in nanoseconds. Its median stands up to what else the machine does.
template <class Clock>
class SamplesOf {
  public:
    // Measures f once; it stands for `count` runs.
    template <class F>
    F64 measure( F && f, std::size_t count = 1 ) {
        const auto start = Clock::now();
        f();
        const std::chrono::duration<F64, std::nano> elapsed = Clock::now() - start;
        samples_.push_back( elapsed.count() / static_cast<F64>( count ) );
        return elapsed.count();
    }

    F64 median() {
        const auto middle = samples_.begin() + static_cast<std::ptrdiff_t>( samples_.size() / 2 );
        std::nth_element( samples_.begin(), middle, samples_.end() );
        return middle == samples_.end() ? 0.0 : *middle;
    }

  private:
    std::vector<F64> samples_;
};
using Samples = SamplesOf<std::chrono::steady_clock>;

// Measures two ways to the same effect in turns, so that whatever slows the machine down slows
// both. `ours` and `bare` each stand for `count` runs; `between` is not measured. Needs manual
// time. Counters: nanoseconds of one run of either side, and their ratio.
template <class Ours, class Bare, class Between>
void runPaired( benchmark::State & state, std::size_t count, Ours && ours, Bare && bare,
                Between && between ) {
    Samples ourTimes;
    Samples bareTimes;
    for ( auto _ : state ) {
        state.SetIterationTime( ourTimes.measure( ours, count ) * 1e-9 );
        bare(); // brings its data back into the caches
        bareTimes.measure( bare, count );
        between();
    }
    const F64 our = ourTimes.median();
    const F64 theirs = bareTimes.median();
    state.counters["ours_ns"] = our;
    state.counters["bare_ns"] = theirs;
    state.counters["over_ns"] = our - theirs;
    state.counters["ratio"] = our / theirs;
}

} // namespace KelBench
