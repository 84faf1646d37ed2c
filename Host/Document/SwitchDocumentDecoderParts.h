#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Json/JsonCursor.h"

// The parts of a switch document, each decoded from its own JSON object. All of these throw
// DocumentError at the first value that is not allowed, and then leave `out` half filled.
namespace KelHost::Decode {

using Ports = decltype( SwitchDocument::ports );
using Wred = decltype( SwitchDocument::wred );

void portsObject( const JsonCursor & cursor, Ports & out );
void qosObject( const JsonCursor & cursor, QosSettings & out );
void wredObject( const JsonCursor & cursor, Wred & out );
void countersObject( const JsonCursor & cursor, CounterStore & out );

} // namespace KelHost::Decode
