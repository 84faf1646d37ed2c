// How the cost of waiting and of changes grows with their number. (How bring-up grows with the
// ports is with the bring-up.)

#include "bench/Chip/BenchChip.h"
#include "bench/Driver/NullDriver.h"
#include "bench/support/Paired.h"

#include <malloc.h>

namespace KelBench {

namespace {

// A tick of the retry clock while groups of all ports wait for one; nanoseconds per waiting group.
void retry( benchmark::State & state ) {
    const auto waiting = static_cast<U32>( state.range( 0 ) );
    BenchChip chip( { .groups = 1 + waiting / 256 } );
    groupsAreFree( false );
    const std::size_t before = mallinfo2().uordblks;
    chip.bringUp();
    const auto bytes = static_cast<F64>( mallinfo2().uordblks - before );
    Samples samples;
    for ( auto _ : state ) {
        const auto tick = [&] { chip.time().advanceTo( chip.time().now() + 0.1 ); };
        state.SetIterationTime( samples.measure( tick, std::max( 1U, waiting ) ) * 1e-9 );
    }
    groupsAreFree( true );
    state.counters["per_group_ns"] = samples.median();
    state.counters["heap_bytes_chip"] = bytes;
}

BENCHMARK( retry )->Arg( 0 )->Arg( 256 )->Arg( 512 )->Arg( 1024 )->Arg( 2048 )->UseManualTime();

// A second in which some interfaces change (a queue's guaranteed cells) and all else is idle;
// nanoseconds per change.
void changesPerSecond( benchmark::State & state ) {
    const auto changes = static_cast<U32>( state.range( 0 ) );
    BenchChip chip( {} );
    chip.bringUp();
    U32 cells = 100;
    Samples samples;
    for ( auto _ : state ) {
        ++cells;
        const auto second = [&] {
            for ( U32 number = 0; number < changes; ++number ) {
                chip.queue( number ).minLimitCellsIs( cells );
            }
            chip.time().advanceTo( chip.time().now() + 1.0 );
        };
        state.SetIterationTime( samples.measure( second, changes ) * 1e-9 );
    }
    state.counters["per_change_ns"] = samples.median();
}

BENCHMARK( changesPerSecond )->Arg( 1 )->Arg( 16 )->Arg( 256 )->UseManualTime();

} // namespace

} // namespace KelBench
