#pragma once

#include "KelQos/Show/KelSliceQosCounters.h"
#include "Platform/Entities/KelId.h"
#include "Platform/Entities/QosTypes.h"
#include "Platform/Entities/SystemStatus.h"
#include "Platform/Entities/TmCountersData.h"

namespace KelQos {

// The dynamic threshold that a factor is displayed as: the percentage of what is free in the shared
// pool, 0 for factors without one.
F32 getDynamicThresholdValue( BurstAbsorptionCoeff coeff );

// How much a growing count has gained since it was last cleared. A count below its snapshot was
// reset at its source: `resetSnapshot` is called, so that the next answer is the live count; this
// one wraps around.
template <class ResetSnapshot>
U64 sinceLastClear( U64 value, U64 last, ResetSnapshot && resetSnapshot ) {
    if ( value < last ) {
        resetSnapshot();
    }
    return value - last;
}

// Adds one group's row to the sorter, under `key`, or under the counter index when the key is below
// 1. With `nonZeroOnly`, a group without usage and drops gets none, whatever its configuration. The
// snapshot of a drop count that was reset at its source becomes 0. A store that is null reads as
// empty.
void fillPpgCounterData( KelId::KelDevId devId, KelId::KelPipeId pipeId, U8 counterIndex,
                         U8 internalCosBmp, U32 minLimitCells, F32 dynamicThreshold,
                         const Kel::Ptr<const TmCountersData> & countersData,
                         const Kel::Ptr<TmCountersData> & countersDataLastClear, PpgSorter & sorter,
                         S32 key, bool nonZeroOnly );

// Adds the ports of one device, by port index. Without a port table there are none.
void createPortSorter( PortSorter & sorter,
                       const Kel::Ptr<const KelSystem::SystemStatus> & systemStatus, U32 devId );

} // namespace KelQos
