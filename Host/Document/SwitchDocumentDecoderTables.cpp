#include "Host/Document/SwitchDocumentDecoderParts.h"
#include "Host/Json/JsonDecode.h"

namespace KelHost::Decode {

namespace {

constexpr U64 highestPipe = 3;
constexpr U64 highestResource = 65535;
constexpr U64 highestGroupCounter = 255;
constexpr U64 highestQueueCounter = 65535;
constexpr U64 highestBlockCounter = 4294967295;
constexpr std::size_t blockCounterLimit = 4096; // of a pipe

// A value is checked against the limits as it is written, before it is rounded to its type.
template <auto member, U64 high>
void share( const JsonCursor & cursor, WredEntry & out ) {
    out.*member = static_cast<F32>( readNumber( cursor, 0, static_cast<F64>( high ) ) );
}

constexpr Rule<WredEntry> wredRules[] = {
    { "minThdCells", anyUnsigned<&WredEntry::minThdCells>, true },
    { "maxThdCells", anyUnsigned<&WredEntry::maxThdCells>, true },
    { "maxDropProbability", share<&WredEntry::maxDropProbability, 1>, true },
    { "timeConstantNs", share<&WredEntry::timeConstantNs, 1'000'000'000'000>, true },
};

void wredEntry( const JsonCursor & cursor, WredEntry & out ) { object( cursor, out, wredRules ); }

void wredPipe( const JsonCursor & cursor, Wred::mapped_type & out ) {
    numbered( cursor, out, highestResource, "a resource index", wredEntry );
}

constexpr Rule<PpgCounters> ppgCounterRules[] = {
    { "minUsage", anyUnsigned<&PpgCounters::minUsage> },
    { "sharedUsage", anyUnsigned<&PpgCounters::sharedUsage> },
    { "skidUsage", anyUnsigned<&PpgCounters::skidUsage> },
    { "dropCounter", anyUnsigned<&PpgCounters::dropCounter> },
};

void ppgCounters( const JsonCursor & cursor, PpgCounters & out ) {
    object( cursor, out, ppgCounterRules );
}

void queueCounter( const JsonCursor & cursor, U64 & out ) {
    out = readInteger( cursor, 0, ~U64{ 0 } );
}

constexpr Rule<BlockCounter> blockCounterRules[] = {
    { "name", name<&BlockCounter::name>, true },
    { "type", anyUnsigned<&BlockCounter::type>, true },
    { "value", anyUnsigned<&BlockCounter::value> },
};

void blockCounter( const JsonCursor & cursor, BlockCounter & out ) {
    object( cursor, out, blockCounterRules );
}

void ppgIndex( const JsonCursor & cursor, PipeCounters & out ) {
    numbered( cursor, out.ppg, highestGroupCounter, "a priority group's counter index",
              ppgCounters );
}

void queueIndex( const JsonCursor & cursor, PipeCounters & out ) {
    numbered( cursor, out.queue, highestQueueCounter, "a queue's counter index", queueCounter );
}

void blockIndex( const JsonCursor & cursor, PipeCounters & out ) {
    if ( readObject( cursor ).size() > blockCounterLimit ) {
        cursor.refuse( "must have 4096 members at most" );
    }
    numbered( cursor, out.block.emplace(), highestBlockCounter, "a block-level counter",
              blockCounter );
}

constexpr Rule<PipeCounters> pipeRules[] = {
    { "ppg", ppgIndex },
    { "queue", queueIndex },
    { "block", blockIndex },
};

void pipeCounters( const JsonCursor & cursor, PipeCounters & out ) {
    object( cursor, out, pipeRules );
}

} // namespace

void wredObject( const JsonCursor & cursor, Wred & out ) {
    numbered( cursor, out, highestPipe, "a pipe", wredPipe );
}

void countersObject( const JsonCursor & cursor, CounterStore & out ) {
    numbered( cursor, out, highestPipe, "a pipe", pipeCounters );
}

} // namespace KelHost::Decode
