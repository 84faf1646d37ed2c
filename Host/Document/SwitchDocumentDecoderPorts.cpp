#include "Host/Document/SwitchDocumentDecoderParts.h"
#include "Host/Json/JsonDecode.h"
#include "Platform/Entities/IntfId.h"

#include <algorithm>

namespace KelHost::Decode {

namespace {

constexpr U64 pipeSize = 128; // port indices of a pipe
constexpr U64 highestPipe = 3;
constexpr U64 highestLocalPort = 71; // the next one is the pipe's mirror port

void portIndex( const JsonCursor & cursor, PortSettings & out ) {
    const auto * given = cursor.value().get_ptr<const U64 *>();
    if ( given == nullptr || *given / pipeSize > highestPipe ||
         *given % pipeSize > highestLocalPort ) {
        cursor.refuse( "must be pipe x 128 + local port, an integer: pipe 0 to 3, local port 0 "
                       "to 71" );
    }
    out.portIndex = static_cast<U16>( *given );
}

constexpr Rule<PortSettings> portRules[] = {
    { .name = "portIndex", .decode = portIndex, .required = true },
    { "enabled", word<&PortSettings::enabled, enabledWords> },
    { "qos", nested<&PortSettings::qos, qosObject> },
};

void checkName( const JsonCursor & cursor ) {
    const std::string_view name = cursor.name();
    if ( Kel::InternalIntfId::isInternalName( name ) && name != cpuPortName &&
         name != reservedCpuPortName ) {
        cursor.refuse( "is not an internal port of the chip; allowed are \"Internal67\" and "
                       "\"Internal68\"" );
    }
    const auto printable = []( char c ) { return c > ' ' && c <= '~'; };
    if ( name.empty() || name.size() > nameLimit || !std::ranges::all_of( name, printable ) ) {
        cursor.refuse( "is not an interface name; allowed are 1 to 64 printable ASCII characters "
                       "without a blank" );
    }
}

} // namespace

void portsObject( const JsonCursor & cursor, Ports & out ) {
    std::map<U16, std::string_view> owners;
    for ( const auto & [name, value] : readObject( cursor ) ) {
        const JsonCursor port = cursor.member( name, value );
        checkName( port );
        PortSettings & settings = out[name];
        object( port, settings, portRules );
        const auto [owner, isNew] = owners.emplace( settings.portIndex, name );
        if ( !isNew ) {
            cursor.place().refuse( port.pointer() + "/portIndex",
                                   "must be unique; " + std::to_string( settings.portIndex ) +
                                       " is the port index of \"" + std::string( owner->second ) +
                                       "\" already" );
        }
    }
}

} // namespace KelHost::Decode
