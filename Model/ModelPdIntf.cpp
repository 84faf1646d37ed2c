#include "Model/ModelPdIntf.h"

#include "Model/DriverCall.h"

namespace KelModel {

U32 ModelPdIntf::wredSetIndirect( U32 sessionHdl, U32 devId, U16 pipeId, U32 wredHdl, U32 index,
                                  const p4_pd_red_spec * spec ) {
    return static_cast<U32>( driverCall(
        chip_, "wredSetIndirect",
        [&]( ChipState & chip ) {
            chip.wredEntries[{ pipeId, wredHdl, index }] = *spec;
        },
        sessionHdl, DeviceArg{ devId }, pipeId, wredHdl, index, WredSpecArg{ *spec } ) );
}

} // namespace KelModel
