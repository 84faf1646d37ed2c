#include "Platform/Driver/TmDriver.h"

#include "Model/Chip.h"
#include "Model/DriverCall.h"
#include "Platform/Driver/DriverStatus.h"

// The operations of pools and priority groups: what each sets in the modelled chip.

using KelModel::Chip;
using KelModel::ChipState;
using KelModel::ClassArg;
using KelModel::DeviceArg;
using KelModel::FactorArg;
using KelModel::OutArg;
using KelModel::PoolArg;
using KelModel::PortArg;
using KelModel::PpgArg;
using KelModel::tmCall;

KelTmStatus bf_tm_set_ut_mode_as_model( U32 devId ) {
    return tmCall(
        "bf_tm_set_ut_mode_as_model", [&]( ChipState & chip ) { chip.utModeAsModel = true; },
        DeviceArg{ devId } );
}

KelTmStatus bf_tm_total_cell_count_get( U32 devId, U32 * cells ) {
    return tmCall(
        "bf_tm_total_cell_count_get",
        [&]( ChipState & ) { *cells = Chip::of( devId ).totalCells(); }, DeviceArg{ devId },
        OutArg<U32>{ cells } );
}

KelTmStatus bf_tm_pool_pfc_limit_set( U32 devId, U32 pool, U32 icos, U32 cells ) {
    return tmCall(
        "bf_tm_pool_pfc_limit_set",
        [&]( ChipState & chip ) { chip.pools[pool].pfcLimitCells[icos] = cells; },
        DeviceArg{ devId }, PoolArg{ pool }, ClassArg{ icos }, cells );
}

KelTmStatus bf_tm_pool_color_drop_limit_set( U32 devId, U32 pool, U32 color, U32 cells ) {
    return tmCall(
        "bf_tm_pool_color_drop_limit_set",
        [&]( ChipState & chip ) { chip.pools[pool].colorDropLimitCells[color] = cells; },
        DeviceArg{ devId }, PoolArg{ pool }, color, cells );
}

KelTmStatus bf_tm_pool_skid_size_set( U32 devId, U32 cells ) {
    return tmCall(
        "bf_tm_pool_skid_size_set", [&]( ChipState & chip ) { chip.skidPoolCells = cells; },
        DeviceArg{ devId }, cells );
}

KelTmStatus bf_tm_pool_size_set( U32 devId, U32 pool, U32 cells ) {
    return tmCall(
        "bf_tm_pool_size_set", [&]( ChipState & chip ) { chip.pools[pool].sizeCells = cells; },
        DeviceArg{ devId }, PoolArg{ pool }, cells );
}

KelTmStatus bf_tm_ppg_defaultppg_get( U32 devId, U32 portId, S32 * ppg ) {
    return tmCall(
        "bf_tm_ppg_defaultppg_get", [&]( ChipState & ) { *ppg = ChipState::defaultPpg( portId ); },
        DeviceArg{ devId }, PortArg{ portId }, OutArg<S32>{ ppg } );
}

KelTmStatus bf_tm_ppg_allocate( U32 devId, U32 portId, S32 * ppg ) {
    return tmCall(
        "bf_tm_ppg_allocate",
        [&]( ChipState & chip ) {
            const auto handle = chip.ppgAllocate( portId );
            if ( !handle ) {
                return KelDriver::statusTryAgainLater;
            }
            *ppg = *handle;
            return KelDriver::statusSuccess;
        },
        DeviceArg{ devId }, PortArg{ portId }, OutArg<S32>{ ppg } );
}

KelTmStatus bf_tm_ppg_free( U32 devId, S32 ppg ) {
    return tmCall(
        "bf_tm_ppg_free", [&]( ChipState & chip ) { chip.ppgFree( ppg ); }, DeviceArg{ devId },
        PpgArg{ ppg } );
}

KelTmStatus bf_tm_ppg_guaranteed_min_limit_set( U32 devId, S32 ppg, U32 cells ) {
    return tmCall(
        "bf_tm_ppg_guaranteed_min_limit_set",
        [&]( ChipState & chip ) { chip.ppg( ppg )->minLimitCells = cells; }, DeviceArg{ devId },
        PpgArg{ ppg }, cells );
}

KelTmStatus bf_tm_ppg_icos_mapping_set( U32 devId, S32 ppg, U8 icosBitmap ) {
    return tmCall(
        "bf_tm_ppg_icos_mapping_set",
        [&]( ChipState & chip ) { chip.ppg( ppg )->icosBitmap = icosBitmap; }, DeviceArg{ devId },
        PpgArg{ ppg }, icosBitmap );
}

KelTmStatus bf_tm_ppg_lossless_treatment_enable( U32 devId, S32 ppg ) {
    return tmCall(
        "bf_tm_ppg_lossless_treatment_enable",
        [&]( ChipState & chip ) { chip.ppg( ppg )->lossless = true; }, DeviceArg{ devId },
        PpgArg{ ppg } );
}

KelTmStatus bf_tm_ppg_lossless_treatment_disable( U32 devId, S32 ppg ) {
    return tmCall(
        "bf_tm_ppg_lossless_treatment_disable",
        [&]( ChipState & chip ) { chip.ppg( ppg )->lossless = false; }, DeviceArg{ devId },
        PpgArg{ ppg } );
}

KelTmStatus bf_tm_ppg_skid_limit_set( U32 devId, S32 ppg, U32 cells ) {
    return tmCall(
        "bf_tm_ppg_skid_limit_set",
        [&]( ChipState & chip ) { chip.ppg( ppg )->skidLimitCells = cells; }, DeviceArg{ devId },
        PpgArg{ ppg }, cells );
}

KelTmStatus bf_tm_ppg_app_pool_usage_set( U32 devId, S32 ppg, U32 pool, bool enable, U32 baf,
                                          U32 hysteresis ) {
    return tmCall(
        "bf_tm_ppg_app_pool_usage_set",
        [&]( ChipState & chip ) {
            chip.ppg( ppg )->poolUsage[pool] = { enable, baf, hysteresis };
        },
        DeviceArg{ devId }, PpgArg{ ppg }, PoolArg{ pool }, enable, FactorArg{ baf }, hysteresis );
}
