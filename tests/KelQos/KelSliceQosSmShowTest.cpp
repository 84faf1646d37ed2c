#include "KelQos/Show/KelSliceQosSmShow.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Logging/Trace.h"
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

// A chip of two pipes. Ethernet1 has three groups, with handles 0, 1 and 133, and two queues;
// Ethernet2, on the second pipe, a group alone; Ethernet3 no configuration; Ethernet4 belongs to
// another chip.
struct Show : testing::Test {
    Show() {
        chip.chipStatus->maxPipeIdIs( 1 );
        // Neither table comes in the order of its keys.
        chip.addPort( "Ethernet2", 132 );
        chip.addPort( "Ethernet1", 5 );
        chip.addPort( "Ethernet3", 7 );
        chip.systemStatus->portInfoIs( IntfId( "Ethernet4" ), PortInfo( 1, PortIndex( 9 ) ) );
        chip.addIntf( 132 )->tmPpgConfigIs( SmallChip::newPpg( 2, 0x06 ) );
        const auto intf = chip.addIntf( 5 );
        intf->flowControlTypeIs( flowControlTypePfc );
        intf->tmPpgConfigIs( SmallChip::newPpg( 3, 0x08, true, 1000 ) );
        intf->tmPpgConfigIs( SmallChip::newPpg( 7, 0x80 ) );
        intf->tmPpgConfigIs( SmallChip::newPpg( 8, 0x07 ) );
        intf->tmTxQueueConfigIs( SmallChip::newQueue( 3, 53687092 ) );
        intf->tmTxQueueConfigIs( SmallChip::newQueue( 0 ) );
        chip.start();
    }

    void count( U16 pipe, U32 index, U32 type, U64 value ) {
        chip.tmCountersData->setCounter( KelDevId( 0 ), KelPipeId( pipe ), index,
                                         static_cast<CounterType>( type ), value );
    }
    void countUsage( U16 pipe, U32 index, U64 min, U64 shared, U64 skid, U64 drops ) {
        count( pipe, index, 0, min );
        count( pipe, index, 1, shared );
        count( pipe, index, 2, skid );
        count( pipe, index, 6, drops );
    }
    void snapshot( U16 pipe, U32 index, U64 drops ) {
        chip.tmCountersDataLastClear->setCounter( KelDevId( 0 ), KelPipeId( pipe ), index,
                                                  counterTypePpgDrops, drops );
    }
    // Traffic on Ethernet1: group 3 lost 60 packets since the last clear, the default group's count
    // was reset at its source; queue 3 holds 1 cell more than 32 bits can count.
    void traffic() {
        countUsage( 0, 0, 1, 20, 300, 100 );
        snapshot( 0, 0, 40 );
        countUsage( 0, 133, 4294967295, 0, 0, 10 );
        snapshot( 0, 133, 40 );
        count( 0, 43, 4, 4294967297 );
    }
    // Block-level counters of pipe 0.
    void blockCounter( U32 id, const char * name, U32 type, U64 value ) {
        chip.tmCountersData->blockLevelCounterIs(
            { KelDevId( 0 ), KelPipeId( 0 ) }, static_cast<BlockLevelCounterName>( id ),
            { name, static_cast<BlockLevelCounterType>( type ), value } );
    }

    SmallChip chip;
};

constexpr const char * ppgHeader =
    "PpgId MinUsage ShrdUsage SkidUsage                                 DropPkts TC-bmp\n"
    "====================================================================================\n";

TEST_F( Show, oneInterface ) {
    traffic();
    EXPECT_EQ(
        chip.answer( "show tm intf Ethernet1" ),
        std::string( "Ethernet1:\n" ) + ppgHeader +
            "    3        1        20       300                                       60 0x8\n"
            "    7        0         0         0                                        0 0x80\n"
            "    8 4294967295         0         0                     18446744073709551586 0x7\n"
            "  TxQ TotalUsage\n"
            "====================\n"
            "    0          0\n"
            "    3          1\n"
            "\n" );
    // The reset count shows as it is from now on, and rows of zeros are left out on request.
    EXPECT_EQ(
        chip.answer( "show tm intf Ethernet1 nonzero" ),
        std::string( "Ethernet1:\n" ) + ppgHeader +
            "    3        1        20       300                                       60 0x8\n"
            "    8 4294967295         0         0                                       10 0x7\n"
            "  TxQ TotalUsage\n"
            "====================\n"
            "    3          1\n"
            "\n" );
}

TEST_F( Show, interfacesWithoutQueuesTrafficOrConfiguration ) {
    EXPECT_EQ(
        chip.answer( "show tm intf Ethernet2" ),
        std::string( "Ethernet2:\n" ) + ppgHeader +
            "    2        0         0         0                                        0 0x6\n"
            "\n" );
    EXPECT_EQ( chip.answer( "show tm intf Ethernet2 nonzero" ), "" );
    EXPECT_EQ( chip.answer( "show tm intf Ethernet3" ), "" );
    // A group that is not allocated is not listed, and an interface without rows has its name.
    chip.tmConfig->tmIntfConfigDel( PortIndex( 132 ) );
    chip.addIntf( 132 )->tmPpgConfigIs( SmallChip::newPpg( 2, 0x06 ) );
    EXPECT_EQ( chip.answer( "show tm intf Ethernet2" ), "Ethernet2:\n\n" );
}

TEST_F( Show, everythingNonZero ) {
    traffic();
    // Groups that belong to no interface: 1 and 133 of pipe 1 are not those of Ethernet1, 256 and
    // more is no group, 201 none of a pipe.
    countUsage( 1, 1, 0, 0, 0, 5 );
    countUsage( 1, 133, 0, 7, 0, 0 );
    countUsage( 1, 201, 1, 1, 1, 1 );
    countUsage( 1, 200, 0, U64{ 1 } << 40U, 0, 0 );
    EXPECT_EQ(
        chip.answer( "show tm nonzero" ),
        std::string( "Ethernet1:\n" ) + ppgHeader +
            "    3        1        20       300                                       60 0x8\n"
            "    8 4294967295         0         0                     18446744073709551586 0x7\n"
            "  TxQ TotalUsage\n"
            "====================\n"
            "    3          1\n"
            "\n"
            "\n"
            "Unbound PPGs Pipe 1:\n" +
            ppgHeader +
            "    1        0         0         0                                        5 0x0\n"
            "  133        0         7         0                                        0 0x0\n"
            "  200        0         0         0                                        0 0x0\n"
            "\n" );
}

TEST_F( Show, everythingListsEachPipesGroupsOnce ) {
    const std::string answer = chip.answer( "show tm" );
    const std::string unbound = answer.substr( answer.find( "Unbound PPGs Pipe 0:\n" ) );
    const std::string pipe1 = unbound.substr( unbound.find( "Unbound PPGs Pipe 1:\n" ) );
    EXPECT_TRUE( answer.starts_with( "Ethernet1:\n" ) );
    EXPECT_LT( answer.find( "\n\nEthernet2:\n" ), answer.find( "\n\n\nUnbound PPGs Pipe 0:\n" ) );
    const auto rows = []( const std::string & text ) {
        return std::count( text.begin(), text.end(), '\n' ) - 4;
    };
    EXPECT_EQ( rows( unbound ) - rows( pipe1 ) - 4, 201 - 3 );
    EXPECT_EQ( rows( pipe1 ), 201 - 1 );
    EXPECT_NE( unbound.find( "    2        0 " ), std::string::npos );
    EXPECT_EQ( pipe1.find( "    0        0 " ), std::string::npos );
    EXPECT_NE( pipe1.find( "  200        0 " ), std::string::npos );
}

TEST_F( Show, blockLevelCounters ) {
    blockCounter( 2, "Wac drop", 0, 10 );
    blockCounter( 3, "Epipe drop", 0, 100 );
    blockCounter( 9, "a gauge whose name is longer than its column is", 1, 40 );
    blockCounter( 1, "idle", 1, 0 );
    const auto snapshotOf = [&]( U32 id, U32 type, U64 value ) {
        chip.tmCountersDataLastClear->setBlockLevelCounter(
            KelDevId( 0 ), KelPipeId( 0 ), static_cast<BlockLevelCounterName>( id ),
            static_cast<BlockLevelCounterType>( type ), value );
    };
    snapshotOf( 2, 0, 11 );
    snapshotOf( 3, 0, 40 );
    snapshotOf( 9, 1, 1 ); // a gauge has nothing to be cleared
    const std::string header = "================================================================\n"
                               "BlockLevel Counter Name                              Count/State\n"
                               "================================================================\n";
    const std::string notFetched = "BlockLevel counters for Pipe: 1 not fetched yet\n\n";
    EXPECT_EQ( chip.answer( "show tm blocklevel" ),
               "Pipe: 0\n" + header +
                   "Epipe drop                                                    60\n"
                   "Wac drop                                     18446744073709551615\n"
                   "a gauge whose name is longer than its column is                 40\n"
                   "idle                                                           0\n"
                   "\n" +
                   notFetched );
    chip.tmCountersData->blockLevelCountersIs( { KelDevId( 0 ), KelPipeId( 1 ) } );
    EXPECT_EQ( chip.answer( "show tm blocklevel nonzero" ),
               "Pipe: 0\n" + header +
                   "Epipe drop                                                    60\n"
                   "Wac drop                                                      10\n"
                   "a gauge whose name is longer than its column is                 40\n"
                   "\n" );
    chip.tmCountersData->blockLevelCountersDel( { KelDevId( 0 ), KelPipeId( 0 ) } );
    EXPECT_EQ( chip.answer( "show tm blocklevel" ),
               "BlockLevel counters for Pipe: 0 not fetched yet\n\nPipe: 1\n" + header + "\n" );
}

TEST_F( Show, queueStatusInBytes ) {
    traffic();
    EXPECT_EQ( chip.answer( "show tm queue status" ),
               "{ 'Ethernet1': { "
               "'TC3': { 'bytes_used': 25680, 'min_reserved_bytes': 80000, "
               "'dynamic_threshold': 11.000000}, "
               "'L2 Control': { 'bytes_used': 0, 'min_reserved_bytes': 0, "
               "'dynamic_threshold': 11.000000}, "
               // Sizes wrap at 32 bits.
               "'TC0-2 (Default)': { 'bytes_used': 4294967216, 'min_reserved_bytes': 0, "
               "'dynamic_threshold': 11.000000}, "
               "'TxQ0': { 'bytes_used': 0, 'min_reserved_bytes': 0, "
               "'dynamic_threshold': 11.000000}, "
               "'TxQ3': { 'bytes_used': 80, 'min_reserved_bytes': 64, "
               "'dynamic_threshold': 11.000000}, }, "
               "'Ethernet2': { "
               "'TC1-2 (Default)': { 'bytes_used': 0, 'min_reserved_bytes': 0, "
               "'dynamic_threshold': 11.000000}, }, }" );
    auto none = SmallChip::newPpg( 2, 0 );
    none->dynamicThresholdIs( bafInvalid );
    chip.tmConfig->tmIntfConfigDel( PortIndex( 5 ) );
    chip.tmConfig->tmIntfConfig( PortIndex( 132 ) )->tmPpgConfigIs( none );
    EXPECT_EQ( chip.answer( "show tm queue status" ),
               "{ 'Ethernet2': { 'TC (Default)': { 'bytes_used': 0, 'min_reserved_bytes': 0, "
               "'dynamic_threshold': 0.000000}, }, }" );
}

TEST_F( Show, bufferAllocation ) {
    EXPECT_EQ( chip.answer( "show buf" ), "Buffer Allocation Details\n"
                                          "-------------------------\n"
                                          "\n"
                                          "Ingress (WAC)\n"
                                          "Total cells available: 100000\n"
                                          "Total PPGs: 800\n"
                                          "Number of PPGs allocated: 4\n"
                                          "PPG min cell count: 1000\n"
                                          "Global headroom cell count: 232\n"
                                          "Total reserved cell count: 3152\n"
                                          "Shared cell count: 96848\n"
                                          "\n"
                                          "Egress (QAC)\n"
                                          "Total cells available: 278528\n"
                                          "Total queues available: 2304\n"
                                          "Number of queues allocated: 2\n"
                                          "Queue min cell count: 53687092\n"
                                          "Total reserved cell count: 53699380\n"
                                          "Shared cell count: 0\n" );
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
        count( 0, index, 4, index );
    }
    EXPECT_EQ( chip.sm->fetchTxQCounters( port, true ).counterData( 3 ),
               TxQCounterData( 43, 53687092, 11.0F ) );
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

TEST_F( Show, tracesWhatItIsAsked ) {
    std::string traced;
    Kel::traceLevelsIs( "KelSliceQosSm=8-9" );
    Kel::traceSinkIs( [&]( const Kel::TraceRecord & record ) {
        traced += std::to_string( record.level ) + " " + std::string( record.text ) + "\n";
    } );
    chip.sm->showTmIntfCounters( 0xFFFFFFFF, IntfId( "Ethernet1" ), true );
    chip.sm->showTmQueueStatus( 0xFFFFFFFF );
    Kel::traceSinkIs( nullptr );
    Kel::traceLevelsDelAll();
    const std::string status = "8 KelQosCounters::showTmQueueStatus: devId, portId, ppgId 0 ";
    EXPECT_EQ( traced,
               "8 KelQosCounters::showTmIntfCounters, intf: Ethernet1, nonZeroOnly: 1\n"
               "8 KelQosCounters::fetchPpgCounters, portIndex: 5\n"
               "9 KelQosCounters::fetchPpgCounters: Filling counter data for ppgid 0\n"
               "9 KelQosCounters::fetchPpgCounters: Filling counter data for ppgid 1\n"
               "9 KelQosCounters::fetchPpgCounters: Filling counter data for ppgid 133\n"
               "8 KelQosCounters::fetchTxQCounters, portIndex: 5\n"
               "8 KelQosCounters::showTmQueueStatus\n"
               "8 KelQosCounters::fetchPpgCounters, portIndex: 5\n"
               "9 KelQosCounters::fetchPpgCounters: Filling counter data for ppgid 0\n"
               "9 KelQosCounters::fetchPpgCounters: Filling counter data for ppgid 1\n"
               "9 KelQosCounters::fetchPpgCounters: Filling counter data for ppgid 133\n" +
                   status + "5 3 internalCosBmp 8 idSet length 1\n" + status +
                   "5 7 internalCosBmp 128 idSet length 1\n" + status +
                   "5 8 internalCosBmp 7 idSet length 3\n"
                   "8 KelQosCounters::fetchTxQCounters, portIndex: 5\n"
                   "8 KelQosCounters::fetchPpgCounters, portIndex: 132\n"
                   "9 KelQosCounters::fetchPpgCounters: Filling counter data for ppgid 0\n" +
                   status +
                   "132 2 internalCosBmp 6 idSet length 2\n"
                   "8 KelQosCounters::fetchTxQCounters, portIndex: 132\n" );
}

} // namespace
