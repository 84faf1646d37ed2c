#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Slice/KelSliceQosSmPpg.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
#include "KelQos/Slice/KelSliceQosSmTxQueue.h"
#include "tests/support/SmallChip.h"
#include "tests/support/Watcher.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <set>
#include <sstream>

namespace {

using namespace KelQos;
using Kel::IntfId;
using Kel::makePtr;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using TestSupport::SmallChip;

// A switch whose configuration changes at random, and whose status has watchers that change it from
// inside their notifications.
class Changes {
  public:
    explicit Changes( U32 seed ) : random_( seed ) {
        world_.mapAllClasses();
        setenv( "SIMULATION_VMID", "1", 1 );
        for ( int i = 0; i < 10; ++i ) {
            change();
        }
        watch( world_.pfcSharedState );
        watch( world_.tmStatus );
        watchesIntfs_ = makePtr<Watcher<TmStatus>>(
            world_.tmStatus, [this]( Kel::AttributeId, const void * key ) {
                const auto port = *static_cast<const PortIndex *>( key );
                watch( world_.tmStatus->tmIntfStatus( port ) );
            } );
        nested_ = 20; // start-up is interfered with too
        world_.start();
        watch( world_.sm );
        watch( world_.sm->leakHandlerSm() );
    }
    ~Changes() { unsetenv( "SIMULATION_VMID" ); }

    void step() {
        nested_ = pick( 4 );
        change();
        world_.advance( pick( 3 ) * 0.1 );
    }

    SmallChip & world() {
        nested_ = 0;
        return world_;
    }

  private:
    U32 pick( U32 n ) { return static_cast<U32>( random_() % n ); }

    template <class T>
    void watch( const Ptr<T> & entity ) {
        watchers_.push_back( makePtr<Watcher<T>>( entity, [this]( Kel::AttributeId, const void * ) {
            if ( nested_ > 0 && pick( 2 ) == 0 ) {
                --nested_;
                change();
            }
        } ) );
    }

    static std::string nameOf( PortIndex port ) {
        return "Ethernet" + std::to_string( port.value() );
    }
    Ptr<TmPpgConfig> newPpg() {
        static constexpr U8 ids[]{ 0, 3, 4, 8 };
        return SmallChip::newPpg( ids[pick( 4 )], static_cast<U8>( pick( 256 ) ), pick( 2 ) == 0,
                                  pick( 500 ) );
    }
    Ptr<TmTxQueueConfig> newQueue() {
        return SmallChip::newQueue( static_cast<U8>( pick( 3 ) ), pick( 500 ) );
    }
    Ptr<TmIntfConfig> newIntf( PortIndex port ) {
        auto intf = makePtr<TmIntfConfig>( port );
        intf->flowControlTypeIs( static_cast<FlowControlType>( pick( 3 ) ) );
        for ( U32 i = pick( 3 ); i > 0; --i ) {
            intf->tmPpgConfigIs( newPpg() );
            intf->tmTxQueueConfigIs( newQueue() );
        }
        return intf;
    }

    void change() {
        const PortIndex port( 4 + pick( 3 ) );
        const IntfId name( nameOf( port ) );
        const auto config = world_.tmConfig;
        switch ( pick( 12 ) ) {
        case 0:
            return config->tmIntfConfigDel( port );
        case 1:
        case 2:
            return config->tmIntfConfigIs( newIntf( port ) );
        case 3:
            world_.systemStatus->portInfoDel( name );
            if ( !world_.systemStatus->portInfoHas( name ) ) { // or it is back already
                world_.systemStatus->portToIntfIdDel( port );
            }
            return;
        case 4:
            return world_.addPort( name.name(), port.value() );
        case 5:
            return config->cosToTcIs( Cos( pick( 8 ) ), static_cast<U8>( pick( 8 ) ) );
        case 6:
            return world_.setStatus( name.name(), Interface::enabledStateEnabled );
        case 7:
            return pick( 2 )
                       ? world_.tmBufferParams->totalCellsAvailableForIngressIs( pick( 9000 ) )
                       : world_.tmBufferParams->leakThresholdIs( pick( 3 ) );
        case 8:
            return pick( 4 ) || !world_.sm ? void() : replaceWhatIsWatched( port );
        default:
            if ( const auto intf = config->tmIntfConfig( port ) ) {
                changeIntf( *intf );
            }
        }
    }

    // Points the top-level reactors to other entities.
    void replaceWhatIsWatched( PortIndex port ) {
        const auto sm = world_.sm;
        world_.tmConfig = makePtr<TmConfig>();
        world_.tmConfig->tmIntfConfigIs( newIntf( port ) );
        world_.mapAllClasses();
        sm->velTmConfig()->notifierIs( world_.tmConfig );
        world_.intfStatusDir = makePtr<Interface::EthPhyIntfStatusDir>();
        world_.setStatus( nameOf( port ), Interface::enabledStateEnabled );
        sm->velEthPhyIntfStatusDir()->notifierIs( world_.intfStatusDir );
    }

    void changeIntf( TmIntfConfig & intf ) {
        const auto ppg = newPpg();
        const auto queue = newQueue();
        const auto presentPpg = intf.tmPpgConfig( ppg->ppgId() );
        const auto presentQueue = intf.tmTxQueueConfig( queue->txQueueId() );
        switch ( pick( 10 ) ) {
        case 0:
            return intf.flowControlTypeIs( static_cast<FlowControlType>( pick( 3 ) ) );
        case 1:
            return intf.shapeRateIs( ShapeRate( pick( 2 ), 1 + pick( 9 ), pick( 9 ) ) );
        case 2:
            return intf.tmPpgConfigDel( ppg->ppgId() );
        case 3:
            return intf.tmTxQueueConfigDel( queue->txQueueId() );
        case 4:
        case 5:
            return intf.tmPpgConfigIs( ppg );
        case 6:
            return intf.tmTxQueueConfigIs( queue );
        default:
            if ( presentPpg ) {
                presentPpg->pfcEnabledIs( ppg->pfcEnabled() );
                presentPpg->internalCosBmpIs( ppg->internalCosBmp() );
                presentPpg->minLimitCellsIs( ppg->minLimitCells() );
            }
            if ( presentQueue ) {
                presentQueue->minLimitCellsIs( queue->minLimitCells() );
            }
        }
    }

    std::mt19937 random_;
    U32 nested_ = 0; // changes that watchers may still make
    SmallChip world_;
    std::vector<Ptr<Kel::Notifiee>> watchers_;
    Ptr<Kel::Notifiee> watchesIntfs_;
};

template <class Map>
std::set<U32> keysOf( const Map & map ) {
    std::set<U32> keys;
    for ( const auto & entry : map ) {
        keys.insert( entry.key.value() );
    }
    return keys;
}

// Everything that is to be the same after a fresh start with the same configuration, as text. What
// is not configured is left out: by rule the chip keeps some of it.
std::string outcomeOf( SmallChip & world ) {
    KelSliceQosSm & sm = *world.sm;
    const auto & chip = world.chip.state();
    world.advance( 1.0 );
    sm.reconfigureSharedPools();
    std::ostringstream out;
    out << sm.numPpgsAllocated() << " groups of " << sm.ppgMinCellCount() << ", headroom "
        << sm.globalHeadroomCellCount() << ", reserved " << sm.totalIngressReservedCellCount()
        << ", shared " << sm.ingressSharedPoolCellCount() << " " << chip.pools[0].sizeCells << "; "
        << sm.numTxQsAllocated() << " queues of " << sm.txQMinCellCount() << ", shared "
        << sm.egressSharedPoolCellCount() << " " << chip.pools[4].sizeCells << "; allocated "
        << chip.ppgsAllocated( 0 ) << "\n";
    EXPECT_EQ( keysOf( sm.velTmIntfConfig() ), keysOf( world.tmConfig->tmIntfConfig() ) );
    EXPECT_EQ( sm.intfStatus().size(), world.intfStatusDir->intfStatus().size() );
    for ( const U32 number : keysOf( world.tmConfig->tmIntfConfig() ) ) {
        const PortIndex index( number );
        const auto config = world.tmConfig->tmIntfConfig( index );
        const auto intf = sm.velTmIntfConfig( index );
        const auto & port = chip.port( number );
        EXPECT_EQ( intf->notifier(), config.get() );
        EXPECT_EQ( keysOf( intf->velTmPpgConfig() ), keysOf( config->tmPpgConfig() ) );
        EXPECT_EQ( keysOf( intf->velTmTxQueueConfig() ), keysOf( config->tmTxQueueConfig() ) );
        out << "port " << number << ": mode " << port.flowControlMode << port.flowControlRx
            << ", shaper " << port.shaper.enabled << port.shaper.pps << " " << port.shaper.rate;
        if ( config->flowControlType() == flowControlTypePfc ) {
            for ( const U8 tc : port.pfcCosToIcos ) {
                out << " " << int{ tc };
            }
        }
        const IntfId name = world.systemStatus->portToIntfId( index );
        if ( world.systemStatus->portInfoHas( name ) ) {
            out << ", published " << world.pfcSharedState->pfcEnabledHas( name )
                << world.pfcSharedState->pfcEnabled( name );
        }
        out << "\n";
        const auto status = world.tmStatus->tmIntfStatus( index );
        EXPECT_EQ( keysOf( status->tmPpgStatus() ), keysOf( config->tmPpgConfig() ) );
        for ( const U32 id : keysOf( config->tmPpgConfig() ) ) {
            const PpgId ppgId( static_cast<U8>( id ) );
            const auto ppg = intf->velTmPpgConfig( ppgId );
            EXPECT_EQ( ppg->notifier(), config->tmPpgConfig( ppgId ).get() );
            const auto * group = chip.ppg( ppg->ppgHandle() );
            if ( !group ) {
                ADD_FAILURE() << "group " << id << " of port " << number << " waits";
                continue;
            }
            EXPECT_TRUE( status->tmPpgStatus( ppgId ) );
            out << "    group " << id << " of port " << group->portId << ": "
                << int{ group->icosBitmap } << " " << group->minLimitCells << " " << group->lossless
                << group->skidLimitCells << " " << group->poolUsage[0].factor << "\n";
        }
        for ( const U32 id : keysOf( config->tmTxQueueConfig() ) ) {
            const TxQueueId queueId( static_cast<U8>( id ) );
            EXPECT_EQ( intf->velTmTxQueueConfig( queueId )->notifier(),
                       config->tmTxQueueConfig( queueId ).get() );
            out << "    queue " << id << ": " << port.queues[id].minLimitCells << " "
                << port.queues[id].weight << port.queues[id].colorDrop << "\n";
        }
    }
    return out.str();
}

// Whatever watchers do while the state machine publishes: when the outermost change is over,
// reactors, chip, publication and account are those of a fresh start with the same configuration.
TEST( RandomWatchers, leaveWhatAFreshStartWouldLeave ) {
    for ( U32 seed = 1; seed <= 1000 && !testing::Test::HasFailure(); ++seed ) {
        SCOPED_TRACE( "seed " + std::to_string( seed ) );
        auto changes = std::make_optional<Changes>( seed );
        for ( int i = 0; i < 25; ++i ) {
            changes->step();
        }
        SmallChip & world = changes->world();
        const std::string outcome = outcomeOf( world );
        const auto config = world.tmConfig;
        const auto params = world.tmBufferParams;
        const auto ports = world.systemStatus;
        const auto statuses = world.intfStatusDir;
        changes.reset();

        SmallChip fresh;
        fresh.tmConfig = config;
        fresh.tmBufferParams = params;
        fresh.systemStatus = ports;
        fresh.intfStatusDir = statuses;
        setenv( "SIMULATION_VMID", "1", 1 );
        fresh.start();
        EXPECT_EQ( outcome, outcomeOf( fresh ) );
        unsetenv( "SIMULATION_VMID" );
    }
}

} // namespace
