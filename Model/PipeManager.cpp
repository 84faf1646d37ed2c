#include "Platform/Driver/PipeManager.h"

#include "Model/DriverCall.h"

using KelModel::ChipState;
using KelModel::DeviceArg;
using KelModel::tmCall;

U32 pipe_mgr_tbl_set_property( U32 sessionId, U32 devId, U32 tableHandle, U32 property, U32 value,
                               U32 args ) {
    return static_cast<U32>( tmCall(
        "pipe_mgr_tbl_set_property",
        [&]( ChipState & chip ) {
            chip.tableProperties[{ tableHandle, property }] = { value, args };
        },
        sessionId, DeviceArg{ devId }, tableHandle, property, value, args ) );
}
