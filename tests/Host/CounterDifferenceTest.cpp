#include "Host/StateStoreDifference.h"

#include "tests/Host/DocumentHelpers.h"

#include <gtest/gtest.h>

using namespace KelHost;
using namespace KelQos;
using KelHostTest::decoded;

namespace {

// A store that follows documents.
class Followed {
  public:
    explicit Followed( const SwitchDocument & document ) : store( document.device, false ) {
        next( document );
    }
    void next( const SwitchDocument & document ) {
        applyDifference( current_, document, store );
        current_ = document;
    }

    StateStore store;

  private:
    SwitchDocument current_;
};

const KelId::KelDevId device( 0 );

struct Counters {
    const TmCountersData & store;
    U16 pipe = 1;

    U64 value( U32 index, CounterType type ) const {
        return store.getCounter( device, KelId::KelPipeId( pipe ), index, type );
    }
    U64 block( U32 id ) const {
        return store.getBlockLevelCounter( device, KelId::KelPipeId( pipe ),
                                           static_cast<BlockLevelCounterName>( id ) );
    }
    // Ids and display names in the order of the collection.
    std::string blockEntries() const {
        const auto * counters =
            store.getBlockLevelCountersByPipePtr( device, KelId::KelPipeId( pipe ) );
        if ( !counters ) {
            return "not fetched";
        }
        std::string entries;
        for ( const auto entry : *counters ) {
            entries += std::to_string( entry.key ) + entry.value.name + " ";
        }
        return entries;
    }
};

constexpr const char * live = R"({ "counters": { "1": {
    "ppg": { "3": { "minUsage": 1, "sharedUsage": 2, "skidUsage": 3, "dropCounter": 40 },
             "4": { "minUsage": 5 } },
    "queue": { "43": 17 },
    "block": { "10": { "name": "ten", "type": 0, "value": 100 },
               "9": { "name": "nine", "type": 1, "value": 7 } } } } })";

TEST( CounterDifference, ValuesThatDifferAreSetAndThoseThatAreGoneRemoved ) {
    Followed followed( decoded( live ) );
    const Counters counters{ *followed.store.tmCountersData };
    EXPECT_EQ( counters.value( 3, counterTypePpgMinUsage ), 1U );
    EXPECT_EQ( counters.value( 3, counterTypePpgSharedUsage ), 2U );
    EXPECT_EQ( counters.value( 3, counterTypePpgSkidUsage ), 3U );
    EXPECT_EQ( counters.value( 3, counterTypePpgDrops ), 40U );
    EXPECT_EQ( counters.value( 43, counterTypeQueueUsage ), 17U );
    EXPECT_EQ( counters.blockEntries(), "9nine 10ten " );
    EXPECT_EQ( Counters( counters.store, 0 ).blockEntries(), "not fetched" );

    followed.next( decoded( R"({ "counters": {
        "0": { "block": {} },
        "1": { "ppg": { "4": { "minUsage": 6, "dropCounter": 2 } },
               "block": { "10": { "name": "ten", "type": 0, "value": 101 } } } } })" ) );
    EXPECT_EQ( counters.value( 3, counterTypePpgDrops ), 0U );
    EXPECT_EQ( counters.value( 4, counterTypePpgMinUsage ), 6U );
    EXPECT_EQ( counters.value( 4, counterTypePpgDrops ), 2U );
    EXPECT_EQ( counters.value( 43, counterTypeQueueUsage ), 0U );
    EXPECT_EQ( counters.blockEntries(), "10ten " );
    EXPECT_EQ( counters.block( 10 ), 101U );
    EXPECT_EQ( Counters( counters.store, 0 ).blockEntries(), "" );

    followed.next( decoded( "{}" ) );
    EXPECT_EQ( counters.value( 4, counterTypePpgMinUsage ), 0U );
    EXPECT_EQ( counters.blockEntries(), "not fetched" );
}

TEST( CounterDifference, ClearTakesGrowingCountersAndLeavesTheRestOfTheSnapshot ) {
    SwitchDocument document = decoded( live );
    document.countersLastClear = decoded( R"({ "counters": { "1": {
        "ppg": { "3": { "minUsage": 9, "dropCounter": 1 }, "5": { "dropCounter": 6 } },
        "block": { "9": { "name": "nine", "type": 1, "value": 3 },
                   "10": { "name": "X", "type": 0, "value": 4 } } } } })" )
                                     .counters;
    Followed followed( document );
    const Counters snapshot{ *followed.store.tmCountersDataLastClear };
    clearCounters( document.counters, followed.store );
    EXPECT_EQ( snapshot.value( 3, counterTypePpgDrops ), 40U );
    EXPECT_EQ( snapshot.value( 3, counterTypePpgMinUsage ), 9U );
    EXPECT_EQ( snapshot.value( 5, counterTypePpgDrops ), 6U ); // has no live value
    EXPECT_EQ( snapshot.block( 9 ), 3U );                      // a gauge
    EXPECT_EQ( snapshot.block( 10 ), 100U );

    // The snapshot that the run took is not in the document, so only what changes in the document
    // itself touches it.
    SwitchDocument next = document;
    next.counters[1].ppg[3].dropCounter = 50;
    next.countersLastClear[1].ppg[3].minUsage = 8;
    next.countersLastClear[1].block->at( 10 ).name = "ten";
    followed.next( next );
    EXPECT_EQ( snapshot.value( 3, counterTypePpgDrops ), 40U );
    EXPECT_EQ( snapshot.value( 3, counterTypePpgMinUsage ), 8U );
    EXPECT_EQ( snapshot.block( 10 ), 100U );
    EXPECT_EQ( snapshot.blockEntries(), "9nine 10ten " );
    next.countersLastClear[1].ppg.erase( 3 );
    next.countersLastClear[1].block->at( 10 ).value = 60;
    followed.next( next );
    EXPECT_EQ( snapshot.value( 3, counterTypePpgDrops ), 0U );
    EXPECT_EQ( snapshot.block( 10 ), 60U );

    // So does what goes away: the document's own entries go, one that only the run wrote stays.
    document.countersLastClear[1].block->erase( 10 );
    Followed second( document );
    const Counters left{ *second.store.tmCountersDataLastClear };
    clearCounters( document.counters, second.store );
    document.countersLastClear.clear();
    second.next( document );
    EXPECT_EQ( left.value( 3, counterTypePpgDrops ), 0U );
    EXPECT_EQ( left.blockEntries(), "10 " );
    EXPECT_EQ( left.block( 10 ), 100U );
}

} // namespace
