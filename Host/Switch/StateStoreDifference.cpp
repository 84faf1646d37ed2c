#include "Host/Switch/StateStoreDifference.h"

#include "Host/Document/MapDifference.h"

namespace KelHost {

namespace {

using Kel::IntfId;
using Kel::makePtr;
using Kel::Ptr;
using KelPortTypes::PortIndex;
using KelQos::TmIntfConfig;
using KelQos::TmPpgConfig;
using KelQos::TmTxQueueConfig;

// Nobody but the host writes configuration entities, so they hold what the previous document says.
// Setting all attributes of an entity in their order therefore writes only those that differ: a
// setter that is given the present value does nothing.

KelQos::ShapeRate toShapeRate( const Rate & rate ) {
    return { rate.packetsPerSecond ? 0U : 1U, rate.rate, rate.burst };
}

void write( const PpgSettings & settings, TmPpgConfig & ppg ) {
    ppg.internalCosBmpIs( settings.internalCosBmp );
    ppg.pfcEnabledIs( settings.pfcEnabled );
    ppg.minLimitCellsIs( settings.minLimitCells );
    ppg.dynamicThresholdIs(
        static_cast<KelQos::BurstAbsorptionCoeff>( settings.dynamicThreshold ) );
}

void write( const TxQueueSettings & settings, TmTxQueueConfig & queue ) {
    queue.pfcCosIs( settings.pfcCos );
    queue.minLimitCellsIs( settings.minLimitCells );
    queue.dynamicThresholdIs(
        static_cast<KelQos::BurstAbsorptionCoeff>( settings.dynamicThreshold ) );
    queue.priorityIs( static_cast<U8>( settings.priority ) );
    queue.weightIs( settings.weight );
    const Rate & guaranteed = settings.guaranteedRate;
    queue.rateParamsIs( { toShapeRate( settings.shapeRate ), guaranteed.packetsPerSecond,
                          guaranteed.rate, guaranteed.burst } );
}

void write( const QosSettings & before, const QosSettings & after, TmIntfConfig & intf ) {
    intf.flowControlTypeIs( static_cast<KelQos::FlowControlType>( after.flowControlType ) );
    intf.shapeRateIs( toShapeRate( after.shapeRate ) );

    forRemoved( before.ppgs, after.ppgs,
                [&]( U8 id, const auto & ) { intf.tmPpgConfigDel( KelQos::PpgId( id ) ); } );
    forAddedOrChanged( before.ppgs, after.ppgs,
                       [&]( U8 id, const auto * old, const PpgSettings & settings ) {
                           const KelQos::PpgId ppgId( id );
                           const Ptr<TmPpgConfig> ppg =
                               old ? intf.tmPpgConfig( ppgId ) : makePtr<TmPpgConfig>( ppgId );
                           write( settings, *ppg );
                           intf.tmPpgConfigIs( ppg );
                       } );

    forRemoved( before.txQueues, after.txQueues, [&]( U8 id, const auto & ) {
        intf.tmTxQueueConfigDel( KelQos::TxQueueId( id ) );
    } );
    forAddedOrChanged( before.txQueues, after.txQueues,
                       [&]( U8 id, const auto * old, const TxQueueSettings & settings ) {
                           const KelQos::TxQueueId queueId( id );
                           const Ptr<TmTxQueueConfig> queue =
                               old ? intf.tmTxQueueConfig( queueId )
                                   : makePtr<TmTxQueueConfig>( queueId );
                           write( settings, *queue );
                           intf.tmTxQueueConfigIs( queue );
                       } );
}

void applyBufferParams( const std::optional<BufferParams> & after, StateStore & store ) {
    if ( after ) {
        KelQos::TmBufferParamsConfig & params = *store.tmBufferParams;
        params.totalCellsAvailableForIngressIs( after->totalCellsAvailableForIngress );
        params.leakThresholdIs( after->leakThreshold );
        params.leakPollIntervalIs( after->leakPollInterval );
    }
}

using Ports = decltype( SwitchDocument::ports );

// A port that moves gives up its old number as it takes the new one, so that no number ever leads
// to an interface that has a different one.
void addPorts( const Ports & before, const Ports & after, StateStore & store ) {
    KelSystem::SystemStatus & ports = *store.systemStatus;
    for ( const auto & [name, port] : after ) {
        const auto found = before.find( name );
        const bool moved = found != before.end() && found->second.portIndex != port.portIndex;
        if ( found != before.end() && !moved ) {
            continue;
        }
        const IntfId intfId( name );
        const PortIndex portIndex( port.portIndex );
        ports.portToIntfIdIs( portIndex, intfId );
        if ( moved ) {
            ports.portToIntfIdDel( PortIndex( found->second.portIndex ) );
        }
        ports.portInfoIs( intfId, { store.devId.value(), portIndex } );
    }
}

void removePorts( const Ports & before, const Ports & after, StateStore & store ) {
    forRemoved( before, after, [&]( const std::string & name, const PortSettings & port ) {
        store.systemStatus->portInfoDel( IntfId( name ) );
        store.systemStatus->portToIntfIdDel( PortIndex( port.portIndex ) );
    } );
}

using IntfStatuses = std::map<std::string_view, IntfEnabled>; // of ports that have one

IntfStatuses intfStatusesOf( const Ports & ports ) {
    IntfStatuses statuses;
    for ( const auto & [name, port] : ports ) {
        if ( port.enabled ) {
            statuses.emplace_hint( statuses.end(), name, *port.enabled );
        }
    }
    return statuses;
}

void applyIntfStatuses( const IntfStatuses & before, const IntfStatuses & after,
                        Interface::EthPhyIntfStatusDir & dir ) {
    const auto toState = []( IntfEnabled enabled ) {
        return static_cast<Interface::EnabledState>( enabled );
    };
    forAddedOrChanged( before, after, [&]( auto name, const auto * old, IntfEnabled enabled ) {
        if ( !old ) {
            const auto status = makePtr<Interface::EthPhyIntfStatus>( IntfId( name ) );
            status->enabledIs( toState( enabled ) );
            dir.intfStatusIs( status );
        }
    } );
    forAddedOrChanged( before, after, [&]( auto name, const auto * old, IntfEnabled enabled ) {
        if ( old ) {
            dir.intfStatus( IntfId( name ) )->enabledIs( toState( enabled ) );
        }
    } );
}

// By port number. A number with QoS stays with its interface as long as the QoS is there.
using QosPorts = std::map<U16, const QosSettings *>;

QosPorts qosPortsOf( const Ports & ports ) {
    QosPorts qosPorts;
    for ( const auto & [name, port] : ports ) {
        if ( port.qos ) {
            qosPorts.emplace( port.portIndex, &*port.qos );
        }
    }
    return qosPorts;
}

void applyQos( const QosPorts & before, const QosPorts & after, KelQos::TmConfig & config ) {
    forRemoved( before, after, [&]( U16 portIndex, const auto * ) {
        config.tmIntfConfigDel( PortIndex( portIndex ) );
    } );
    for ( const auto & [number, qos] : after ) {
        const PortIndex portIndex( number );
        const auto found = before.find( number );
        if ( found == before.end() ) {
            const auto intf = makePtr<TmIntfConfig>( portIndex );
            write( QosSettings{}, *qos, *intf );
            config.tmIntfConfigIs( intf );
        } else if ( *found->second != *qos ) {
            write( *found->second, *qos, *config.tmIntfConfig( portIndex ) );
        }
    }
}

using WredEntries = std::map<U16, WredEntry>;

void write( const WredEntries & before, const WredEntries & after,
            KelQos::WredBlockPipeConfig & pipe ) {
    forRemoved( before, after,
                [&]( U16 index, const auto & ) { pipe.resourceConfigDel( index ); } );
    forAddedOrChanged( before, after, [&]( U16 index, const auto *, const WredEntry & entry ) {
        pipe.resourceConfigIs( index, { entry.minThdCells, entry.maxThdCells,
                                        entry.maxDropProbability, entry.timeConstantNs } );
    } );
}

void applyWred( const SwitchDocument & before, const SwitchDocument & after, StateStore & store ) {
    KelQos::WredBlockConfig & config = *store.wredBlockConfig;
    forRemoved( before.wred, after.wred,
                [&]( U16 pipe, const auto & ) { config.pipeConfigDel( store.devTgt( pipe ) ); } );
    forAddedOrChanged( before.wred, after.wred,
                       [&]( U16 pipe, const WredEntries * old, const WredEntries & entries ) {
                           const KelDriver::KelDevTgt devTgt = store.devTgt( pipe );
                           const Ptr<KelQos::WredBlockPipeConfig> pipeConfig =
                               old ? config.pipeConfig( devTgt )
                                   : makePtr<KelQos::WredBlockPipeConfig>();
                           write( old ? *old : WredEntries{}, entries, *pipeConfig );
                           config.pipeConfigIs( devTgt, pipeConfig );
                       } );
}

} // namespace

void applyDifference( const SwitchDocument & before, const SwitchDocument & after,
                      StateStore & store ) {
    const IntfStatuses statusesBefore = intfStatusesOf( before.ports );
    const IntfStatuses statuses = intfStatusesOf( after.ports );

    applyBufferParams( after.bufferParams, store );
    addPorts( before.ports, after.ports, store );
    applyIntfStatuses( statusesBefore, statuses, *store.ethPhyIntfStatusDir );
    for ( U32 cos = 0; cos < KelQos::Cos::count; ++cos ) {
        store.tmConfig->cosToTcIs( KelQos::Cos( cos ), after.cosToTc[cos] );
    }
    applyQos( qosPortsOf( before.ports ), qosPortsOf( after.ports ), *store.tmConfig );
    forRemoved( statusesBefore, statuses, [&]( std::string_view name, IntfEnabled ) {
        store.ethPhyIntfStatusDir->intfStatusDel( IntfId( name ) );
    } );
    removePorts( before.ports, after.ports, store );
    applyWred( before, after, store );
    applyCounterDifference( before.counters, after.counters, store, *store.tmCountersData );
    applyCounterDifference( before.countersLastClear, after.countersLastClear, store,
                            *store.tmCountersDataLastClear );
}

} // namespace KelHost
