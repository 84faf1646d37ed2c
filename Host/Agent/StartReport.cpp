#include "Host/Agent/StartReport.h"

#include "Host/Json/MessageText.h"
#include "KelQos/Slice/KelSliceQosSm.h"

#include <algorithm>

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

std::string lineOf( const Warning & warning ) {
    return warning.pointer + ": " + std::string( warning.kind->id ) + ": " + warning.text();
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

void reportWarnings( const AgentLog & log, const Warnings & before, const Warnings & now ) {
    for ( const Warning & warning : now.first ) {
        if ( std::ranges::find( before.first, warning ) == before.first.end() ) {
            log.warning( bounded( "warning: " + lineOf( warning ) ) );
        }
    }
    if ( now.count > now.first.size() && now.count != before.count ) {
        log.warning( "and " + std::to_string( now.count - now.first.size() ) +
                     " more warnings; kelqos check tells them all" );
    }
}

std::string warningsText( const Warnings & warnings ) {
    constexpr std::size_t few = 3;
    if ( warnings.count == 0 ) {
        return {};
    }
    std::string text = std::to_string( warnings.count ) +
                       ( warnings.count == 1 ? " warning" : " warnings" ) +
                       ( warnings.count > few ? ", the first:" : ":" );
    for ( std::size_t i = 0; i < std::min( few, warnings.first.size() ); ++i ) {
        text += "\n" + bounded( lineOf( warnings.first[i] ) );
    }
    return text + "\n";
}

void reportStart( const AgentLog & log, const SwitchRuntime & runtime, const DocumentCheck & check,
                  const AgentOptions & options ) {
    const auto example = [&]( const std::string & words ) {
        log.info( "    " + options.program + " " + words + options.socketOption );
    };
    log.info( "programmed from " + check.file + ": " + programmedText( runtime ) );
    const std::string reservation = overReservationText( check.use );
    if ( !reservation.empty() ) {
        log.error( reservation );
    }
    reportWarnings( log, {}, check.warnings );
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
