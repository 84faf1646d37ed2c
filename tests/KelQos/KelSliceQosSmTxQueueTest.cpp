#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;

class TxQueue : public testing::Test {
  protected:
    TxQueue() {
        switch1.addPort( "Ethernet1", 4 );
        switch1.addPort( "Internal67", 64 );
    }
    // Adds the queue to a port of the running chip.
    Kel::Ptr<TmTxQueueConfig> add( U32 port, U8 id ) {
        auto queue = SmallChip::newQueue( id );
        switch1.addIntf( port )->tmTxQueueConfigIs( queue );
        switch1.takeLog();
        return queue;
    }

    SmallChip switch1;
    KelSliceQosSm & sm = switch1.start();
};

TEST_F( TxQueue, isProgrammedInFullOnCreationGuaranteeLast ) {
    auto intf = switch1.addIntf( 4 );
    switch1.takeLog();
    auto queue = SmallChip::newQueue( 5, 300 );
    queue->pfcCosIs( 5 );
    queue->weightIs( 14 );
    queue->rateParamsIs( RateParams( ShapeRate( 0, 1000, 2 ), true, 500, 3 ) );
    intf->tmTxQueueConfigIs( queue );
    EXPECT_EQ(
        switch1.takeStory(),
        ( Lines{ "call bf_tm_q_pfc_cos_mapping_set(0, 4, 5, 5) = 0",
                 "call bf_tm_sched_q_priority_set(0, 4, 5, 5) = 0",
                 "call bf_tm_sched_q_dwrr_weight_set(0, 4, 5, 14) = 0",
                 "call bf_tm_sched_q_max_shaping_rate_enable(0, 4, 5) = 0",
                 "call bf_tm_sched_q_shaping_rate_set(0, 4, 5, 1, 2, 1000) = 0",
                 "call bf_tm_sched_q_guaranteed_rate_enable(0, 4, 5) = 0",
                 "call bf_tm_sched_q_guaranteed_rate_set(0, 4, 5, 1, 3, 500) = 0",
                 "call bf_tm_q_app_pool_usage_set(0, 4, 5, 4, 1, 3, 0) = 0", "pools 98080 265940",
                 "call bf_tm_q_guaranteed_min_limit_set(0, 4, 5, 300) = 0",
                 "call bf_tm_q_color_drop_enable(0, 4, 5) = 0" } ) );
}

TEST_F( TxQueue, strictPriorityIsTheQueueNumberUpToSevenAndRoundRobinIsZero ) {
    for ( const auto & [id, strict] : { std::pair{ 0, 0 }, { 5, 5 }, { 7, 7 }, { 9, 0 } } ) {
        auto queue = add( 64, static_cast<U8>( id ) );
        const std::string at = "(0, 64, " + std::to_string( id ) + ", ";
        queue->priorityIs( 2 );
        EXPECT_EQ( switch1.takeLog(),
                   ( Lines{ "call bf_tm_sched_q_priority_set" + at + "0) = 0",
                            "call bf_tm_sched_q_remaining_bw_priority_set" + at + "0) = 0" } ) );
        queue->priorityIs( 0 );
        EXPECT_EQ( switch1.takeLog(), Lines{ "call bf_tm_sched_q_priority_set" + at +
                                             std::to_string( strict ) + ") = 0" } );
    }
}

TEST_F( TxQueue, theUnlimitedRatesTurnShapingOffWhereTheyMeanIt ) {
    auto frontPanel = add( 4, 3 );
    auto internal = add( 64, 3 );
    const auto set = [this]( const Kel::Ptr<TmTxQueueConfig> & queue, U32 rate ) {
        queue->rateParamsIs( RateParams( ShapeRate( 1, rate, 9 ), false, 7, 6 ) );
        return switch1.takeLog();
    };
    const Lines guaranteed{ "call bf_tm_sched_q_guaranteed_rate_enable(0, 4, 3) = 0",
                            "call bf_tm_sched_q_guaranteed_rate_set(0, 4, 3, 0, 6, 7) = 0" };
    const auto with = [&guaranteed]( Lines lines ) {
        lines.insert( lines.end(), guaranteed.begin(), guaranteed.end() );
        return lines;
    };
    EXPECT_EQ( set( frontPanel, 600000001 ),
               with( { "call bf_tm_sched_q_max_shaping_rate_disable(0, 4, 3) = 0",
                       "call bf_tm_sched_q_shaping_rate_set(0, 4, 3, 0, 0, 0) = 0" } ) );
    EXPECT_EQ( set( frontPanel, 10000002 ),
               with( { "call bf_tm_sched_q_max_shaping_rate_enable(0, 4, 3) = 0",
                       "call bf_tm_sched_q_shaping_rate_set(0, 4, 3, 0, 9, 10000002) = 0" } ) );
    // Internal ports never get a guaranteed rate.
    const Lines off{ "call bf_tm_sched_q_max_shaping_rate_disable(0, 64, 3) = 0",
                     "call bf_tm_sched_q_shaping_rate_set(0, 64, 3, 0, 0, 0) = 0" };
    EXPECT_EQ( set( internal, 600000001 ), off );
    EXPECT_EQ( set( internal, 10000002 ), off );
    EXPECT_EQ( set( internal, 10000001 ),
               ( Lines{ "call bf_tm_sched_q_max_shaping_rate_enable(0, 64, 3) = 0",
                        "call bf_tm_sched_q_shaping_rate_set(0, 64, 3, 0, 9, 10000001) = 0" } ) );
    // Without a guaranteed rate the driver keeps the old value.
    frontPanel->rateParamsIs( RateParams( ShapeRate( 1, 5, 9 ), false, 0, 6 ) );
    EXPECT_EQ( switch1.takeLog().back(),
               "call bf_tm_sched_q_guaranteed_rate_disable(0, 4, 3) = 0" );
}

TEST_F( TxQueue, eachAttributeProgramsItselfAlone ) {
    auto queue = add( 4, 3 );
    queue->pfcCosIs( 4 );
    queue->pfcCosIs( -1 );
    queue->weightIs( 65535 );
    queue->dynamicThresholdIs( baf0 );
    queue->dynamicThresholdIs( bafInvalid );
    queue->minLimitCellsIs( 40 );
    EXPECT_EQ(
        switch1.takeStory(),
        ( Lines{ "call bf_tm_q_pfc_cos_mapping_set(0, 4, 3, 4) = 0",
                 "call bf_tm_q_pfc_cos_mapping_set(0, 4, 3, 7) = 0",
                 "call bf_tm_sched_q_dwrr_weight_set(0, 4, 3, 65535) = 0",
                 "call bf_tm_q_app_pool_usage_set(0, 4, 3, 4, 1, 0, 0) = 0", "pools 98080 266200",
                 "call bf_tm_q_guaranteed_min_limit_set(0, 4, 3, 40) = 0",
                 "call bf_tm_q_color_drop_enable(0, 4, 3) = 0" } ) );
    EXPECT_NE( Kel::ringTraceText().find(
                   "called with bafInvalid: error condition for devId, portId, txQid:0 4 3" ),
               std::string::npos );
    EXPECT_DEATH( queue->minLimitCellsIs( TmConfigConstants::minLimitCellsInvalid() ),
                  "handleTxQueueMinLimitCells\\(\\): Assertion "
                  "\"notifier\\(\\)->minLimitCells\\(\\) != "
                  "TmConfigConstants::minLimitCellsInvalid\\(\\)\" failed" );
}

TEST_F( TxQueue, removalCallsNothingAndAnotherEntityProgramsEverything ) {
    auto queue = add( 4, 3 );
    const auto intf = switch1.tmConfig->tmIntfConfig( PortIndex( 4 ) );
    const auto reactor = sm.velTmIntfConfig( PortIndex( 4 ) );
    const auto queueReactor = reactor->velTmTxQueueConfig( TxQueueId( 3 ) );
    EXPECT_EQ( reactor->tmTxQueueConfigIs( TxQueueId( 3 ), queue ), queueReactor );
    EXPECT_TRUE( switch1.takeLog().empty() );
    intf->tmTxQueueConfigIs( SmallChip::newQueue( 3, 8 ) );
    const Lines story = switch1.takeStory();
    EXPECT_EQ( story.front(), "call bf_tm_q_pfc_cos_mapping_set(0, 4, 3, 7) = 0" );
    EXPECT_EQ( story.back(), "call bf_tm_q_color_drop_enable(0, 4, 3) = 0" );
    EXPECT_EQ( reactor->velTmTxQueueConfig( TxQueueId( 3 ) ), queueReactor );
    queue->weightIs( 3 );
    EXPECT_TRUE( switch1.takeLog().empty() );

    const auto current = intf->tmTxQueueConfig( TxQueueId( 3 ) );
    intf->tmTxQueueConfigDel( TxQueueId( 3 ) );
    current->weightIs( 4 );
    EXPECT_TRUE( switch1.takeLog().empty() );
    // A null entity is a removal too.
    reactor->tmTxQueueConfigIs( TxQueueId( 3 ), current );
    EXPECT_FALSE( reactor->tmTxQueueConfigIs( TxQueueId( 3 ), nullptr ) );
    EXPECT_TRUE( reactor->velTmTxQueueConfig().empty() );
}

} // namespace
