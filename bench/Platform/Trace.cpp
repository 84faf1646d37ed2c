// A trace line that is off, against none.

#include "Platform/Logging/Trace.h"

#include <benchmark/benchmark.h>

namespace KelBench {

namespace {

Kel::TraceHandle handle( "KelBenchTrace" );

void traceNone( benchmark::State & state ) {
    U32 value = 0;
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( ++value );
    }
}

void traceDisabled( benchmark::State & state ) {
    U32 value = 0;
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( ++value );
        KEL_TRACE( handle, 5 ) << "value " << value;
    }
}

// Ten lines, since one can hide in the shadow of the loop.
void traceDisabledTen( benchmark::State & state ) {
    U32 value = 0;
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( ++value );
        for ( int line = 0; line < 10; ++line ) {
            benchmark::ClobberMemory(); // the switch is looked at anew
            KEL_TRACE( handle, 5 ) << "value " << value;
        }
    }
}

BENCHMARK( traceNone );
BENCHMARK( traceDisabled );
BENCHMARK( traceDisabledTen );

} // namespace

} // namespace KelBench
