#include "KelQos/Show/KelSliceQosSmCounters.h"

#include "KelQos/Slice/KelSliceQosSm.h"
#include "KelQos/Slice/KelSliceQosSmIntf.h"
#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"

#include <array>

namespace KelQos {

using Kel::Ptr;
using KelId::KelDevId;
using KelId::KelPipeId;
using KelSystem::PortInfo;

namespace {

constexpr U32 queueCountersPerPort = 8;

U64 counter( const TmCountersData * store, KelDevId devId, KelPipeId pipeId, U32 index,
             CounterType type ) {
    return store ? store->getCounter( devId, pipeId, index, type ) : 0;
}

} // namespace

F32 getDynamicThresholdValue( BurstAbsorptionCoeff coeff ) {
    constexpr std::array<F32, 9> values{ 1.5F,  3.0F,  6.0F,  11.0F, 20.0F,
                                         33.0F, 50.0F, 66.0F, 80.0F };
    return coeff < values.size() ? values[coeff] : 0.0F;
}

void fillPpgCounterData( KelDevId devId, KelPipeId pipeId, U8 counterIndex, U8 internalCosBmp,
                         U32 minLimitCells, F32 dynamicThreshold,
                         const Ptr<const TmCountersData> & countersData,
                         const Ptr<TmCountersData> & countersDataLastClear, PpgSorter & sorter,
                         S32 key, bool nonZeroOnly ) {
    const auto live = [&]( CounterType type ) {
        return counter( countersData.get(), devId, pipeId, counterIndex, type );
    };
    const U64 minUsage = live( counterTypePpgMinUsage );
    const U64 shrdUsage = live( counterTypePpgSharedUsage );
    const U64 skidUsage = live( counterTypePpgSkidUsage );
    const U64 dropCounter = sinceLastClear(
        live( counterTypePpgDrops ),
        counter( countersDataLastClear.get(), devId, pipeId, counterIndex, counterTypePpgDrops ),
        [&] {
            countersDataLastClear->setCounter( devId, pipeId, counterIndex, counterTypePpgDrops,
                                               0 );
        } );
    // All 64 bits of a usage are tested; the record keeps the low 32.
    const bool allZero = ( minUsage | shrdUsage | skidUsage | dropCounter ) == 0;
    if ( nonZeroOnly && allZero ) {
        return;
    }
    sorter.counterDataIs( key >= 1 ? static_cast<U32>( key ) : counterIndex,
                          { static_cast<U32>( minUsage ), static_cast<U32>( shrdUsage ),
                            static_cast<U32>( skidUsage ), dropCounter, internalCosBmp,
                            minLimitCells, dynamicThreshold } );
}

void createPortSorter( PortSorter & sorter, const Ptr<const KelSystem::SystemStatus> & systemStatus,
                       U32 devId ) {
    if ( !systemStatus ) {
        return;
    }
    for ( const auto & [intfId, portInfo] : systemStatus->portInfo() ) {
        if ( portInfo.devId() == devId ) {
            sorter.entryIdIs( portInfo.portIndex().value(), intfId );
        }
    }
}

PpgSorter KelSliceQosSm::fetchPpgCounters( const PortInfo & portInfo, bool nonZeroOnly ) const {
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::fetchPpgCounters, portIndex: "
                               << portInfo.portIndex();
    PpgSorter sorter;
    const auto intf = velTmIntfConfig( portInfo.portIndex() );
    if ( !intf ) {
        return sorter;
    }
    for ( const auto & [ppgId, ppg] : intf->velTmPpgConfig() ) {
        if ( ppg->ppgHandle() < 0 || !ppg->notifier() ) {
            continue;
        }
        const auto counterIndex = static_cast<U8>( ppg->ppgHandle() & 0xFF );
        KEL_TRACE( sliceTrace, 9 )
            << "KelQosCounters::fetchPpgCounters: Filling counter data for ppgid " << counterIndex;
        const TmPpgConfig & config = *ppg->notifier();
        fillPpgCounterData( KelDevId( portInfo.devId() ), KelPipeId( portInfo.pipeId() ),
                            counterIndex, config.internalCosBmp(), config.minLimitCells(),
                            getDynamicThresholdValue( config.dynamicThreshold() ), tmCountersData(),
                            tmCountersDataLastClear(), sorter, ppgId.value(), nonZeroOnly );
    }
    return sorter;
}

TxQSorter KelSliceQosSm::fetchTxQCounters( const PortInfo & portInfo, bool nonZeroOnly ) const {
    KEL_TRACE( sliceTrace, 8 ) << "KelQosCounters::fetchTxQCounters, portIndex: "
                               << portInfo.portIndex();
    TxQSorter sorter;
    const auto intf = velTmIntfConfig( portInfo.portIndex() );
    if ( !intf ) {
        return sorter;
    }
    intf->velTmTxQueueConfig().visit( [&]( TxQueueId queue, const auto & reactor ) {
        if ( !reactor->notifier() ) {
            return;
        }
        const U32 index = queue + portInfo.pipePortIndex() * queueCountersPerPort;
        const U64 usage = counter( tmCountersData().get(), KelDevId( portInfo.devId() ),
                                   KelPipeId( portInfo.pipeId() ), index, counterTypeQueueUsage );
        if ( usage == 0 && nonZeroOnly ) {
            return;
        }
        const TmTxQueueConfig & config = *reactor->notifier();
        sorter.counterDataIs( queue, { static_cast<U32>( usage ), config.minLimitCells(),
                                       getDynamicThresholdValue( config.dynamicThreshold() ) } );
    } );
    return sorter;
}

} // namespace KelQos
