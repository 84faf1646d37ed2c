#include "Platform/Entities/TmCountersData.h"

namespace KelQos {

using KelDriver::KelDevTgt;
using KelId::KelDevId;
using KelId::KelPipeId;

const char * stringValue( CounterType type ) {
    switch ( type ) {
    case counterTypePpgMinUsage:
        return "counterTypePpgMinUsage";
    case counterTypePpgSharedUsage:
        return "counterTypePpgSharedUsage";
    case counterTypePpgSkidUsage:
        return "counterTypePpgSkidUsage";
    case counterTypeQueueUsage:
        return "counterTypeQueueUsage";
    case counterTypePpgDrops:
        return "counterTypePpgDrops";
    }
    return "unknown";
}

const char * stringValue( BlockLevelCounterName name ) {
    switch ( name ) {
    case blockLevelWacDropBufFull:
        return "blockLevelWacDropBufFull";
    case blockLevelEpipePktDrop:
        return "blockLevelEpipePktDrop";
    }
    return "unknown";
}

const char * stringValue( BlockLevelCounterType type ) {
    return type == blockLevelCounterTypeGauge ? "blockLevelCounterTypeGauge" : "unknown";
}

// One integer names a page: 8 bits of device, 16 of pipe, 8 of type, and the index without its
// place in the page.
U64 TmCountersData::pageKey( KelDevId devId, KelPipeId pipeId, U32 index, CounterType type ) {
    return static_cast<U64>( devId.value() ) << 56U | static_cast<U64>( pipeId.value() ) << 40U |
           static_cast<U64>( type ) << 32U | index / countersOfAPage;
}

U64 TmCountersData::getCounter( KelDevId devId, KelPipeId pipeId, U32 index,
                                CounterType type ) const {
    const Page * page = pages_.find( pageKey( devId, pipeId, index, type ) );
    return page ? ( *page )[index % countersOfAPage] : 0;
}

void TmCountersData::setCounter( KelDevId devId, KelPipeId pipeId, U32 index, CounterType type,
                                 const U64 & value ) {
    const U64 key = pageKey( devId, pipeId, index, type );
    if ( !pages_.contains( key ) ) {
        pages_.insertNew( key, Page{} );
    }
    ( *pages_.find( key ) )[index % countersOfAPage] = value;
}

void TmCountersData::counterDel( KelDevId devId, KelPipeId pipeId, U32 index, CounterType type ) {
    if ( Page * page = pages_.find( pageKey( devId, pipeId, index, type ) ) ) {
        ( *page )[index % countersOfAPage] = 0;
    }
}

const BlockLevelCounters *
TmCountersData::getBlockLevelCountersByPipePtr( KelDevId devId, KelPipeId pipeId ) const {
    const Kel::Ptr<Block> * block = blocks_.find( { devId, pipeId } );
    return block ? &( *block )->counters : nullptr;
}

U64 TmCountersData::getBlockLevelCounter( KelDevId devId, KelPipeId pipeId,
                                          BlockLevelCounterName name ) const {
    const BlockLevelCounters * counters = getBlockLevelCountersByPipePtr( devId, pipeId );
    const BlockLevelCounter * counter = counters ? counters->find( name ) : nullptr;
    return counter ? counter->value : 0;
}

void TmCountersData::setBlockLevelCounter( KelDevId devId, KelPipeId pipeId,
                                           BlockLevelCounterName name, BlockLevelCounterType type,
                                           const U64 & value ) {
    BlockLevelCounters & counters = block( { devId, pipeId } );
    if ( BlockLevelCounter * counter = counters.find( name ) ) {
        counter->type = type;
        counter->value = value;
    } else {
        counters.insertOrAssign( name, { "", type, value } );
    }
}

void TmCountersData::blockLevelCountersIs( KelDevTgt pipe ) { block( pipe ); }

void TmCountersData::blockLevelCounterIs( KelDevTgt pipe, BlockLevelCounterName name,
                                          BlockLevelCounter counter ) {
    block( pipe ).insertOrAssign( name, std::move( counter ) );
}

void TmCountersData::blockLevelCounterDel( KelDevTgt pipe, BlockLevelCounterName name ) {
    if ( const Kel::Ptr<Block> * present = blocks_.find( pipe ) ) {
        ( *present )->counters.erase( name );
    }
}

void TmCountersData::blockLevelCountersDel( KelDevTgt pipe ) { blocks_.erase( pipe ); }

BlockLevelCounters & TmCountersData::block( KelDevTgt pipe ) {
    if ( !blocks_.contains( pipe ) ) {
        blocks_.insertOrAssign( pipe, Kel::makePtr<Block>() );
    }
    return ( *blocks_.find( pipe ) )->counters;
}

} // namespace KelQos
