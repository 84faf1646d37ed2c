#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Types.h"

// One WRED profile in the driver's layout. Below the minimum threshold no packet is dropped, above
// the maximum all are; between them the probability rises to maxDropProbability. The thresholds
// are compared with the queue's averaged fill.
struct p4_pd_red_spec {
    F32 timeConstantNs;     // time constant of the average, nanoseconds
    U32 minThdCells;        // minimum threshold, cells
    U32 maxThdCells;        // maximum threshold, cells
    F32 maxDropProbability; // 0 to 1
};

namespace KelDriver {

// The host's writer of table entries whose layout the data plane's program defines.
class PdIntf : public Kel::Entity {
  public:
    // Writes one entry of a WRED resource of the chip. sessionHdl is the pipe manager's session,
    // wredHdl the resource's handle (ResourceInfoIntf), index the entry in the resource. Returns 0,
    // or the driver's status when nothing was written.
    virtual U32 wredSetIndirect( U32 sessionHdl, U32 devId, U16 pipeId, U32 wredHdl, U32 index,
                                 const p4_pd_red_spec * spec ) = 0;
};

} // namespace KelDriver
