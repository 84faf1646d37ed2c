#include "KelQos/KelSliceQosSm.h"
#include "KelQos/KelSliceQosSmLog.h"
#include "KelQos/KelSliceQosSmReactors.h"
#include "Platform/Driver/TmDriver.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Exceptions.h"

#include <array>

namespace KelQos {

using Interface::EthPhyIntfStatus;
using Kel::IntfId;
using Kel::Ptr;
using KelPortTypes::PortIndex;

namespace {

// The queues of a port behind its 32 ingress queue selectors.
constexpr std::size_t selectors = 32;
using QueueMap = std::array<U8, selectors>;

const IntfId & cpuPort() {
    static const IntfId intfId( "Internal67" );
    return intfId;
}
const IntfId & reservedCpuPort() {
    static const IntfId intfId( "Internal68" );
    return intfId;
}

// The CPU port has 14 queues: two of its own for selectors 7 and 15, three for the blocks of seven
// in between, and one each for the last nine selectors.
constexpr U32 cpuPortQueues = 14;
constexpr QueueMap cpuPortQueueMap = {
    13, 13, 13, 13, 13, 13, 13, 0,          //
    11, 11, 11, 11, 11, 11, 11, 1,          //
    12, 12, 12, 12, 12, 12, 12, 2, 3, 4, 5, //
    6,  7,  8,  9,  10,
};

// The reserved CPU port has two, and uses the first.
constexpr U32 reservedCpuPortQueues = 2;
constexpr QueueMap reservedCpuPortQueueMap = {};

} // namespace

void KelSliceQosSm::handlePortInfo() {
    KEL_TRACE( sliceTrace, 9 ) << "handlePortInfo"
                               << ": ";
    Kel::ringTrace( "handlePortInfo" );
    if ( !initialized() || !systemStatus() ) {
        return;
    }
    for ( auto entry : systemStatus()->portInfo() ) {
        handlePortInfo( entry.key );
    }
}

void KelSliceQosSm::handlePortInfo( IntfId intfId ) {
    KEL_TRACE( sliceTrace, 9 ) << "handlePortInfo"
                               << ": " << intfId.name();
    Kel::ringTrace( "handlePortInfo", ", port: ", intfId.name() );
    if ( !initialized() || !systemStatus() ) {
        return;
    }
    if ( Kel::InternalIntfId::isInternalIntfId( intfId ) ) {
        handleInternalPortInfo( intfId );
    } else {
        handleFrontPanelPortInfo( intfId );
    }
}

void KelSliceQosSm::handleFrontPanelPortInfo( IntfId intfId ) const {
    if ( !systemStatus()->portInfoHas( intfId ) ) {
        if ( pfcSharedState() ) {
            pfcSharedState()->pfcEnabledDel( intfId );
        }
        return;
    }
    const PortIndex port = systemStatus()->portInfo( intfId ).portIndex();
    const auto config = tmConfig() ? tmConfig()->tmIntfConfig( port ) : nullptr;
    // A port without configuration is published when its configuration arrives.
    if ( config && pfcSharedState() ) {
        pfcSharedState()->pfcEnabledIs( intfId, config->flowControlType() );
    }
}

void KelSliceQosSm::handleInternalPortInfo( IntfId intfId ) {
    if ( !systemStatus()->portInfoHas( intfId ) ) {
        KEL_FAILED( "systemStatus()->portInfoHas( intfId )",
                    "We should never be notified about deletion of cpu ports" );
    }
    if ( intfId == cpuPort() ) {
        handleCpuPortInfo();
    } else if ( intfId == reservedCpuPort() ) {
        handleReservedCpuPortInfo();
    } else {
        KEL_FAILED( "false", "Unknown internal port" );
    }
}

// A queue map that the driver refuses leaves all traffic to the CPU on the queues of its own
// default map, which is no reason to end the agent.
void KelSliceQosSm::handleCpuPortInfo() {
    (void)bf_tm_port_q_mapping_set( deviceId(), portIndexOf( cpuPort() ).value(), cpuPortQueues,
                                    cpuPortQueueMap.data() );
}

void KelSliceQosSm::handleReservedCpuPortInfo() {
    (void)bf_tm_port_q_mapping_set( deviceId(), portIndexOf( reservedCpuPort() ).value(),
                                    reservedCpuPortQueues, reservedCpuPortQueueMap.data() );
}

PortIndex KelSliceQosSm::portIndexOf( IntfId intfId ) const {
    return systemStatus() ? systemStatus()->portInfo( intfId ).portIndex() : PortIndex();
}

void KelSliceQosSm::syncIntfStatus() {
    for ( auto entry : ethPhyIntfStatusDir()->intfStatus() ) {
        intfStatusIs( entry.value );
    }
    for ( auto entry : intfStatus_ ) {
        if ( !ethPhyIntfStatusDir()->intfStatusHas( entry.key ) ) {
            intfStatusDel( entry.key );
        }
    }
}

Ptr<KelSliceQosSm::VelIntfStatus>
KelSliceQosSm::intfStatusIs( Ptr<const EthPhyIntfStatus> status ) {
    if ( !status ) {
        throw Kel::NullArgumentException( "intfStatusIs: null EthPhyIntfStatus" );
    }
    const IntfId intfId = status->intfId();
    if ( const auto * present = intfStatus_.find( intfId ) ) {
        Ptr<VelIntfStatus> reactor = *present;
        reactor->notifierIs( std::move( status ) );
        return reactor;
    }
    // The reactor applies the port's shaper while it is not in the collection yet: as for an
    // interface without status.
    auto reactor = Kel::makePtr<VelIntfStatus>( std::move( status ), this );
    reactor->hasNotificationActiveIs( true );
    intfStatus_.insertOrAssign( intfId, reactor );
    return reactor;
}

void KelSliceQosSm::intfStatusDel( IntfId intfId ) {
    if ( const auto reactor = intfStatus_.take( intfId ) ) {
        ( *reactor )->zombieIs( true );
    }
}

void KelSliceQosSm::intfStatusDelAll() {
    for ( auto entry : intfStatus_ ) {
        intfStatusDel( entry.key );
    }
}

} // namespace KelQos
