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

void reportStart( const AgentLog & log, const SwitchRuntime & runtime, const std::string & config,
                  const std::string & socketPath, const std::string & program,
                  const std::string & socketOption ) {
    const auto example = [&]( const std::string & words ) {
        log.info( "    " + program + " " + words + socketOption );
    };
    log.info( "programmed from " + config + ": " + programmedText( runtime ) );
    log.info( "listening on " + socketPath + "; to talk to it, in another terminal:" );
    example( "show buf" );
    const std::string interface = firstInterface( runtime.document() );
    if ( !interface.empty() ) {
        example( "show tm intf " + interface + " nonzero" );
    }
    example( "clear counters" );
    example( "reload" );
}

} // namespace KelHost
