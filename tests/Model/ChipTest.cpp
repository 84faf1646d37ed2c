#include "Model/Chip.h"
#include "Model/ModelPdIntf.h"
#include "Model/ModelResourceInfoIntf.h"
#include "Platform/Driver/PipeManager.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Exceptions.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace {

using KelModel::Chip;
using KelModel::Operation;

using Lines = std::vector<std::string>;

constexpr U32 deviceId = 2;

class ChipTest : public testing::Test {
  protected:
    ChipTest() {
        Chip::currentIs( &chip_ );
        chip_.logSinkIs( [this]( std::string_view line ) { lines_.emplace_back( line ); } );
    }

    // A handle that no failing call may overwrite.
    static constexpr S32 untouched = -77;

    S32 allocated( U32 portId ) {
        S32 handle = untouched;
        bf_tm_ppg_allocate( deviceId, portId, &handle );
        return handle;
    }

    Chip chip_{ deviceId, 1000 };
    Lines lines_;
};

TEST_F( ChipTest, GroupsAreHandedOutLowestFirstUntilThePipeHasNoneLeft ) {
    for ( S32 index = 0; index < 128; ++index ) {
        ASSERT_EQ( allocated( 128 + 5 ), 256 + index );
    }
    EXPECT_EQ( chip_.state().ppgsAllocated( 1 ), 128U );
    S32 handle = untouched;
    EXPECT_EQ( bf_tm_ppg_allocate( deviceId, 128 + 6, &handle ), 10 );
    EXPECT_EQ( handle, untouched );
    EXPECT_EQ( allocated( 2 * 128 ), 512 ); // the other pipes have groups of their own

    EXPECT_EQ( bf_tm_ppg_free( deviceId, 256 + 100 ), 0 );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, 256 + 3 ), 0 );
    EXPECT_EQ( allocated( 128 + 6 ), 256 + 3 );
    EXPECT_EQ( allocated( 128 + 6 ), 256 + 100 );
    EXPECT_EQ( chip_.state().ppg( 256 + 100 )->portId, 128U + 6 );
}

TEST_F( ChipTest, AFreedGroupIsGoneAndComesBackBlank ) {
    const S32 handle = allocated( 0 );
    EXPECT_EQ( bf_tm_ppg_icos_mapping_set( deviceId, handle, 0x18 ), 0 );
    EXPECT_EQ( chip_.state().ppg( handle )->icosBitmap, 0x18 );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, handle ), 0 );

    EXPECT_EQ( chip_.state().ppg( handle ), nullptr );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, handle ), 6 );
    EXPECT_EQ( bf_tm_ppg_icos_mapping_set( deviceId, handle, 1 ), 6 );
    EXPECT_EQ( allocated( 1 ), handle );
    EXPECT_EQ( chip_.state().ppg( handle )->icosBitmap, 0 );
}

TEST_F( ChipTest, EveryPortHasADefaultGroupThatStays ) {
    S32 handle = untouched;
    EXPECT_EQ( bf_tm_ppg_defaultppg_get( deviceId, 3 * 128 + 72, &handle ), 0 );
    EXPECT_EQ( handle, 3 * 256 + 128 + 72 );
    EXPECT_EQ( bf_tm_ppg_guaranteed_min_limit_set( deviceId, handle, 600 ), 0 );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, handle ), 0 );
    EXPECT_EQ( chip_.state().ppg( handle )->minLimitCells, 600U );
    // Past the mirror port's group, past the last pipe, below zero: no group.
    for ( const S32 none : { 128 + 73, 4 * 256 + 128, -1, -129 } ) {
        EXPECT_EQ( bf_tm_ppg_free( deviceId, none ), 6 ) << none;
    }
}

TEST_F( ChipTest, WhatIsOutOfRangeIsRefusedAndChangesNothing ) {
    EXPECT_EQ( bf_tm_pool_size_set( deviceId + 1, 0, 5 ), 3 );
    EXPECT_EQ( bf_tm_pool_size_set( deviceId, 8, 5 ), 3 );
    EXPECT_EQ( bf_tm_pool_pfc_limit_set( deviceId, 0, 8, 5 ), 3 );
    EXPECT_EQ( bf_tm_port_flowcontrol_mode_set( deviceId, 73, 1 ), 3 );
    EXPECT_EQ( bf_tm_port_flowcontrol_mode_set( deviceId, 127, 1 ), 3 );
    EXPECT_EQ( bf_tm_port_flowcontrol_mode_set( deviceId, 4 * 128, 1 ), 3 );
    EXPECT_EQ( bf_tm_sched_q_dwrr_weight_set( deviceId, 4, 32, 1 ), 3 );
    EXPECT_EQ( bf_tm_sched_q_priority_set( deviceId, 4, 0, 8 ), 3 );
    EXPECT_EQ( bf_tm_q_pfc_cos_mapping_set( deviceId, 4, 0, 8 ), 3 );
    EXPECT_EQ( bf_tm_q_app_pool_usage_set( deviceId, 4, 0, 4, true, 10, 0 ), 3 );
    const std::array<U8, 8> unmapped{ 0, 1, 2, 3, 4, 5, 6, 8 };
    EXPECT_EQ( bf_tm_port_pfc_cos_mapping_set( deviceId, 4, unmapped.data() ), 3 );
    EXPECT_EQ( chip_.state().pools[0].sizeCells, 0U );
    EXPECT_EQ( chip_.state().port( 4 ).queues[0].pfcCos, 0U );
    EXPECT_EQ( chip_.state().port( 4 ).pfcCosToIcos[1], 0 );

    // An invalid argument is told before an unknown handle.
    EXPECT_EQ( bf_tm_ppg_app_pool_usage_set( deviceId, 5, 0, true, 9, 0 ), 6 );
    EXPECT_EQ( bf_tm_ppg_app_pool_usage_set( deviceId, 5, 0, true, 10, 0 ), 3 );
    EXPECT_EQ( bf_tm_ppg_free( 0, 5 ), 3 );
    // Nothing else is: an unknown colour, flow control mode or weight is the caller's business.
    EXPECT_EQ( bf_tm_pool_color_drop_limit_set( deviceId, 4, 99, 7 ), 0 );
    EXPECT_EQ( bf_tm_port_flowcontrol_rx_set( deviceId, 456, 99 ), 0 );
    EXPECT_EQ( bf_tm_sched_q_dwrr_weight_set( deviceId, 4, 31, 4000000000U ), 0 );
}

TEST_F( ChipTest, SettingsCanBeReadBack ) {
    constexpr U32 port = 128 + 20;
    bf_tm_set_ut_mode_as_model( deviceId );
    bf_tm_pool_pfc_limit_set( deviceId, BF_TM_IG_APP_POOL_0, 3, 900 );
    bf_tm_pool_color_drop_limit_set( deviceId, BF_TM_EG_APP_POOL_0, BF_TM_COLOR_RED, 11 );
    bf_tm_pool_skid_size_set( deviceId, 118784 );
    EXPECT_TRUE( chip_.state().utModeAsModel );
    EXPECT_EQ( chip_.state().pools[0].pfcLimitCells[3], 900U );
    EXPECT_EQ( chip_.state().pools[4].colorDropLimitCells.at( BF_TM_COLOR_RED ), 11U );
    EXPECT_EQ( chip_.state().skidPoolCells, 118784U );

    const S32 handle = allocated( port );
    bf_tm_ppg_lossless_treatment_enable( deviceId, handle );
    bf_tm_ppg_skid_limit_set( deviceId, handle, 232 );
    bf_tm_ppg_app_pool_usage_set( deviceId, handle, BF_TM_IG_APP_POOL_0, true, 7, 4 );
    EXPECT_TRUE( chip_.state().ppg( handle )->lossless );
    EXPECT_EQ( chip_.state().ppg( handle )->skidLimitCells, 232U );
    EXPECT_EQ( chip_.state().ppg( handle )->poolUsage[0].factor, 7U );
    bf_tm_ppg_lossless_treatment_disable( deviceId, handle );
    EXPECT_FALSE( chip_.state().ppg( handle )->lossless );

    bf_tm_sched_port_shaping_enable( deviceId, port );
    bf_tm_sched_port_shaping_rate_set( deviceId, port, true, 16, 5000 );
    const auto & shaper = chip_.state().port( port ).shaper;
    EXPECT_TRUE( shaper.enabled && shaper.pps && shaper.burst == 16 && shaper.rate == 5000 );
    bf_tm_sched_port_shaping_disable( deviceId, port );
    EXPECT_TRUE( !shaper.enabled && shaper.rate == 5000 );

    const auto & queue = chip_.state().port( port ).queues[6];
    bf_tm_sched_q_shaping_rate_set( deviceId, port, 6, false, 1, 2 );
    bf_tm_sched_q_guaranteed_rate_set( deviceId, port, 6, true, 3, 4 );
    bf_tm_sched_q_guaranteed_rate_enable( deviceId, port, 6 );
    EXPECT_TRUE( !queue.maxRate.enabled && queue.maxRate.burst == 1 && queue.maxRate.rate == 2 );
    EXPECT_TRUE( queue.guaranteedRate.enabled && queue.guaranteedRate.pps );
    bf_tm_sched_q_max_shaping_rate_enable( deviceId, port, 6 );
    bf_tm_sched_q_guaranteed_rate_disable( deviceId, port, 6 );
    EXPECT_TRUE( queue.maxRate.enabled && !queue.guaranteedRate.enabled );
    bf_tm_sched_q_priority_set( deviceId, port, 6, 5 );
    bf_tm_sched_q_remaining_bw_priority_set( deviceId, port, 6, 4 );
    bf_tm_q_color_drop_enable( deviceId, port, 6 );
    EXPECT_TRUE( queue.priority == 5 && queue.remainingBwPriority == 4 && queue.colorDrop );
}

TEST_F( ChipTest, EveryCallIsOneLineOfTheLog ) {
    U32 cells = 0;
    bf_tm_total_cell_count_get( deviceId, &cells );
    bf_tm_pool_size_set( deviceId, 0, 4294967295U );
    bf_tm_pool_size_set( deviceId, 9, 1 );
    allocated( 130 );
    bf_tm_ppg_free( deviceId, -1 );
    const std::array<U8, 8> map{ 0, 1, 2, 3, 4, 5, 6, 7 };
    bf_tm_port_pfc_cos_mapping_set( deviceId, 4, map.data() );
    std::array<U8, 32> queueMap{};
    queueMap.back() = 13;
    bf_tm_port_q_mapping_set( deviceId, 456, 14, queueMap.data() );
    bf_tm_q_app_pool_usage_set( deviceId, 4, 7, BF_TM_EG_APP_POOL_0, true, 6, 0 );
    bf_tm_sched_port_shaping_rate_set( deviceId, 4, false, 0, 0 );
    pipe_mgr_tbl_set_property( 1, deviceId, 101, KEL_TABLE_ENTRY_SCOPE,
                               KEL_ENTRY_SCOPE_SINGLE_PIPELINE, 0 );
    const std::string queueMapLine = "call bf_tm_port_q_mapping_set(2, 456, 14, [0, 0, 0, 0, 0, 0, "
                                     "0, 0, 0, 0, 0, 0, 0, 0, 0, 0, "
                                     "0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 13]) = 0";
    EXPECT_EQ( lines_,
               ( Lines{
                   "call bf_tm_total_cell_count_get(2) = 0 -> 1000",
                   "call bf_tm_pool_size_set(2, 0, 4294967295) = 0",
                   "call bf_tm_pool_size_set(2, 9, 1) = 3",
                   "call bf_tm_ppg_allocate(2, 130) = 0 -> 256",
                   "call bf_tm_ppg_free(2, -1) = 6",
                   "call bf_tm_port_pfc_cos_mapping_set(2, 4, [0, 1, 2, 3, 4, 5, 6, 7]) = 0",
                   queueMapLine,
                   "call bf_tm_q_app_pool_usage_set(2, 4, 7, 4, 1, 6, 0) = 0",
                   "call bf_tm_sched_port_shaping_rate_set(2, 4, 0, 0, 0) = 0",
                   "call pipe_mgr_tbl_set_property(1, 2, 101, 1, 1, 0) = 0",
               } ) );
    EXPECT_EQ( chip_.state().tableProperties.at( { 101, 1 } ), ( std::pair<U32, U32>{ 1, 0 } ) );
}

TEST_F( ChipTest, WredEntriesAreWrittenThroughTheDriverObjects ) {
    const auto pdIntf = Kel::makePtr<KelModel::ModelPdIntf>( chip_ );
    const auto resources = Kel::makePtr<KelModel::ModelResourceInfoIntf>();
    const U32 handle =
        resources->tableWredField( "wredBlock", KelDriver::WredFieldId::resourceHandle );
    EXPECT_EQ( resources->table( resources->tableIndex( "wredQueueSelect" ) ).tableHandle, 101U );
    EXPECT_EQ( resources->tableIndex( "other" ), 0x0FFFFFFFU );
    EXPECT_THROW( resources->table( 0x0FFFFFFF ), Kel::RangeException );
    EXPECT_EQ( resources->tableWredField( "other", KelDriver::WredFieldId::resourceHandle ), 0U );

    const p4_pd_red_spec spec{ 1000, 100, 400, 0.1F };
    const p4_pd_red_spec extreme{ 1e12F, 0, 4294967295U, 1e-7F };
    EXPECT_EQ( pdIntf->wredSetIndirect( 1, deviceId, 2, handle, 7, &spec ), 0U );
    EXPECT_EQ( pdIntf->wredSetIndirect( 1, deviceId, 2, handle, 8, &extreme ), 0U );
    EXPECT_EQ( pdIntf->wredSetIndirect( 1, 5, 2, handle, 9, &spec ), 3U );
    chip_.faults().faultIs( { .operation = "wredSetIndirect", .status = 14 } );
    EXPECT_EQ( pdIntf->wredSetIndirect( 1, deviceId, 2, handle, 9, &spec ), 14U );
    EXPECT_EQ( lines_,
               ( Lines{ "call wredSetIndirect(1, 2, 2, 201, 7, [1000, 100, 400, 0.1]) = 0",
                        "call wredSetIndirect(1, 2, 2, 201, 8, [1e+12, 0, 4294967295, 1e-07]) = 0",
                        "call wredSetIndirect(1, 5, 2, 201, 9, [1000, 100, 400, 0.1]) = 3",
                        "call wredSetIndirect(1, 2, 2, 201, 9, [1000, 100, 400, 0.1]) = 14" } ) );
    EXPECT_EQ( chip_.state().wredEntries.size(), 2U );
    EXPECT_EQ( chip_.state().wredEntries.at( { 2, 201, 7 } ).maxThdCells, 400U );
}

TEST_F( ChipTest, AFaultAnswersInPlaceOfTheChip ) {
    chip_.faults().faultIs(
        { .operation = "bf_tm_ppg_allocate", .status = -5, .times = 2, .skip = 1 } );
    EXPECT_EQ( allocated( 0 ), 0 );
    EXPECT_EQ( allocated( 0 ), untouched );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, 0 ), 0 ); // another operation neither fails nor counts
    EXPECT_EQ( allocated( 500 ), untouched );      // before the chip_ looks at the arguments
    EXPECT_EQ( allocated( 0 ), 0 );
    EXPECT_EQ(
        lines_,
        ( Lines{ "call bf_tm_ppg_allocate(2, 0) = 0 -> 0", "call bf_tm_ppg_allocate(2, 0) = -5",
                 "call bf_tm_ppg_free(2, 0) = 0", "call bf_tm_ppg_allocate(2, 500) = -5",
                 "call bf_tm_ppg_allocate(2, 0) = 0 -> 0" } ) );
}

TEST_F( ChipTest, OfSeveralFaultsTheOldestUnspentOneSeesTheCall ) {
    auto & faults = chip_.faults();
    faults.faultIs( { .operation = "bf_tm_pool_size_set", .status = 5, .times = 1, .skip = 1 } );
    faults.faultIs( { .operation = "bf_tm_pool_size_set", .status = 7, .skip = 1 } );
    faults.faultIs( { .operation = "bf_tm_pool_size_set", .status = 9, .times = 1 } );
    std::array<S32, 6> statuses{};
    for ( S32 & status : statuses ) {
        status = bf_tm_pool_size_set( deviceId, 0, 1 );
    }
    // The first lets one pass, answers one and is spent; the second does the same and goes on.
    EXPECT_EQ( statuses, ( std::array<S32, 6>{ 0, 5, 0, 7, 7, 7 } ) );
    faults.faultDelAll();
    EXPECT_EQ( bf_tm_pool_size_set( deviceId, 0, 1 ), 0 );
}

TEST_F( ChipTest, FaultsThatCannotBeAreRefused ) {
    EXPECT_FALSE( Operation::named( "bf_tm_ppg_alocate" ) );
    EXPECT_TRUE( Operation::named( "bf_tm_sched_q_guaranteed_rate_disable" ) );
    auto & faults = chip_.faults();
    EXPECT_THROW( faults.faultIs( { .operation = "bf_tm_ppg_free", .status = 0 } ),
                  Kel::RangeException );
    EXPECT_THROW( faults.faultIs( { .operation = "bf_tm_ppg_free", .status = 1, .times = 0 } ),
                  Kel::RangeException );
    EXPECT_THROW( faults.faultIs( { .operation = "pipe_mgr_tbl_set_property", .status = -1 } ),
                  Kel::RangeException );
    allocated( 0 );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, 0 ), 0 );
}

TEST_F( ChipTest, TheFunctionsActOnTheCurrentChip ) {
    {
        Chip other( deviceId );
        Chip::currentIs( &other );
        EXPECT_EQ( bf_tm_pool_size_set( deviceId, 0, 5 ), 0 );
        EXPECT_EQ( other.state().pools[0].sizeCells, 5U );
        EXPECT_EQ( chip_.state().pools[0].sizeCells, 0U );
    }
    EXPECT_DEATH( bf_tm_pool_size_set( deviceId, 0, 5 ), "Assertion \"currentChip != nullptr\"" );
    Chip::currentIs( &chip_ );
    EXPECT_EQ( bf_tm_pool_size_set( deviceId, 0, 6 ), 0 );
    EXPECT_EQ( chip_.state().pools[0].sizeCells, 6U );
}

} // namespace
