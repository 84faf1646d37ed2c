#include "KelQos/Slice/KelSliceQosSm.h"
#include "KelQos/Slice/KelSliceQosSmLog.h"
#include "KelQos/Slice/KelSliceQosSmReactors.h"
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

// The queue that each of a port's 32 ingress queue selectors leads to.
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

// The CPU port has 14 queues: one each for selectors 7 and 15, one for each of the blocks 0 to 6, 8
// to 14 and 16 to 22, and one each for the last nine selectors.
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
    KEL_TRACE( sliceTrace, 9 ) << "handlePortInfo: ";
    Kel::ringTrace( "handlePortInfo" );
    const Ptr<const KelSystem::SystemStatus> ports( systemStatus() );
    if ( !initialized() || !ports ) {
        return;
    }
    const Ptr<KelSliceQosSm> alive( this );
    for ( auto entry : ports->portInfo() ) {
        handlePortInfo( entry.key );
    }
}

void KelSliceQosSm::handlePortInfo( IntfId intfId ) {
    KEL_TRACE( sliceTrace, 9 ) << "handlePortInfo: " << intfId.name();
    Kel::ringTrace( "handlePortInfo, port: ", intfId.name() );
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

// If the driver refuses a queue map, traffic to the CPU stays on the queues of the driver's default
// map, which is no reason to end the agent.
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
    const Ptr<const Interface::EthPhyIntfStatusDir> dir( ethPhyIntfStatusDir() );
    if ( !dir ) {
        return;
    }
    const auto stillOf = [&] { return ethPhyIntfStatusDir() == dir.get(); };
    IntfStatuses::follow( dir->intfStatus(), stillOf,
                          [this]( IntfId, auto status ) { intfStatusIs( std::move( status ) ); } );
    intfStatus_.delOthers( dir->intfStatus(), stillOf,
                           [this]( IntfId intfId ) { intfStatusDel( intfId ); } );
}

Ptr<KelSliceQosSm::VelIntfStatus> KelSliceQosSm::intfStatus( IntfId intfId ) const {
    return intfStatus_.get( intfId );
}
bool KelSliceQosSm::intfStatusHas( IntfId intfId ) const { return intfStatus_.contains( intfId ); }

Ptr<KelSliceQosSm::VelIntfStatus>
KelSliceQosSm::newIntfStatus( Ptr<const EthPhyIntfStatus> status ) {
    return Kel::makePtr<VelIntfStatus>( std::move( status ), this );
}

Ptr<KelSliceQosSm::VelIntfStatus>
KelSliceQosSm::intfStatusIs( Ptr<const EthPhyIntfStatus> status ) {
    if ( !status ) {
        throw Kel::NullArgumentException( "intfStatusIs: null EthPhyIntfStatus" );
    }
    const Ptr<KelSliceQosSm> alive( this );
    const IntfId intfId = status->intfId();
    bool isNew = false;
    // A new reactor applies the port's shaper before it is in the collection, so as if the
    // interface had no status.
    auto reactor =
        intfStatus_.is( intfId, std::move( status ), [&]( Ptr<const EthPhyIntfStatus> watched ) {
            isNew = true;
            return newIntfStatus( std::move( watched ) );
        } );
    if ( isNew ) {
        attributeChanged( intfStatusAttr, &intfId );
    }
    return reactor;
}

void KelSliceQosSm::intfStatusDel( IntfId intfId ) {
    if ( intfStatus_.del( intfId ) ) {
        attributeChanged( intfStatusAttr, &intfId );
    }
}

void KelSliceQosSm::intfStatusDelAll() {
    const Ptr<KelSliceQosSm> alive( this );
    for ( auto entry : intfStatus_ ) {
        intfStatusDel( entry.key );
    }
}

} // namespace KelQos
