// Bytes of a queue reactor, and of a group reactor with its poll clock.

#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
#include "bench/Chip/BenchChip.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

namespace KelBench {

namespace {

using VelTmIntfConfig = KelQos::KelSliceQosSm::VelTmIntfConfig;
using VelTmPpgConfig = VelTmIntfConfig::VelTmPpgConfig;
using VelTmTxQueueConfig = VelTmIntfConfig::VelTmTxQueueConfig;

// Bytes of the heap that bringing up a chip of this size takes, what it wrote about the chip
// included.
F64 bringUpBytes( const ChipSize & size ) {
    BenchChip chip( size );
    chip.bringUp(); // what is made once stays
    chip.tearDown();
    const std::size_t before = mallinfo2().uordblks;
    chip.bringUp();
    return static_cast<F64>( mallinfo2().uordblks - before );
}

// What one more of something costs on each of the chip's ports.
F64 bytesOfOne( const ChipSize & with, const ChipSize & without ) {
    return ( bringUpBytes( with ) - bringUpBytes( without ) ) / with.ports;
}

void memoryOfQueue( benchmark::State & state ) {
    F64 bytes = 0;
    for ( auto _ : state ) {
        bytes = bytesOfOne( { .queues = 8 }, { .queues = 7 } );
    }
    state.counters["sizeof"] = sizeof( VelTmTxQueueConfig );
    state.counters["heap_bytes"] = bytes;
}

void memoryOfGroup( benchmark::State & state ) {
    F64 bytes = 0;
    for ( auto _ : state ) {
        bytes = bytesOfOne( { .groups = 3 }, { .groups = 2 } );
    }
    state.counters["sizeof"] = sizeof( VelTmPpgConfig ) + sizeof( VelTmPpgConfig::VelPollClock );
    state.counters["heap_bytes"] = bytes;
}

BENCHMARK( memoryOfQueue )->Iterations( 1 );
BENCHMARK( memoryOfGroup )->Iterations( 1 );

} // namespace

} // namespace KelBench
