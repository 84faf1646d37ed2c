#include "tests/support/SmallChip.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;

// A chip with one of everything that checked calls program.
struct World {
    World() {
        switch1.mapAllClasses();
        intf->tmPpgConfigIs( ppg );
        intf->tmTxQueueConfigIs( queue );
        switch1.start();
    }

    SmallChip switch1;
    Kel::Ptr<TmIntfConfig> intf = switch1.addIntf( 4 );
    Kel::Ptr<TmPpgConfig> ppg = SmallChip::newPpg( 3, 0x08 );
    Kel::Ptr<TmTxQueueConfig> queue = SmallChip::newQueue( 3 );
};

// How a checked call is made to fail, and how it is quoted then.
struct FailingCall {
    const char * quoted;
    const char * source; // behind KelQos/Slice/KelSliceQosSm
    const char * function;
    std::function<void( World & )> change;
    U64 skip = 0; // calls of the operation that succeed before
};

const std::vector<FailingCall> & failingCalls() {
    const auto mirror = []( World & w ) { w.switch1.sm->minLimitCellsForMirroringIs( 5 ); };
    const auto pools = []( World & w ) { w.switch1.sm->reconfigureSharedPools(); };
    const auto map = []( World & w ) { w.ppg->internalCosBmpIs( 1 ); };
    const auto lossless = []( World & w ) { w.ppg->pfcEnabledIs( true ); };
    const auto lossy = []( World & w ) {
        w.ppg->pfcEnabledIs( true );
        w.ppg->pfcEnabledIs( false );
    };
    const auto remove = []( World & w ) { w.intf->tmPpgConfigDel( PpgId( 3 ) ); };
    const auto pfc = []( World & w ) { w.intf->flowControlTypeIs( flowControlTypePfc ); };
    const auto shape = []( World & w ) { w.intf->shapeRateIs( ShapeRate( 1, 1, 1 ) ); };
    const auto unshape = []( World & w ) {
        w.intf->shapeRateIs( ShapeRate( 1, 1, 1 ) );
        w.intf->shapeRateIs( ShapeRate() );
    };
    const auto roundRobin = []( World & w ) { w.queue->priorityIs( 1 ); };
    const auto limit = []( World & w ) { w.queue->minLimitCellsIs( 1 ); };
    const auto rates = []( World & w ) {
        w.queue->rateParamsIs( RateParams( ShapeRate( 1, 1, 1 ), false, 1, 1 ) );
    };
    const auto noRates = [rates]( World & w ) {
        rates( w );
        w.queue->rateParamsIs( RateParams() );
    };
    static const std::vector<FailingCall> calls{
        { "bf_tm_ppg_guaranteed_min_limit_set( devId, mirrorPpgHandle, minLimitCellsForMirroring() "
          ")",
          "Pools", "handleMinLimitCellsForMirroring", mirror },
        { "bf_tm_pool_skid_size_set( devId, 128 * 4 * 2 * TmConfigConstants::tofinoJumboPktCells() "
          ")",
          "Pools", "reconfigureSharedPools", pools },
        { "bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_0, ingressSharedPoolCellCount() )",
          "Pools", "programSharedPools", pools },
        { "bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_1, 0 )", "Pools", "programSharedPools",
          pools, 1 },
        { "bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_2, 0 )", "Pools", "programSharedPools",
          pools, 2 },
        { "bf_tm_pool_size_set( devId, BF_TM_IG_APP_POOL_3, 0 )", "Pools", "programSharedPools",
          pools, 3 },
        { "bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_0, egressSharedPoolCellCount() )", "Pools",
          "programSharedPools", pools, 4 },
        { "bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_1, 0 )", "Pools", "programSharedPools",
          pools, 5 },
        { "bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_2, 0 )", "Pools", "programSharedPools",
          pools, 6 },
        { "bf_tm_pool_size_set( devId, BF_TM_EG_APP_POOL_3, "
          "TmConfigConstants::multicastReservedPoolCellCount() )",
          "Pools", "programSharedPools", pools, 7 },
        { "bf_tm_ppg_icos_mapping_set( devId, ppgHandle(), notifier()->internalCosBmp() )", "Ppg",
          "handlePpgInternalCosBmp", map },
        { "bf_tm_ppg_icos_mapping_set( devId, ppgHandle(), 0 )", "Ppg", "cleanup", remove },
        { "bf_tm_ppg_free( devId, ppgHandle() )", "Ppg", "cleanup", remove },
        { "bf_tm_ppg_lossless_treatment_enable( devId, ppgHandle() )", "Ppg",
          "doProgramPpgPfcEnabled", lossless },
        { "bf_tm_ppg_skid_limit_set( devId, ppgHandle(), 2 * "
          "TmConfigConstants::tofinoJumboPktCells() )",
          "Ppg", "doProgramPpgPfcEnabled", lossless },
        { "bf_tm_ppg_skid_limit_set( devId, ppgHandle(), 0 )", "Ppg", "doProgramPpgPfcEnabled",
          lossy, 1 },
        { "bf_tm_ppg_lossless_treatment_disable( devId, ppgHandle() )", "Ppg",
          "doProgramPpgPfcEnabled", lossy },
        { "bf_tm_ppg_guaranteed_min_limit_set( devId, ppgHandle(), notifier()->minLimitCells() )",
          "Ppg", "doProgramPpgMinLimitCells", []( World & w ) { w.ppg->minLimitCellsIs( 5 ); } },
        { "bf_tm_ppg_app_pool_usage_set( devId, ppgHandle(), poolId, 1, baf, 0 )", "Ppg",
          "handlePpgDynamicThreshold", []( World & w ) { w.ppg->dynamicThresholdIs( baf9 ); } },
        { "bf_tm_port_flowcontrol_mode_set( devId, portId, flowControlType )", "Intf",
          "handleIntfFlowControlType", pfc },
        { "bf_tm_port_flowcontrol_rx_set( devId, portId, flowControlType )", "Intf",
          "handleIntfFlowControlType", pfc },
        { "bf_tm_port_pfc_cos_mapping_set( devId, portId, cosToTc )", "",
          "doProgramIntfPfcCosToTcMap", pfc },
        { "bf_tm_sched_port_shaping_enable( devId, portId )", "Intf", "handleIntfShapeRate",
          shape },
        { "bf_tm_sched_port_shaping_rate_set( devId, portId, pps, shapeRate.shapeRateBurst(), "
          "shapeRate.shapeRateVal() )",
          "Intf", "handleIntfShapeRate", shape },
        { "bf_tm_sched_port_shaping_rate_set( devId, portId, 0, 0, 0 )", "Intf",
          "handleIntfShapeRate", unshape, 1 },
        { "bf_tm_sched_port_shaping_disable( devId, portId )", "Intf", "handleIntfShapeRate",
          unshape },
        { "bf_tm_q_pfc_cos_mapping_set( devId, portId, notifier()->txQueueId(), pfcCos )",
          "TxQueue", "handleTxQueuePfcCos", []( World & w ) { w.queue->pfcCosIs( 1 ); } },
        { "bf_tm_q_app_pool_usage_set( devId, portId, notifier()->txQueueId(), "
          "BF_TM_EG_APP_POOL_0, 1, baf, 0 )",
          "TxQueue", "handleTxQueueDynamicThreshold",
          []( World & w ) { w.queue->dynamicThresholdIs( baf9 ); } },
        { "bf_tm_q_guaranteed_min_limit_set( devId, portId, notifier()->txQueueId(), "
          "notifier()->minLimitCells() )",
          "TxQueue", "handleTxQueueMinLimitCells", limit },
        { "bf_tm_q_color_drop_enable( devId, portId, notifier()->txQueueId() )", "TxQueue",
          "handleTxQueueMinLimitCells", limit },
        { "bf_tm_sched_q_priority_set( devId, portId, notifier()->txQueueId(), priority )",
          "TxQueue", "handleTxQueuePriority", roundRobin },
        { "bf_tm_sched_q_remaining_bw_priority_set( devId, portId, notifier()->txQueueId(), "
          "BF_TM_SCH_PRIO_0 )",
          "TxQueue", "handleTxQueuePriority", roundRobin },
        { "bf_tm_sched_q_dwrr_weight_set( devId, portId, notifier()->txQueueId(), "
          "notifier()->weight() )",
          "TxQueue", "handleTxQueueWrrWeight", []( World & w ) { w.queue->weightIs( 9 ); } },
        { "bf_tm_sched_q_max_shaping_rate_enable( devId, portId, notifier()->txQueueId() )",
          "TxQueue", "doProgramShapeRate", rates },
        { "bf_tm_sched_q_shaping_rate_set( devId, portId, notifier()->txQueueId(), pps, "
          "rateParams.shapeRateBurst(), rateParams.shapeRateVal() )",
          "TxQueue", "doProgramShapeRate", rates },
        { "bf_tm_sched_q_shaping_rate_set( devId, portId, notifier()->txQueueId(), false, 0, 0 )",
          "TxQueue", "doProgramShapeRate", noRates, 1 },
        { "bf_tm_sched_q_max_shaping_rate_disable( devId, portId, notifier()->txQueueId() )",
          "TxQueue", "doProgramShapeRate", noRates },
        { "bf_tm_sched_q_guaranteed_rate_enable( devId, portId, notifier()->txQueueId() )",
          "TxQueue", "doProgramGuaranteedRate", rates },
        { "bf_tm_sched_q_guaranteed_rate_set( devId, portId, notifier()->txQueueId(), "
          "rateParams.accountingModeGBwPps(), rateParams.guaranteedBwRateBurst(), "
          "rateParams.guaranteedBwRate() )",
          "TxQueue", "doProgramGuaranteedRate", rates },
        { "bf_tm_sched_q_guaranteed_rate_disable( devId, portId, notifier()->txQueueId() )",
          "TxQueue", "doProgramGuaranteedRate", noRates } };
    return calls;
}

// The text as a regular expression that matches it alone.
std::string literally( const std::string & text ) {
    std::string expression;
    for ( const char c : text ) {
        if ( std::string_view( ".[]()*+?{}^$|\\" ).find( c ) != std::string_view::npos ) {
            expression += '\\';
        }
        expression += c;
    }
    return expression;
}

std::string operationOf( const FailingCall & call ) {
    const std::string quoted = call.quoted;
    return quoted.substr( 0, quoted.find( '(' ) );
}

void failsFor( World & world, const FailingCall & call ) {
    world.switch1.chip.faults().faultIs( { *KelModel::Operation::named( operationOf( call ) ), 9,
                                           KelModel::Fault::always, call.skip } );
    // Every call of the operation reaches the chip's log, and with it standard error.
    world.switch1.chip.logSinkIs( [&]( std::string_view line ) {
        if ( line.find( operationOf( call ) ) != std::string_view::npos ) {
            std::fprintf( stderr, "%.*s\n", static_cast<int>( line.size() ), line.data() );
        }
    } );
    call.change( world );
}

TEST( CheckedCalls, aFailingOneIsIssuedThreeTimesQuotedAndFatal ) {
    World world;
    for ( const FailingCall & call : failingCalls() ) {
        SCOPED_TRACE( call.quoted );
        const std::string refused = "(call " + operationOf( call ) + "[^\n]* = 9\n){3}";
        const std::string report = std::string( "KelQos/Slice/KelSliceQosSm" ) + call.source +
                                   "\\.cpp:[0-9]+ " + literally( call.quoted ) +
                                   " API ERROR:Not enough space \\(9\\)\n";
        const std::string assertion = std::string( "KelQos/Slice/KelSliceQosSm" ) + call.source +
                                      "\\.cpp:[0-9]+: void KelQos::[^\n]*" + call.function +
                                      "\\([^\n]*Assertion \"0\" failed";
        // Before the failing change the chip may have answered the operation as usual.
        EXPECT_DEATH( failsFor( world, call ), refused + report + assertion );
    }
}

TEST( CheckedCalls, startUpStopsAtTheFirstPfcLimitThatIsRefused ) {
    SmallChip switch1;
    switch1.chip.faults().faultIs(
        { *KelModel::Operation::named( "bf_tm_pool_pfc_limit_set" ), 26, 2, 3 } );
    EXPECT_DEATH( switch1.start(),
                  "KelQos/Slice/KelSliceQosSm\\.cpp:[0-9]+ bf_tm_pool_pfc_limit_set\\( devId, "
                  "BF_TM_IG_APP_POOL_0, icos, totalCellCount \\) API ERROR:Success \\(26\\)\n" );
}

} // namespace
