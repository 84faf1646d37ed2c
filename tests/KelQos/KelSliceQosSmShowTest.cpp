#include "KelQos/Show/KelSliceQosSmShow.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "Platform/Framework/Exceptions.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using Kel::IntfId;
using KelId::KelDevId;
using KelId::KelPipeId;
using KelPortTypes::PortIndex;
using KelSystem::PortInfo;
using TestSupport::SmallChip;

// What no scenario can hold. A chip of one pipe, whose port Ethernet1 has a group, with handle 0,
// and a queue.
struct Show : testing::Test {
    Show() {
        chip.chipStatus->maxPipeIdIs( 0 );
        chip.addPort( "Ethernet1", 5 );
        const auto intf = chip.addIntf( 5 );
        intf->tmPpgConfigIs( SmallChip::newPpg( 3, 0x08 ) );
        intf->tmTxQueueConfigIs( SmallChip::newQueue( 3, 7 ) );
        chip.start();
    }

    void count( U16 pipe, U32 index, CounterType type, U64 value ) {
        chip.tmCountersData->setCounter( KelDevId( 0 ), KelPipeId( pipe ), index, type, value );
    }

    SmallChip chip;
};

constexpr const char * ppgHeader =
    "PpgId MinUsage ShrdUsage SkidUsage                                 DropPkts TC-bmp\n"
    "====================================================================================\n";

// Usage is shown in 32 bits. Groups of pipes without ports belong to no interface, and an interface
// of another chip is not this one's to show.
TEST_F( Show, wideCountersManyPipesAndPortsOfOtherChips ) {
    chip.systemStatus->portInfoIs( IntfId( "Ethernet4" ), PortInfo( 1, PortIndex( 5 ) ) );
    chip.chipStatus->maxPipeIdIs( 5 );
    count( 0, 43, counterTypeQueueUsage, 4294967297 );
    count( 5, 0, counterTypePpgSharedUsage, 1 );
    count( 5, 200, counterTypePpgMinUsage, U64{ 1 } << 40U );
    EXPECT_EQ(
        chip.answer( "show tm nonzero" ),
        std::string( "Ethernet1:\n"
                     "  TxQ TotalUsage\n"
                     "====================\n"
                     "    3          1\n"
                     "\n"
                     "\n"
                     "Unbound PPGs Pipe 5:\n" ) +
            ppgHeader +
            "    0        0         1         0                                        0 0x0\n"
            "  200        0         0         0                                        0 0x0\n"
            "\n" );
}

TEST_F( Show, aPipeWhoseCountersWereFetchedMayHaveNone ) {
    const std::string notFetched = "BlockLevel counters for Pipe: 0 not fetched yet\n\n";
    EXPECT_EQ( chip.answer( "show tm blocklevel" ), notFetched );
    chip.tmCountersData->blockLevelCountersIs( { KelDevId( 0 ), KelPipeId( 0 ) } );
    EXPECT_TRUE( chip.answer( "show tm blocklevel" ).starts_with( "Pipe: 0\n====" ) );
    chip.tmCountersData->blockLevelCountersDel( { KelDevId( 0 ), KelPipeId( 0 ) } );
    EXPECT_EQ( chip.answer( "show tm blocklevel" ), notFetched );
}

TEST_F( Show, aThresholdWithoutAFactorIsNone ) {
    chip.tmConfig->tmIntfConfig( PortIndex( 5 ) )
        ->tmPpgConfig( PpgId( 3 ) )
        ->dynamicThresholdIs( bafInvalid );
    EXPECT_TRUE( chip.answer( "show tm queue status" )
                     .starts_with( "{ 'Ethernet1': { 'TC3': { 'bytes_used': 0, "
                                   "'min_reserved_bytes': 0, 'dynamic_threshold': 0.000000}" ) );
}

TEST_F( Show, answersNothingElseBeforeInitialisation ) {
    chip.sm->initializedIs( false );
    const std::string notYet = "Agent not initialized yet";
    EXPECT_EQ( chip.answer( "show tm intf Ethernet1" ), notYet );
    EXPECT_EQ( chip.answer( "show tm blocklevel" ), notYet );
    EXPECT_EQ( chip.answer( "show tm queue status" ), notYet );
    EXPECT_EQ( chip.answer( "show tm" ), notYet + notYet );
    EXPECT_EQ( chip.answer( "show buf" ), notYet );
}

TEST_F( Show, queuesReadTheCounterOfTheirPlaceInThePipe ) {
    const PortInfo port( 0, PortIndex( 5 ) );
    for ( U32 index = 0; index < 2000; ++index ) {
        count( 0, index, counterTypeQueueUsage, index );
    }
    EXPECT_EQ( chip.sm->fetchTxQCounters( port, true ).counterData( 3 ),
               TxQCounterData( 43, 7, 11.0F ) );
    EXPECT_TRUE( chip.sm->fetchTxQCounters( PortInfo( 0, PortIndex( 6 ) ), false ).empty() );
    EXPECT_TRUE( chip.sm->fetchPpgCounters( PortInfo( 0, PortIndex( 6 ) ), false ).empty() );
}

TEST_F( Show, refusesAPortOfADeviceThatIsNone ) {
    const PortInfo port( 9, PortIndex( 5 ) );
    EXPECT_THROW( chip.sm->fetchPpgCounters( port, false ), Kel::RangeException );
    EXPECT_THROW( chip.sm->fetchTxQCounters( port, false ), Kel::RangeException );
    // What was answered before it got there is not lost.
    chip.systemStatus->portInfoIs( IntfId( "Ethernet1" ), PortInfo( 9, PortIndex( 5 ) ) );
    EXPECT_EQ( chip.answer( "show tm intf Ethernet1" ),
               "Command failed: KelDevId::value < KelDevId::min or > KelDevId::invalid not "
               "allowed\n" );
}

TEST( ShowOnADeviceThatIsNone, endsWhereTheCountersAreAskedFor ) {
    SmallChip chip;
    KelModel::Chip device9( 9 );
    KelModel::Chip::currentIs( &device9 );
    const auto sm = kelSliceQosSmFactory(
        9, chip.clock, nullptr, nullptr, nullptr, nullptr, chip.systemStatus, chip.chipStatus,
        chip.cmdRequestDirSm, chip.tmCountersData, chip.tmCountersDataLastClear, nullptr );
    const std::string refused =
        "Command failed: KelDevId::value < KelDevId::min or > KelDevId::invalid not allowed\n";
    EXPECT_EQ( chip.answer( "show tm" ), refused );
    EXPECT_EQ( chip.answer( "show tm blocklevel" ), refused );
    EXPECT_EQ( chip.answer( "show tm queue status" ), "{ " + refused );
}

TEST( ShowWithoutEntities, hasLittleToTell ) {
    SmallChip chip;
    const auto sm =
        kelSliceQosSmFactory( 0, chip.clock, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              chip.cmdRequestDirSm, nullptr, nullptr, nullptr );
    EXPECT_EQ( chip.answer( "show tm" ), "\n" );
    EXPECT_EQ( chip.answer( "show tm blocklevel" ), "" );
    EXPECT_EQ( chip.answer( "show tm intf Ethernet1" ), "Unknown interface: Ethernet1\n" );
    EXPECT_TRUE( chip.answer( "show buf" ).find( "\nTotal cells available: 0\n" ) !=
                 std::string::npos );
}

} // namespace
