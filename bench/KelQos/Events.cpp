// One change of one attribute on the whole chip, against the bare driver calls that it causes.

#include "bench/Chip/Events.h"
#include "bench/Driver/CallSequence.h"
#include "bench/support/Paired.h"

namespace KelBench {

namespace {

void event( benchmark::State & state, const char * name ) {
    const Event & event = eventNamed( name );
    const CallSequence bare = CallSequence::recorded( std::string( "event " ) + name );
    BenchChip chip( {} );
    chip.bringUp();
    Kel::Entity & entity = event.entity( chip );
    event.change( entity, false );
    const std::size_t rounds = 1 + 20000 / bare.calls.size();
    runPaired(
        state, 2 * rounds,
        [&] {
            for ( std::size_t round = 0; round < rounds; ++round ) {
                event.change( entity, true );
                event.change( entity, false );
            }
        },
        [&] {
            for ( std::size_t round = 0; round < rounds; ++round ) {
                DoNotOptimize( bare.replay() );
            }
        },
        [] {} );
    state.counters["calls"] = static_cast<F64>( bare.calls.size() ) / 2;
}

BENCHMARK_CAPTURE( event, pfcEnabled, "pfcEnabled" )->UseManualTime();
BENCHMARK_CAPTURE( event, minLimitCells, "minLimitCells" )->UseManualTime();
BENCHMARK_CAPTURE( event, shapeRate, "shapeRate" )->UseManualTime();
BENCHMARK_CAPTURE( event, cosToTc, "cosToTc" )->UseManualTime();

} // namespace

} // namespace KelBench
