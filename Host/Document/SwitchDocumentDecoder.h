#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/Json.h"

namespace KelHost {

// Checks a whole switch document and decodes it. `place` tells where `root` comes from.
//
// Throws DocumentError at the first unknown member, wrong type, value out of range, missing
// member or broken cross-reference.
SwitchDocument decodeSwitchDocument( const Json & root, const DocumentPlace & place );

} // namespace KelHost
