// The start of the process with the whole chip in its document, step by step, and a whole
// `kelqos play` of it. The state machines run on the driver that does nothing.

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonReader.h"
#include "Host/Json/TextFile.h"
#include "Host/Switch/StateStoreDifference.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Framework/ActivityManager.h"
#include "bench/support/Paired.h"

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace KelBench {

namespace {

const std::string documentFile = KEL_BENCH_EXAMPLES "/full-chip.json";

KelHost::SwitchDocument decode( const std::string & text ) {
    return KelHost::decodeSwitchDocument( KelHost::readJson( text, documentFile ),
                                          { documentFile, {} } );
}

KelHost::SwitchDocument fullChip() { return decode( KelHost::readTextFile( documentFile ) ); }

std::unique_ptr<KelHost::StateStore> filledStore( const KelHost::SwitchDocument & document ) {
    auto store =
        std::make_unique<KelHost::StateStore>( document.device, document.bufferParams.has_value() );
    KelHost::SwitchDocument nothing; // what a new store stands for
    nothing.device = document.device;
    KelHost::applyDifference( nothing, document, *store );
    return store;
}

// Runs a step of the start, and has `prepare` make what it starts from.
template <class Prepare, class Step>
void measureStep( benchmark::State & state, const Prepare & prepare, const Step & step ) {
    Samples samples;
    for ( auto _ : state ) {
        auto before = prepare();
        state.SetIterationTime( samples.measure( [&] { step( before ); } ) * 1e-9 );
    }
    state.counters["median_ns"] = samples.median();
}

void startUpDocument( benchmark::State & state ) {
    const std::string text = KelHost::readTextFile( documentFile );
    measureStep(
        state, [] { return std::optional<KelHost::SwitchDocument>(); },
        [&]( auto & document ) { document = decode( text ); } );
}

void startUpStateStore( benchmark::State & state ) {
    const KelHost::SwitchDocument document = fullChip();
    measureStep(
        state, [] { return std::unique_ptr<KelHost::StateStore>(); },
        [&]( auto & store ) { store = filledStore( document ); } );
}

void startUpStateMachines( benchmark::State & state ) {
    const KelHost::SwitchDocument document = fullChip();
    Kel::ActivityManager time;
    struct Chip {
        std::unique_ptr<KelHost::StateStore> store;
        Kel::Ptr<KelQos::KelSliceQosSm> sm;
    };
    measureStep(
        state,
        [&] {
            return Chip{ filledStore( document ), nullptr };
        },
        [&]( Chip & chip ) {
            const KelHost::StateStore & store = *chip.store;
            chip.sm = KelQos::kelSliceQosSmFactory(
                store.devId.value(), time.config()->clock(), store.tmConfig, store.tmStatus,
                store.tmBufferParams, store.pfcSharedState, store.systemStatus, store.chipStatus,
                store.cmdRequestDirSm, store.tmCountersData, store.tmCountersDataLastClear,
                store.ethPhyIntfStatusDir );
            time.advanceTo( time.now() );
        } );
}

// The whole process on the modelled chip; its log goes through a pipe and is counted.
void play( benchmark::State & state ) {
    const std::string command = std::string( KEL_BENCH_PROGRAM " play " ) + documentFile;
    U64 lines = 0;
    for ( auto _ : state ) {
        std::FILE * const log = popen( command.c_str(), "r" );
        KEL_ASSERT( log );
        std::array<char, 65536> buffer;
        lines = 0;
        while ( const std::size_t size = std::fread( buffer.data(), 1, buffer.size(), log ) ) {
            lines += static_cast<U64>( std::count( buffer.data(), buffer.data() + size, '\n' ) );
        }
        if ( pclose( log ) != 0 ) {
            state.SkipWithError( "kelqos play failed" );
            break;
        }
    }
    state.counters["events"] = static_cast<F64>( lines );
    state.SetItemsProcessed( state.iterations() * static_cast<S64>( lines ) );
}

BENCHMARK( startUpDocument )->UseManualTime()->Unit( benchmark::kMicrosecond );
BENCHMARK( startUpStateStore )->UseManualTime()->Unit( benchmark::kMicrosecond );
BENCHMARK( startUpStateMachines )->UseManualTime()->Unit( benchmark::kMicrosecond );
BENCHMARK( play )->UseRealTime()->Unit( benchmark::kMillisecond );

} // namespace

} // namespace KelBench
