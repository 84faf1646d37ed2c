#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "KelQos/Wred/KelSliceQosWredBlockSm.h"
#include "Model/ModelPdIntf.h"
#include "Model/ModelResourceInfoIntf.h"
#include "tests/support/SmallChip.h"
#include "tests/support/TempFolder.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// The library in processes of other people's making.

using namespace KelQos;
using Kel::IntfId;
using Kel::makePtr;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;

constexpr const char * commands[]{ "show buf",           "show tm",
                                   "show tm nonzero",    "show tm intf Ethernet1",
                                   "show tm blocklevel", "show tm queue status" };

// A port with everything, whose leak counters are polled.
void fill( SmallChip & world ) {
    world.mapAllClasses();
    world.addPort( "Ethernet1", 4 );
    world.setStatus( "Ethernet1", Interface::enabledStateEnabled );
    const auto intf = world.addIntf( 4 );
    intf->flowControlTypeIs( flowControlTypePfc );
    intf->tmPpgConfigIs( SmallChip::newPpg( 3, 0x08, true, 10 ) );
    intf->tmTxQueueConfigIs( SmallChip::newQueue( 3, 20 ) );
    world.tmCountersData->setBlockLevelCounter( KelId::KelDevId( 0 ), KelId::KelPipeId( 0 ),
                                                blockLevelEpipePktDrop, {}, 1 );
    world.tmCountersData->setCounter( KelId::KelDevId( 0 ), KelId::KelPipeId( 0 ), 0,
                                      counterTypePpgDrops, 7 );
}

// Without one of its inputs a state machine does the rest.
TEST( Hosts, mayLeaveOutAnyInput ) {
    struct Case {
        const char * what;
        void ( *leaveOut )( SmallChip & );
    };
    for ( const Case & test :
          { Case{ "clock", []( SmallChip & w ) { w.clock = nullptr; } },
            { "tmConfig", []( SmallChip & w ) { w.tmConfig = nullptr; } },
            { "tmStatus", []( SmallChip & w ) { w.tmStatus = nullptr; } },
            { "tmBufferParams", []( SmallChip & w ) { w.tmBufferParams = nullptr; } },
            { "pfcSharedState", []( SmallChip & w ) { w.pfcSharedState = nullptr; } },
            { "systemStatus", []( SmallChip & w ) { w.systemStatus = nullptr; } },
            { "chipStatus", []( SmallChip & w ) { w.chipStatus = nullptr; } },
            { "tmCountersData", []( SmallChip & w ) { w.tmCountersData = nullptr; } },
            { "tmCountersDataLastClear",
              []( SmallChip & w ) { w.tmCountersDataLastClear = nullptr; } },
            { "ethPhyIntfStatusDir", []( SmallChip & w ) { w.intfStatusDir = nullptr; } } } ) {
        SCOPED_TRACE( test.what );
        SmallChip world;
        fill( world );
        const auto config = world.tmConfig;
        const auto params = world.tmBufferParams;
        const auto ports = world.systemStatus;
        const auto statuses = world.intfStatusDir;
        const std::string what = test.what;
        test.leaveOut( world );
        const auto & group = world.chip.state();
        world.start();
        EXPECT_EQ( group.ppgsAllocated( 0 ), what == "tmConfig" ? 0U : 1U );
        // The leak handler polls only with all of its inputs.
        const auto leak = world.sm->leakHandlerSm();
        const bool polls =
            what != "tmBufferParams" && what != "chipStatus" && what != "tmCountersData";
        world.advance( 5.0 );
        EXPECT_EQ( leak->leakedPktsFromLastPoll(), polls ? 1U : 0U );
        EXPECT_EQ( leak->velPollClock()->timeMin() == Kel::never, !polls );
        const auto intf = config->tmIntfConfig( PortIndex( 4 ) );
        intf->flowControlTypeIs( flowControlTypeLinkPause );
        intf->tmPpgConfig( PpgId( 3 ) )->minLimitCellsIs( 1000000 );
        intf->shapeRateIs( ShapeRate( 1, 2, 3 ) );
        config->cosToTcIs( Cos( 0 ), 3 );
        params->leakThresholdIs( 5 );
        params->leakPollIntervalIs( 2.0 );
        params->totalCellsAvailableForIngressIs( 7 );
        statuses->intfStatus( IntfId( "Ethernet1" ) )->enabledIs( Interface::enabledStateDisabled );
        ports->portInfoIs( IntfId( "Ethernet2" ), KelSystem::PortInfo( 0, PortIndex( 5 ) ) );
        world.sm->minLimitCellsForMirroringIs( 100 );
        world.advance( 5.0 );
        for ( const char * command : commands ) {
            const std::string answer = world.answer( command );
            const bool mute = ( what == "tmConfig" && command == commands[3] ) ||
                              ( what == "chipStatus" && command == commands[4] );
            EXPECT_EQ( answer.empty(), mute ) << command;
        }
        EXPECT_EQ( world.answer( commands[2] ).find( " 7 0x8" ) != std::string::npos,
                   what != "tmConfig" && what != "systemStatus" && what != "tmCountersData" );
        config->tmIntfConfigDelAll();
        ports->portInfoDelAll();
        statuses->intfStatusDelAll();
        world.stop();
        params->totalCellsAvailableForIngressIs( 8 );
        world.advance( 5.0 );
    }
}

// Two devices in one process, each with its own entities and command channel.
TEST( Hosts, mayRunTwoDevicesSideBySide ) {
    SmallChip first;
    fill( first );
    first.start();
    KelModel::Chip chip( 1, 50000 );
    KelModel::Chip::besideIs( chip );
    std::vector<std::string> log;
    chip.logSinkIs( [&log]( std::string_view line ) { log.emplace_back( line ); } );
    const auto config = makePtr<TmConfig>();
    const auto params = makePtr<TmBufferParamsConfig>();
    const auto status = makePtr<TmStatus>();
    const auto channel = makePtr<Agent::AgentCommandRequestDirSm>();
    const auto intf = config->tmIntfConfigIs( PortIndex( 4 ) );
    intf->tmPpgConfigIs( SmallChip::newPpg( 3, 0x08, false, 77 ) );
    first.takeLog();
    auto second = kelSliceQosSmFactory( 1, first.clock, config, status, params, nullptr, nullptr,
                                        first.chipStatus, channel, nullptr, nullptr, nullptr );
    first.advance( 0.0 );
    EXPECT_TRUE( first.takeLog().empty() );
    EXPECT_EQ( chip.state().ppgsAllocated( 0 ), 1U );
    EXPECT_EQ( chip.state().ppg( 0 )->minLimitCells, 77U );
    EXPECT_EQ( first.chip.state().ppg( 0 )->minLimitCells, 10U );

    // Each reports and answers for itself.
    first.advance( 3.0 );
    EXPECT_EQ( first.takeLog(),
               std::vector<std::string>{ "syslog 3 KEL_TM_QUEUE_RESERVED_INVALID Request to "
                                         "reserve 1997 buffers of 80 bytes each for ingress "
                                         "traffic-manager cannot be satisfied." } );
    EXPECT_NE( first.answer( "1:show buf" ).find( "available: 278528" ), std::string::npos );
    first.cmdRequestDirSm = channel;
    EXPECT_NE( first.answer( "0:show buf" ).find( "available: 50000" ), std::string::npos );

    // And goes on without the other.
    first.stop();
    log.clear();
    intf->shapeRateIs( ShapeRate( 1, 2, 3 ) );
    EXPECT_EQ( log.size(), 2U );
    second = nullptr;
    intf->shapeRateIs( ShapeRate( 1, 3, 3 ) );
    EXPECT_EQ( log.size(), 2U );
    EXPECT_TRUE( channel->agentCommandCallback( "KelSliceQos" ) == nullptr );
}

// What the library prints does not depend on the process's locale.
TEST( Hosts, mayHaveALocaleWithADecimalComma ) {
    const TestSupport::TempFolder folder;
    const std::string made = "localedef --no-archive -i de_DE -f UTF-8 " +
                             folder.file( "de_DE.UTF-8" ) + " >" + folder.file( "log" ) + " 2>&1";
    ASSERT_EQ( std::system( made.c_str() ), 0 ) << "needs Debian's package locales";
    SmallChip world;
    fill( world );
    world.start();
    const std::string before = world.answer( "show tm queue status" );
    EXPECT_NE( before.find( "'dynamic_threshold': 11.000000}" ), std::string::npos ) << before;
    setenv( "LOCPATH", folder.path().c_str(), 1 );
    ASSERT_NE( std::setlocale( LC_ALL, "de_DE.UTF-8" ), nullptr );
    EXPECT_EQ( *std::localeconv()->decimal_point, ',' );
    EXPECT_EQ( world.answer( "show tm queue status" ), before );
    std::setlocale( LC_ALL, "C" );
    unsetenv( "LOCPATH" );
}

// A pipe's state machine that was removed, or whose block is gone, writes nothing, whoever holds
// it.
TEST( Hosts, mayHoldAWredPipeForLonger ) {
    SmallChip world;
    std::vector<std::string> writes;
    world.chip.logSinkIs( [&writes]( std::string_view line ) { writes.emplace_back( line ); } );
    const auto config = makePtr<WredBlockConfig>();
    const KelDriver::KelDevTgt pipes[]{ { KelId::KelDevId( 0 ), KelId::KelPipeId( 0 ) },
                                        { KelId::KelDevId( 0 ), KelId::KelPipeId( 1 ) } };
    for ( const auto & pipe : pipes ) {
        config->pipeConfigIs( pipe )->resourceConfigIs( 5, { .minThdCells = 1 } );
    }
    const Ptr<const WredBlockPipeConfig> entries[]{ config->pipeConfig( pipes[0] ),
                                                    config->pipeConfig( pipes[1] ) };
    auto block =
        kelSliceQosWredBlockSmFactory( KelModel::pipeManagerSession, KelId::KelDevId( 0 ),
                                       makePtr<KelModel::ModelPdIntf>( world.chip ),
                                       makePtr<KelModel::ModelResourceInfoIntf>(), config );
    const auto removed = block->pipeSm( pipes[0] );
    const auto orphan = block->pipeSm( pipes[1] );
    writes.clear();
    block->pipeSmDel( pipes[0] );
    config->pipeConfig( pipes[0] )->resourceConfigIs( 6, { .minThdCells = 2 } );
    EXPECT_TRUE( writes.empty() );
    config->pipeConfig( pipes[1] )->resourceConfigIs( 6, { .minThdCells = 2 } );
    EXPECT_EQ( writes.size(), 1U );
    block = nullptr;
    config->pipeConfig( pipes[1] )->resourceConfigIs( 7, { .minThdCells = 3 } );
    for ( const auto & pipe : { removed, orphan } ) {
        pipe->handleResourceConfig();
        pipe->handleResourceConfig( 5 );
        pipe->hasNotificationActiveIs( true );
    }
    EXPECT_EQ( writes.size(), 1U );
}

} // namespace
