#include "Host/Agent/StartReport.h"

#include "KelQos/Slice/KelSliceQosSm.h"

namespace KelHost {

namespace {

std::size_t programmedGroups( const StateStore & store ) {
    std::size_t count = 0;
    for ( const auto port : store.tmStatus->tmIntfStatus() ) {
        for ( const auto group : port.value->tmPpgStatus() ) {
            count += group.value ? 1 : 0;
        }
    }
    return count;
}

// An interface that has counters to show.
std::string firstInterface( const SwitchDocument & document ) {
    for ( const auto & [name, port] : document.ports ) {
        if ( port.qos.has_value() ) {
            return name;
        }
    }
    return {};
}

} // namespace

std::string programmedText( const SwitchRuntime & runtime ) {
    const KelQos::KelSliceQosSm & sm = runtime.sliceQosSm();
    return std::to_string( runtime.document().ports.size() ) + " ports, " +
           std::to_string( programmedGroups( runtime.store() ) ) + " priority groups, " +
           std::to_string( sm.numTxQsAllocated() ) + " queues; shared pools of " +
           std::to_string( sm.ingressSharedPoolCellCount() ) + " (ingress) and " +
           std::to_string( sm.egressSharedPoolCellCount() ) + " (egress) cells";
}

std::string reservationText( const SwitchRuntime & runtime ) {
    const KelQos::KelSliceQosSm & sm = runtime.sliceQosSm();
    std::string text;
    const auto compare = [&text]( const char * direction, U32 reserved, U32 available ) {
        if ( reserved > available ) {
            text += ( text.empty() ? "" : "; " ) + std::string( direction ) + " reserves " +
                    std::to_string( reserved ) + " of " + std::to_string( available ) + " cells";
        }
    };
    compare( "ingress", sm.totalIngressReservedCellCount(), sm.totalCellsAvailableForIngress() );
    compare( "egress", sm.totalEgressReservedCellCount(), sm.totalCellCount() );
    return text.empty() ? text : "more is reserved than there is: " + text;
}

void reportStart( const AgentLog & log, const SwitchRuntime & runtime, const std::string & file,
                  const AgentOptions & options ) {
    const auto example = [&]( const std::string & words ) {
        log.info( "    " + options.program + " " + words + options.socketOption );
    };
    log.info( "programmed from " + file + ": " + programmedText( runtime ) );
    const std::string reservation = reservationText( runtime );
    if ( !reservation.empty() ) {
        log.error( reservation );
    }
    log.info( "listening on " + options.socketPath + "; to talk to it, in another terminal:" );
    example( "show buf" );
    const std::string interface = firstInterface( runtime.document() );
    if ( !interface.empty() ) {
        example( "show tm intf " + interface + " nonzero" );
    }
    example( "clear counters" );
    example( "reload" );
}

} // namespace KelHost
