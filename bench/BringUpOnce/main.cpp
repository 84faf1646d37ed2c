// Brings the whole chip up once, then issues the same calls bare: for tools that count
// instructions.

#include "bench/Chip/BenchChip.h"
#include "bench/Driver/CallSequence.h"

int main() {
    const auto bare = KelBench::CallSequence::recorded( "bring-up 256 3" );
    KelBench::BenchChip chip( {} );
    chip.bringUp();
    const int status = bare.replay();
    chip.tearDown();
    return status;
}
