// The whole chip from the factory call to the last timer served, against the bare driver calls.

#include "bench/Chip/BenchChip.h"
#include "bench/Driver/CallSequence.h"
#include "bench/support/Paired.h"

namespace KelBench {

namespace {

// Arguments: ports, groups of a port.
void bringUp( benchmark::State & state ) {
    const ChipSize size{ .ports = static_cast<U32>( state.range( 0 ) ),
                         .groups = static_cast<U32>( state.range( 1 ) ) };
    const CallSequence bare = CallSequence::recorded( "bring-up " + std::to_string( size.ports ) +
                                                      " " + std::to_string( size.groups ) );
    BenchChip chip( size );
    runPaired(
        state, 1, [&] { chip.bringUp(); }, [&] { DoNotOptimize( bare.replay() ); },
        [&] { chip.tearDown(); } );
    const auto calls = static_cast<F64>( bare.calls.size() );
    state.counters["calls"] = calls;
    state.counters["ns_per_call"] = state.counters["ours_ns"] / calls;
    state.counters["ns_per_queue"] = state.counters["ours_ns"] / ( size.ports * size.queues );
}

BENCHMARK( bringUp )
    ->ArgNames( { "ports", "groups" } )
    ->Args( { 32, 3 } )
    ->Args( { 64, 3 } )
    ->Args( { 128, 3 } )
    ->Args( { 256, 3 } )
    ->Args( { 288, 3 } )
    ->Args( { 256, 9 } )
    ->UseManualTime()
    ->Unit( benchmark::kMicrosecond );

} // namespace

} // namespace KelBench
