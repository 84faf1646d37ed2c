#include "Model/Chip.h"
#include "Model/ModelPdIntf.h"
#include "Model/ModelResourceInfoIntf.h"
#include "Platform/Driver/PipeManager.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using KelModel::Chip;

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
    std::vector<std::string> lines_;
};

// Groups are allocated and freed at random; a set says which are free.
TEST_F( ChipTest, GroupsAreHandedOutLowestFirstAndBlank ) {
    std::mt19937 random( 1 );
    std::set<S32> free;
    for ( S32 index = 0; index < 128; ++index ) {
        free.insert( free.end(), 256 + index );
    }
    for ( int round = 0; round < 2000; ++round ) {
        const U32 portId = 128 + static_cast<U32>( random() % 73 );
        const auto handle = static_cast<S32>( 256 + random() % 128 );
        if ( random() % 5 < 2 ) {
            EXPECT_EQ( bf_tm_ppg_free( deviceId, handle ), free.insert( handle ).second ? 0 : 6 );
            EXPECT_EQ( chip_.state().ppg( handle ), nullptr );
            continue;
        }
        const S32 lowest = free.empty() ? untouched : free.extract( free.begin() ).value();
        ASSERT_EQ( allocated( portId ), lowest );
        if ( const auto * group = chip_.state().ppg( lowest ) ) {
            EXPECT_TRUE( group->portId == portId && group->icosBitmap == 0 );
            EXPECT_EQ( bf_tm_ppg_icos_mapping_set( deviceId, lowest, 0x18 ), 0 );
        }
        EXPECT_EQ( chip_.state().ppgsAllocated( 1 ), 128 - free.size() );
    }
    EXPECT_EQ( allocated( 2 * 128 ), 512 ); // the other pipes have groups of their own
}

TEST_F( ChipTest, EveryPortHasADefaultGroupThatStays ) {
    S32 handle = untouched;
    EXPECT_EQ( bf_tm_ppg_defaultppg_get( deviceId, 3 * 128 + 72, &handle ), 0 );
    EXPECT_EQ( handle, 3 * 256 + 128 + 72 );
    bf_tm_ppg_guaranteed_min_limit_set( deviceId, handle, 600 );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, handle ), 0 );
    EXPECT_EQ( chip_.state().ppg( handle )->minLimitCells, 600U );
    // Past the mirror port's group, past the last pipe, below zero: no group.
    for ( const S32 none : { 128 + 73, 4 * 256 + 128, -1, -129 } ) {
        EXPECT_EQ( bf_tm_ppg_free( deviceId, none ), 6 ) << none;
    }
}

TEST_F( ChipTest, WhatIsOutOfRangeIsRefusedAndChangesNothing ) {
    const std::array<U8, 8> unmapped{ 0, 1, 2, 3, 4, 5, 6, 8 };
    const std::array statuses{
        bf_tm_pool_size_set( deviceId + 1, 0, 5 ),
        bf_tm_pool_size_set( deviceId, 8, 5 ),
        bf_tm_pool_pfc_limit_set( deviceId, 0, 8, 5 ),
        bf_tm_port_flowcontrol_mode_set( deviceId, 73, 1 ),
        bf_tm_port_flowcontrol_mode_set( deviceId, 127, 1 ),
        bf_tm_port_flowcontrol_mode_set( deviceId, 4 * 128, 1 ),
        bf_tm_sched_q_dwrr_weight_set( deviceId, 4, 32, 1 ),
        bf_tm_sched_q_priority_set( deviceId, 4, 0, 8 ),
        bf_tm_q_pfc_cos_mapping_set( deviceId, 4, 0, 8 ),
        bf_tm_q_app_pool_usage_set( deviceId, 4, 0, 4, true, 10, 0 ),
        bf_tm_port_pfc_cos_mapping_set( deviceId, 4, unmapped.data() ),
        // An invalid argument is told before an unknown handle.
        bf_tm_ppg_app_pool_usage_set( deviceId, 5, 0, true, 10, 0 ),
        bf_tm_ppg_free( 0, 5 ),
    };
    EXPECT_EQ( std::ranges::count( statuses, 3 ), statuses.size() );
    EXPECT_EQ( bf_tm_ppg_app_pool_usage_set( deviceId, 5, 0, true, 9, 0 ), 6 );
    const auto & port = chip_.state().port( 4 );
    EXPECT_TRUE( port.queues[0].pfcCos == 0 && port.pfcCosToIcos[1] == 0 );
    // Nothing else is: an unknown flow control mode or weight is the caller's business.
    EXPECT_EQ( bf_tm_port_flowcontrol_rx_set( deviceId, 456, 99 ), 0 );
    EXPECT_EQ( bf_tm_sched_q_dwrr_weight_set( deviceId, 4, 31, 4000000000U ), 0 );
}

TEST_F( ChipTest, SettingsCanBeReadBack ) {
    constexpr U32 port = 128 + 20;
    const auto & state = chip_.state();
    bf_tm_set_ut_mode_as_model( deviceId );
    bf_tm_pool_pfc_limit_set( deviceId, BF_TM_IG_APP_POOL_0, 3, 900 );
    bf_tm_pool_skid_size_set( deviceId, 118784 );
    bf_tm_pool_color_drop_limit_set( deviceId, BF_TM_EG_APP_POOL_0, 99, 7 ); // of whatever colour
    EXPECT_TRUE( state.utModeAsModel && state.skidPoolCells == 118784 );
    EXPECT_TRUE( state.pools[0].pfcLimitCells[3] == 900 && state.pools[0].sizeCells == 0 );
    EXPECT_EQ( state.pools[4].colorDropLimitCells.at( 99 ), 7U );

    const S32 handle = allocated( port );
    bf_tm_ppg_lossless_treatment_enable( deviceId, handle );
    bf_tm_ppg_skid_limit_set( deviceId, handle, 232 );
    bf_tm_ppg_app_pool_usage_set( deviceId, handle, BF_TM_IG_APP_POOL_0, true, 7, 4 );
    const auto & group = *state.ppg( handle );
    EXPECT_TRUE( group.lossless && group.skidLimitCells == 232 && group.poolUsage[0].factor == 7 );
    bf_tm_ppg_lossless_treatment_disable( deviceId, handle );
    EXPECT_FALSE( group.lossless );

    const auto & shaper = state.port( port ).shaper;
    bf_tm_sched_port_shaping_enable( deviceId, port );
    bf_tm_sched_port_shaping_rate_set( deviceId, port, true, 16, 5000 );
    EXPECT_TRUE( shaper.enabled && shaper.pps && shaper.burst == 16 && shaper.rate == 5000 );

    const auto & queue = state.port( port ).queues[6];
    bf_tm_sched_q_shaping_rate_set( deviceId, port, 6, false, 1, 2 );
    bf_tm_sched_q_guaranteed_rate_set( deviceId, port, 6, true, 3, 4 );
    bf_tm_sched_q_guaranteed_rate_enable( deviceId, port, 6 );
    EXPECT_TRUE( !queue.maxRate.enabled && queue.maxRate.burst == 1 && queue.maxRate.rate == 2 );
    EXPECT_TRUE( queue.guaranteedRate.enabled && queue.guaranteedRate.pps );
    bf_tm_sched_q_max_shaping_rate_enable( deviceId, port, 6 );
    bf_tm_sched_q_guaranteed_rate_disable( deviceId, port, 6 );
    bf_tm_sched_q_priority_set( deviceId, port, 6, 5 );
    bf_tm_sched_q_remaining_bw_priority_set( deviceId, port, 6, 4 );
    bf_tm_q_color_drop_enable( deviceId, port, 6 );
    EXPECT_TRUE( queue.maxRate.enabled && !queue.guaranteedRate.enabled && queue.colorDrop );
    EXPECT_TRUE( queue.priority == 5 && queue.remainingBwPriority == 4 );
}

TEST_F( ChipTest, WredEntriesAreWrittenThroughTheDriverObjects ) {
    const auto pdIntf = Kel::makePtr<KelModel::ModelPdIntf>( chip_ );
    const auto resources = Kel::makePtr<KelModel::ModelResourceInfoIntf>();
    const U32 handle =
        resources->tableWredField( "wredBlock", KelDriver::WredFieldId::resourceHandle );
    EXPECT_EQ( resources->table( resources->tableIndex( "wredQueueSelect" ) ).tableHandle, 101U );
    const p4_pd_red_spec spec{ 1e12F, 0, 4294967295U, 1e-7F };
    EXPECT_EQ( pdIntf->wredSetIndirect( 1, deviceId, 2, handle, 7, &spec ), 0U );
    EXPECT_EQ( pdIntf->wredSetIndirect( 1, 5, 2, handle, 9, &spec ), 3U );
    chip_.faults().faultIs( { .operation = "wredSetIndirect", .status = 14 } );
    EXPECT_EQ( pdIntf->wredSetIndirect( 1, deviceId, 2, handle, 9, &spec ), 14U );
    const std::string values = "[1e+12, 0, 4294967295, 1e-07]) = ";
    EXPECT_EQ( lines_, ( std::vector<std::string>{
                           "call wredSetIndirect(1, 2, 2, 201, 7, " + values + "0",
                           "call wredSetIndirect(1, 5, 2, 201, 9, " + values + "3",
                           "call wredSetIndirect(1, 2, 2, 201, 9, " + values + "14" } ) );
    EXPECT_EQ( chip_.state().wredEntries.size(), 1U );
    EXPECT_EQ( chip_.state().wredEntries.at( { 2, 201, 7 } ).maxThdCells, 4294967295U );
}

TEST_F( ChipTest, AFaultAnswersInPlaceOfTheChip ) {
    auto & faults = chip_.faults();
    faults.faultIs( { .operation = "bf_tm_ppg_allocate", .status = -5, .times = 2, .skip = 1 } );
    EXPECT_EQ( allocated( 0 ), 0 );
    EXPECT_EQ( allocated( 0 ), untouched );
    EXPECT_EQ( bf_tm_ppg_free( deviceId, -1 ), 6 ); // another operation is not counted
    EXPECT_EQ( allocated( 500 ), untouched );       // before the chip looks at the arguments
    EXPECT_EQ( allocated( 0 ), 1 );
    EXPECT_EQ( lines_.at( 3 ), "call bf_tm_ppg_allocate(2, 500) = -5" );
    EXPECT_EQ( lines_.at( 4 ), "call bf_tm_ppg_allocate(2, 0) = 0 -> 1" );
    for ( const KelModel::Fault & none :
          { KelModel::Fault{ "bf_tm_ppg_free", 0 }, KelModel::Fault{ "bf_tm_ppg_free", 1, 0 },
            KelModel::Fault{ "pipe_mgr_tbl_set_property", -1 } } ) {
        EXPECT_THROW( faults.faultIs( none ), Kel::RangeException );
    }
    EXPECT_EQ( bf_tm_ppg_free( deviceId, 0 ), 0 );
}

TEST_F( ChipTest, TheFunctionsActOnTheCurrentChip ) {
    {
        Chip other( deviceId );
        Chip::currentIs( &other );
        EXPECT_EQ( bf_tm_pool_size_set( deviceId, 0, 5 ), 0 );
        EXPECT_TRUE( other.state().pools[0].sizeCells == 5 && lines_.empty() );
    }
    EXPECT_DEATH( bf_tm_pool_size_set( deviceId, 0, 5 ), "Assertion \"!chips\\(\\).empty\\(\\)\"" );
}

} // namespace
