#include "tests/support/Watcher.h"
#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
#include "tests/support/SmallChip.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using namespace KelQos;
using Kel::IntfId;
using Kel::makePtr;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;
using Lines = std::vector<std::string>;
using Act = std::function<void()>;

const PortIndex port( 4 );
const IntfId ethernet1( "Ethernet1" );

// Does something the first time that it is told of anything, and watches no more then.
template <class T>
class Once : public Kel::NotifieeOf<T> {
  public:
    Once( const Ptr<T> & entity, Act act )
        : Kel::NotifieeOf<T>( entity ), act_( std::move( act ) ) {
        this->hasNotificationActiveIs( true );
    }
    void onAttribute( Kel::AttributeId, const void * ) override {
        if ( const Act act = std::exchange( act_, nullptr ) ) {
            act();
            this->notifierIs( nullptr );
        }
    }

  private:
    Act act_;
};
template <class T>
Ptr<Kel::Notifiee> once( const Ptr<T> & entity, Act act ) {
    return makePtr<Once<T>>( entity, std::move( act ) );
}

// A switch with one port, which has a group, and watchers that take part.
class WatcherTest : public testing::Test {
  protected:
    WatcherTest() {
        switch1.addPort( "Ethernet1", 4 );
        switch1.mapAllClasses();
        switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypePfc, 0x08 ) );
    }

    static Ptr<TmIntfConfig> newIntf( FlowControlType type, U8 bitmap ) {
        auto intf = makePtr<TmIntfConfig>( port );
        intf->flowControlTypeIs( type );
        intf->tmPpgConfigIs( SmallChip::newPpg( 3, bitmap, true, 10 ) );
        intf->tmTxQueueConfigIs( SmallChip::newQueue( 3, 20 ) );
        return intf;
    }

    Ptr<TmIntfConfig> intf() { return switch1.tmConfig->tmIntfConfig( port ); }
    Ptr<TmIntfStatus> status() { return switch1.tmStatus->tmIntfStatusIs( port ); }
    U32 countOf( const std::string & call ) {
        U32 count = 0;
        for ( const std::string & line : switch1.takeLog() ) {
            count += line.find( call ) == std::string::npos ? 0U : 1U;
        }
        return count;
    }
    // Chip, publication and reactors are those of the configuration.
    void expectAgreement( U32 mode, FlowControlType published, U32 bitmap ) {
        switch1.advance( 1.0 );
        const auto & chip = switch1.chip.state();
        EXPECT_EQ( chip.port( 4 ).flowControlMode, mode );
        EXPECT_EQ( chip.port( 4 ).flowControlRx, mode );
        EXPECT_EQ( switch1.pfcSharedState->pfcEnabled( ethernet1 ), published );
        const auto reactor = switch1.sm->velTmIntfConfig( port );
        ASSERT_TRUE( reactor );
        EXPECT_TRUE( reactor->initialized() );
        EXPECT_EQ( reactor->notifier(), intf().get() );
        EXPECT_EQ( chip.ppgsAllocated( 0 ), 1U );
        const auto ppg = reactor->velTmPpgConfig( PpgId( 3 ) );
        EXPECT_EQ( chip.ppg( ppg->ppgHandle() )->icosBitmap, bitmap );
        EXPECT_TRUE( status()->tmPpgStatus( PpgId( 3 ) ) );
    }

    SmallChip switch1;
};

TEST_F( WatcherTest, addsTheGroupAgainWhoseRemovalItHears ) {
    switch1.start();
    const auto watcher = once(
        status(), [this] { intf()->tmPpgConfigIs( SmallChip::newPpg( 3, 0x10, true, 10 ) ); } );
    intf()->tmPpgConfigDel( PpgId( 3 ) );
    expectAgreement( 1, flowControlTypePfc, 0x10 );
}

TEST_F( WatcherTest, addsThePortAgainWhoseRemovalItHears ) {
    switch1.start();
    const auto watcher = once( status(), [this] {
        switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypeLinkPause, 0x10 ) );
    } );
    const auto removed = switch1.sm->velTmIntfConfig( port );
    const auto removedPpg = removed->velTmPpgConfig( PpgId( 3 ) );
    const auto removedConfig = intf();
    switch1.tmConfig->tmIntfConfigDel( port );
    expectAgreement( 2, flowControlTypeLinkPause, 0x10 );
    // What was removed has no way back, and hears nothing of the configuration that it watched.
    EXPECT_FALSE( removed->owner() || removedPpg->owner() || removedPpg->pollClock()->owner() );
    switch1.takeLog();
    removedConfig->flowControlTypeIs( flowControlTypeNone );
    removedConfig->tmPpgConfigIs( SmallChip::newPpg( 2, 1 ) );
    removed->handleIntfShapeRate();
    removed->tmPpgConfigIs( PpgId( 5 ), SmallChip::newPpg( 5, 1 ) );
    removedPpg->onAttribute( TmPpgConfig::pfcEnabledAttr, nullptr );
    removedPpg->pollClock()->timeMinIs( 0.0 );
    removedPpg->notifierIs( SmallChip::newPpg( 3, 1 ) );
    switch1.advance( 1.0 );
    EXPECT_TRUE( switch1.takeLog().empty() );
}

TEST_F( WatcherTest, changesTheOldConfigurationOfAPortThatIsBeingRemoved ) {
    switch1.start();
    const auto removed = intf();
    const auto watcher = once( status(), [this, &removed] {
        switch1.takeLog();
        removed->flowControlTypeIs( flowControlTypeNone );
        removed->tmPpgConfigIs( SmallChip::newPpg( 2, 1 ) );
    } );
    switch1.tmConfig->tmIntfConfigDel( port );
    switch1.advance( 1.0 );
    EXPECT_EQ( countOf( "call bf_tm_p" ), 9U ); // the pools alone: nine of their ten calls
    EXPECT_EQ( switch1.chip.state().ppgsAllocated( 0 ), 0U );
}

TEST_F( WatcherTest, removesThePortThatIsBeingCreated ) {
    const auto watcher =
        once( switch1.pfcSharedState, [this] { switch1.tmConfig->tmIntfConfigDel( port ); } );
    switch1.start();
    EXPECT_FALSE( switch1.sm->velTmIntfConfig( port ) );
    const auto again =
        once( switch1.pfcSharedState, [this] { switch1.tmConfig->tmIntfConfigDel( port ); } );
    switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypeLinkPause, 0x08 ) );
    EXPECT_TRUE( switch1.sm->velTmIntfConfig().empty() );
    switch1.advance( 1.0 );
    EXPECT_EQ( switch1.chip.state().ppgsAllocated( 0 ), 0U );
    switch1.sm->reconfigureSharedPools(); // as removing a queue does not
    EXPECT_EQ( switch1.sm->numTxQsAllocated(), 0U );
}

TEST_F( WatcherTest, replacesThePortThatIsBeingCreated ) {
    for ( const bool running : { false, true } ) {
        const auto watcher = once( switch1.pfcSharedState, [this] {
            switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypeLinkPause, 0x20 ) );
        } );
        if ( running ) {
            switch1.tmConfig->tmIntfConfigDel( port );
            switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypePfc, 0x08 ) );
        } else {
            switch1.start();
        }
        expectAgreement( 2, flowControlTypeLinkPause, 0x20 );
    }
}

TEST_F( WatcherTest, setsTheFlowControlBackAtOnce ) {
    const auto setBack = [this]( FlowControlType type ) {
        return once( switch1.pfcSharedState, [this, type] { intf()->flowControlTypeIs( type ); } );
    };
    switch1.start();
    switch1.takeLog();
    auto watcher = setBack( flowControlTypePfc );
    intf()->flowControlTypeIs( flowControlTypeNone );
    // Only the last word reaches the chip.
    EXPECT_EQ( countOf( "call bf_tm_port_flowcontrol_" ), 2U );
    expectAgreement( 1, flowControlTypePfc, 0x08 );
    switch1.tmConfig->tmIntfConfigDel( port );
    watcher = setBack( flowControlTypePfc );
    switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypeLinkPause, 0x08 ) );
    expectAgreement( 1, flowControlTypePfc, 0x08 );
    watcher = setBack( flowControlTypeLinkPause );
    switch1.sm->velTmIntfConfig( port )->notifierIs( newIntf( flowControlTypeNone, 0x08 ) );
    EXPECT_EQ( switch1.chip.state().port( 4 ).flowControlMode, 0U ); // on an entity of its own
}

// Each way of being dropped by somebody who is told of its status: the handler that is running goes
// to its end, and nothing happens after it.
TEST_F( WatcherTest, dropsTheStateMachine ) {
    struct Case {
        const char * what;
        std::function<Ptr<Kel::Notifiee>( Act )> watched;
        Act change;
    };
    const auto ofStatus = [this]( Act act ) { return once( status(), std::move( act ) ); };
    const auto ofPfc = [this]( Act act ) {
        return once( switch1.pfcSharedState, std::move( act ) );
    };
    const auto ofSm = [this]( Act act ) { return once( switch1.sm, std::move( act ) ); };
    const auto ofLeak = [this]( Act act ) {
        return once( switch1.sm->leakHandlerSm(), std::move( act ) );
    };
    const auto addGroup = [this] {
        intf()->tmPpgConfigIs( SmallChip::newPpg( 4, 0x10 ) );
        switch1.advance( 0.0 );
    };
    const auto removeGroup = [this] { intf()->tmPpgConfigDel( PpgId( 3 ) ); };
    const auto removePort = [this] { switch1.tmConfig->tmIntfConfigDel( port ); };
    const auto flowControl = [this] { intf()->flowControlTypeIs( flowControlTypeNone ); };
    const auto replacePort = [this] {
        switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypeNone, 0x20 ) );
    };
    const auto poll = [this] {
        switch1.tmCountersData->setBlockLevelCounter( KelId::KelDevId( 0 ), KelId::KelPipeId( 0 ),
                                                      blockLevelEpipePktDrop, {}, 5 );
        switch1.advance( 1.0 );
    };
    for ( const Case & test : {
              Case{ "group allocated", ofStatus, addGroup },
              { "group removed", ofStatus, removeGroup },
              { "port removed", ofStatus, removePort },
              { "flow control published", ofPfc, flowControl },
              { "port replaced", ofPfc, replacePort },
              { "port gone from the table", ofPfc,
                [this] { switch1.systemStatus->portInfoDel( ethernet1 ); } },
              { "removed by the host", ofStatus, [this] { switch1.sm->tmIntfConfigDel( port ); } },
              { "removed below the port", ofStatus,
                [this] { switch1.sm->velTmIntfConfig( port )->tmPpgConfigDelAll(); } },
              { "account, by a group", ofSm,
                [this] { intf()->tmPpgConfig( PpgId( 3 ) )->minLimitCellsIs( 50 ); } },
              { "account, by a bitmap", ofSm,
                [this] { intf()->tmPpgConfig( PpgId( 3 ) )->internalCosBmpIs( 0 ); } },
              { "account, by PFC", ofSm,
                [this] { intf()->tmPpgConfig( PpgId( 3 ) )->pfcEnabledIs( false ); } },
              { "account, by a queue", ofSm,
                [this] { intf()->tmTxQueueConfig( TxQueueId( 3 ) )->minLimitCellsIs( 50 ); } },
              { "account, by a new group", ofSm, addGroup },
              { "account, by a new port", ofSm,
                [this] {
                    switch1.addIntf( 9 )->tmTxQueueConfigIs( SmallChip::newQueue( 1, 1 ) );
                } },
              { "account, by a port that goes", ofSm, removePort },
              { "mirroring", ofSm, [this] { switch1.sm->minLimitCellsForMirroringIs( 1 ); } },
              { "buffer parameters", ofSm,
                [this] { switch1.tmBufferParams->totalCellsAvailableForIngressIs( 1 ); } },
              { "leaked packets", ofLeak, poll },
              { "another leak handler", ofSm,
                [this] {
                    switch1.sm->leakHandlerSmIs( 0, switch1.chipStatus, switch1.tmBufferParams,
                                                 switch1.tmCountersData );
                } },
              { "another callback", ofSm,
                [this] { switch1.sm->cliCallbackIs( "x", "y", switch1.sm.get() ); } },
              { "the port table, announced again",
                [&]( Act act ) {
                    switch1.pfcSharedState->pfcEnabledDelAll();
                    return ofPfc( std::move( act ) );
                },
                [this] { switch1.sm->handlePortInfo(); } },
          } ) {
        SCOPED_TRACE( test.what );
        switch1.tmConfig->tmIntfConfigIs( newIntf( flowControlTypePfc, 0x08 ) );
        switch1.addPort( "Ethernet1", 4 );
        switch1.addPort( "Ethernet2", 5 );
        switch1.addIntf( 5 );
        switch1.start();
        bool dropped = false;
        const auto watcher = test.watched( [&] {
            switch1.stop();
            dropped = true;
        } );
        test.change();
        EXPECT_TRUE( dropped );
        switch1.takeLog();
        replacePort();
        flowControl();
        switch1.advance( 5.0 );
        EXPECT_TRUE( switch1.takeLog().empty() );
        switch1.tmCountersData = makePtr<TmCountersData>();
    }
}

TEST_F( WatcherTest, ofALeakPollIsNotFollowedByASecondAction ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    switch1.start();
    const auto leak = switch1.sm->leakHandlerSm();
    // Lowers the threshold when the count rises: the poll that this sets off finds the leak.
    const auto watcher = once( leak, [this] { switch1.tmBufferParams->leakThresholdIs( 5 ); } );
    switch1.tmCountersData->setBlockLevelCounter( KelId::KelDevId( 0 ), KelId::KelPipeId( 0 ),
                                                  blockLevelEpipePktDrop, {}, 5 );
    switch1.takeLog();
    switch1.advance( 10.0 );
    EXPECT_EQ( countOf( "syslog 3 KEL_INTERNAL_BUFFER_ERROR" ), 1U );
    EXPECT_TRUE( leak->recovered() );
    // A handler whose state machine is gone polls no more, whoever holds it.
    switch1.tmBufferParams->leakThresholdIs( 100 );
    switch1.stop();
    switch1.tmBufferParams->leakThresholdIs( 4 );
    switch1.advance( 10.0 );
    EXPECT_TRUE( switch1.takeLog().empty() );
    unsetenv( "SIMULATION_VMID" );
}

// The state machine is an entity like the others.
TEST_F( WatcherTest, hearsOfTheStateMachinesOwnAttributes ) {
    switch1.start();
    std::vector<U32> heard;
    const auto watcher =
        makePtr<Watcher<KelSliceQosSm>>( switch1.sm, [&]( Kel::AttributeId id, const void * key ) {
            heard.push_back( id );
            if ( id == KelSliceQosSm::bufferAllocationLogStateCollAttr ) {
                heard.push_back( *static_cast<const BufferAllocationLogState *>( key ) );
            } else if ( id == KelSliceQosSm::velTmIntfConfigAttr ) {
                heard.push_back( static_cast<const PortIndex *>( key )->value() );
            }
        } );
    const auto expectHeard = [&]( const std::vector<U32> & expected, const Act & change ) {
        heard.clear();
        change();
        EXPECT_EQ( heard, expected );
    };
    using Sm = KelSliceQosSm;
    const auto group = intf()->tmPpgConfig( PpgId( 3 ) );
    expectHeard( { Sm::ppgMinCellCountAttr, Sm::totalIngressReservedCellCountAttr,
                   Sm::ingressSharedPoolCellCountAttr },
                 [&] { group->minLimitCellsIs( 11 ); } );
    expectHeard( { Sm::numPpgsAllocatedAttr, Sm::ppgMinCellCountAttr,
                   Sm::globalHeadroomCellCountAttr, Sm::totalIngressReservedCellCountAttr,
                   Sm::ingressSharedPoolCellCountAttr },
                 [&] { group->internalCosBmpIs( 0 ); } );
    expectHeard( { Sm::txQMinCellCountAttr, Sm::totalEgressReservedCellCountAttr,
                   Sm::egressSharedPoolCellCountAttr },
                 [&] { intf()->tmTxQueueConfig( TxQueueId( 3 ) )->minLimitCellsIs( 21 ); } );
    expectHeard( {}, [&] { switch1.sm->reconfigureSharedPools(); } );
    expectHeard( { Sm::bufferAllocationLogStateCollAttr, bufferAllocationIngressFailedLog_,
                   Sm::totalCellsAvailableForIngressAttr, Sm::ingressSharedPoolCellCountAttr },
                 [&] { switch1.tmBufferParams->totalCellsAvailableForIngressIs( 1 ); } );
    expectHeard( { Sm::minLimitCellsForMirroringAttr, Sm::totalIngressReservedCellCountAttr },
                 [&] { switch1.sm->minLimitCellsForMirroringIs( 481 ); } );
    expectHeard( { Sm::initializedAttr }, [&] { switch1.sm->initializedIs( false ); } );
    expectHeard( { Sm::numTxQsAllocatedAttr, Sm::txQMinCellCountAttr,
                   Sm::totalEgressReservedCellCountAttr, Sm::egressSharedPoolCellCountAttr,
                   Sm::velTmIntfConfigAttr, 9 },
                 [&] {
                     auto added = makePtr<TmIntfConfig>( PortIndex( 9 ) );
                     added->tmTxQueueConfigIs( SmallChip::newQueue( 1, 1 ) );
                     switch1.tmConfig->tmIntfConfigIs( added );
                 } );
    expectHeard( { Sm::velTmIntfConfigAttr, 9 },
                 [&] { switch1.tmConfig->tmIntfConfigDel( PortIndex( 9 ) ); } );
    expectHeard( { Sm::intfStatusAttr },
                 [&] { switch1.setStatus( "Ethernet1", Interface::enabledStateEnabled ); } );
    expectHeard( {}, [&] {
        switch1.sm->intfStatusIs( switch1.intfStatusDir->intfStatus( ethernet1 ) );
        switch1.sm->tmIntfConfigIs( port, intf() );
    } );
    expectHeard( { Sm::leakHandlerSmAttr }, [&] { switch1.sm->leakHandlerSmDel(); } );
    expectHeard( { Sm::cliCallbackAttr }, [&] { switch1.sm->cliCallbackDel(); } );
    expectHeard( { Sm::cliCallbackAttr },
                 [&] { switch1.sm->cliCallbackIs( "x", "y", switch1.sm.get() ); } );
    expectHeard( { Sm::systemStatusAttr }, [&] {
        switch1.sm->velSystemStatus()->notifierIs( makePtr<KelSystem::SystemStatus>() );
    } );
    expectHeard( { Sm::systemStatusAttr },
                 [&] { switch1.sm->velSystemStatus()->notifierIs( nullptr ); } );
    EXPECT_THROW( switch1.sm->timerWheelIs( nullptr ), Kel::NullArgumentException );
}

// Of two that are made one inside the other the first is released like any that is replaced.
TEST_F( WatcherTest, replacesTheCallbackAndTheLeakHandlerThatAreJustMade ) {
    switch1.start();
    const auto makeCallback = [this]( const char * name ) {
        const auto callback = switch1.sm->cliCallbackIs( name, "KelSliceQos", switch1.sm.get() );
        switch1.cmdRequestDirSm->agentCommandCallbackIs( callback );
        return callback;
    };
    const auto makeLeakHandler = [this] {
        return switch1.sm->leakHandlerSmIs( 0, switch1.chipStatus, switch1.tmBufferParams,
                                            switch1.tmCountersData );
    };
    Ptr<KelSliceQosCli> nested;
    auto watcher = once( switch1.sm, [&] { nested = makeCallback( "nested" ); } );
    const auto outer = switch1.sm->cliCallbackIs( "outer", "other", switch1.sm.get() );
    EXPECT_EQ( switch1.sm->cliCallback(), nested );
    EXPECT_EQ( outer->kelSliceQosSm(), nullptr );
    Ptr<KelSliceQosLeakHandlerSm> nestedHandler;
    watcher = once( switch1.sm, [&] { nestedHandler = makeLeakHandler(); } );
    const auto outerHandler = makeLeakHandler();
    EXPECT_EQ( switch1.sm->leakHandlerSm(), nestedHandler );
    EXPECT_FALSE( outerHandler->velPollClock() );
    EXPECT_TRUE( nestedHandler->velTmBufferParams()->hasNotificationActive() );
    EXPECT_TRUE( nestedHandler->velPollClock()->hasNotificationActive() );
    switch1.stop();
    EXPECT_EQ( nested->kelSliceQosSm(), nullptr );
    EXPECT_FALSE( nestedHandler->velPollClock() );
    EXPECT_EQ( switch1.answer( "show buf" ), "" );
}

TEST_F( WatcherTest, throwsWhileThePortStarts ) {
    switch1.systemStatus->portInfoDel( ethernet1 ); // so that nothing is published before
    const auto watcher =
        once( switch1.pfcSharedState, [] { throw std::runtime_error( "not this one" ); } );
    EXPECT_THROW( switch1.start(), std::runtime_error );
    EXPECT_EQ( switch1.answer( "show buf" ), "" );
}

TEST_F( WatcherTest, throwsWhileAPortIsAdded ) {
    switch1.tmConfig->tmIntfConfigDelAll();
    switch1.start();
    const auto added = newIntf( flowControlTypePfc, 0x08 );
    {
        const auto watcher =
            once( switch1.pfcSharedState, [] { throw std::runtime_error( "not this one" ); } );
        EXPECT_THROW( switch1.tmConfig->tmIntfConfigIs( added ), std::runtime_error );
    }
    EXPECT_FALSE( switch1.sm->velTmIntfConfigHas( port ) );
    switch1.sm->tmIntfConfigIs( port, added );
    expectAgreement( 1, flowControlTypePfc, 0x08 );
}

// Reactors that were removed, or have no entity, do nothing, whatever they are asked for.
TEST_F( WatcherTest, keepsReactorsThatHaveNothingToDo ) {
    switch1.start();
    const auto onPorts = switch1.sm->velTmConfig();
    const auto onStatuses = switch1.sm->velEthPhyIntfStatusDir();
    const auto onPort = switch1.sm->velTmIntfConfig( port );
    const auto onGroup = onPort->velTmPpgConfig( PpgId( 3 ) );
    const auto onQueue = onPort->velTmTxQueueConfig( TxQueueId( 3 ) );
    const auto askForEverything = [&] {
        switch1.takeLog();
        onPort->handleInitialized();
        onPort->handleIntfShapeRate();
        onPort->handleIntfFlowControlType();
        onPort->handleTmPpgConfig( PpgId( 3 ) );
        onPort->handleTmTxQueueConfig( TxQueueId( 3 ) );
        onGroup->handleInitialized();
        onGroup->handlePpgClock();
        onGroup->handlePpgInternalCosBmp();
        onGroup->handlePpgPfcEnabled();
        onGroup->handlePpgMinLimitCells();
        onGroup->handlePpgDynamicThreshold();
        onQueue->handleInitialized();
        onPorts->handleTmIntfConfig( port );
        onStatuses->handleIntfStatus( ethernet1 );
        EXPECT_EQ( switch1.takeLog(), Lines{} );
    };
    const auto config = intf();
    onGroup->pollClock()->notifierIs( nullptr );
    onGroup->notifierIs( nullptr );
    onQueue->notifierIs( nullptr );
    onPort->notifierIs( nullptr );
    onPorts->notifierIs( nullptr );
    onStatuses->notifierIs( nullptr );
    askForEverything();
    onPort->notifierIs( config );
    switch1.stop();
    askForEverything();
    // Nor can anybody bring them back.
    onPort->zombieIs( false );
    onGroup->zombieIs( false );
    askForEverything();
    config->flowControlTypeIs( flowControlTypeNone );
    onGroup->notifierIs( SmallChip::newPpg( 3, 1 ) );
    EXPECT_EQ( switch1.takeLog(), Lines{} );
}

} // namespace
