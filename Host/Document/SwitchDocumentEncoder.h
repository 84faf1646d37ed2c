#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Json/Json.h"

namespace KelHost {

// Whether a member that has its default is written out.
enum class Defaults : bool { leftOut, written };

// The document as JSON: decodeSwitchDocument() makes the same document of it. With the defaults
// written, two documents mean the same exactly when their JSON is equal.
Json encodedSwitchDocument( const SwitchDocument & document, Defaults defaults );

// The shortest decimal number that is read as this value; an integer where it is one.
Json shortest( F32 value );

} // namespace KelHost
