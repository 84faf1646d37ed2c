#include "Host/Document/MapDifference.h"
#include "Host/Switch/StateStoreDifference.h"

namespace KelHost {

namespace {

using KelQos::TmCountersData;

KelQos::BlockLevelCounterName nameOf( U32 id ) {
    return static_cast<KelQos::BlockLevelCounterName>( id );
}

KelQos::BlockLevelCounterType typeOf( const BlockCounter & counter ) {
    return static_cast<KelQos::BlockLevelCounterType>( counter.type );
}

// The counters of one pipe of one store.
class PipeDifference {
  public:
    PipeDifference( TmCountersData & counters, KelDriver::KelDevTgt pipe )
        : counters_( counters ), pipe_( pipe ) {}

    void apply( const PipeCounters & before, const PipeCounters & after ) const {
        applyPpgs( before, after );
        applyQueues( before, after );
        applyBlock( before, after );
    }

  private:
    struct PpgField {
        KelQos::CounterType type;
        U64 PpgCounters::*value;
    };
    static constexpr PpgField ppgFields[] = {
        { KelQos::counterTypePpgMinUsage, &PpgCounters::minUsage },
        { KelQos::counterTypePpgSharedUsage, &PpgCounters::sharedUsage },
        { KelQos::counterTypePpgSkidUsage, &PpgCounters::skidUsage },
        { KelQos::counterTypePpgDrops, &PpgCounters::dropCounter },
    };

    void set( U32 index, KelQos::CounterType type, U64 value ) const {
        counters_.setCounter( pipe_.devId(), pipe_.pipeId(), index, type, value );
    }
    void del( U32 index, KelQos::CounterType type ) const {
        counters_.counterDel( pipe_.devId(), pipe_.pipeId(), index, type );
    }

    void applyPpgs( const PipeCounters & before, const PipeCounters & after ) const {
        forRemoved( before.ppg, after.ppg, [&]( U8 index, const auto & ) {
            for ( const PpgField & field : ppgFields ) {
                del( index, field.type );
            }
        } );
        forAddedOrChanged( before.ppg, after.ppg,
                           [&]( U8 index, const PpgCounters * old, const PpgCounters & values ) {
                               for ( const PpgField & field : ppgFields ) {
                                   const U64 value = values.*field.value;
                                   if ( !old || old->*field.value != value ) {
                                       set( index, field.type, value );
                                   }
                               }
                           } );
    }

    void applyQueues( const PipeCounters & before, const PipeCounters & after ) const {
        forRemoved( before.queue, after.queue,
                    [&]( U16 index, U64 ) { del( index, KelQos::counterTypeQueueUsage ); } );
        forAddedOrChanged( before.queue, after.queue, [&]( U16 index, const auto *, U64 cells ) {
            set( index, KelQos::counterTypeQueueUsage, cells );
        } );
    }

    void applyBlock( const PipeCounters & before, const PipeCounters & after ) const {
        if ( after.block && !before.block ) {
            counters_.blockLevelCountersIs( pipe_ );
        }
        const std::map<U32, BlockCounter> none;
        const auto & old = before.block ? *before.block : none;
        const auto & now = after.block ? *after.block : none;
        forRemoved( old, now, [&]( U32 id, const auto & ) {
            counters_.blockLevelCounterDel( pipe_, nameOf( id ) );
        } );
        if ( before.block && !after.block ) {
            forgetBlockUnlessOthersUseIt();
        }
        forAddedOrChanged(
            old, now, [&]( U32 id, const BlockCounter * was, const BlockCounter & counter ) {
                // A new display name alone does not bring back a value that was overwritten since.
                const bool sameValue = was && was->value == counter.value;
                const U64 value = sameValue ? counters_.getBlockLevelCounter(
                                                  pipe_.devId(), pipe_.pipeId(), nameOf( id ) )
                                            : counter.value;
                counters_.blockLevelCounterIs( pipe_, nameOf( id ),
                                               { counter.name, typeOf( counter ), value } );
            } );
    }

    // An entry that is still there was written by the run.
    void forgetBlockUnlessOthersUseIt() const {
        const KelQos::BlockLevelCounters * left =
            counters_.getBlockLevelCountersByPipePtr( pipe_.devId(), pipe_.pipeId() );
        if ( left && left->empty() ) {
            counters_.blockLevelCountersDel( pipe_ );
        }
    }

    TmCountersData & counters_;
    KelDriver::KelDevTgt pipe_;
};

} // namespace

void applyCounterDifference( const CounterStore & before, const CounterStore & after,
                             const StateStore & store, TmCountersData & counters ) {
    const PipeCounters none;
    forRemoved( before, after, [&]( U16 pipe, const PipeCounters & old ) {
        PipeDifference( counters, store.devTgt( pipe ) ).apply( old, none );
    } );
    forAddedOrChanged(
        before, after, [&]( U16 pipe, const PipeCounters * old, const PipeCounters & values ) {
            PipeDifference( counters, store.devTgt( pipe ) ).apply( old ? *old : none, values );
        } );
}

void clearCounters( const CounterStore & live, StateStore & store ) {
    TmCountersData & snapshot = *store.tmCountersDataLastClear;
    for ( const auto & [pipe, counters] : live ) {
        const KelDriver::KelDevTgt devTgt = store.devTgt( pipe );
        for ( const auto & [index, ppg] : counters.ppg ) {
            snapshot.setCounter( devTgt.devId(), devTgt.pipeId(), index,
                                 KelQos::counterTypePpgDrops, ppg.dropCounter );
        }
        if ( !counters.block ) {
            continue;
        }
        for ( const auto & [id, counter] : *counters.block ) {
            if ( counter.type != KelQos::blockLevelCounterTypeGauge ) {
                snapshot.setBlockLevelCounter( devTgt.devId(), devTgt.pipeId(), nameOf( id ),
                                               typeOf( counter ), counter.value );
            }
        }
    }
}

} // namespace KelHost
