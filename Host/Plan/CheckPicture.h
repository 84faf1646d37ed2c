#pragma once

#include "Host/Plan/DocumentCheck.h"

#include <string>

namespace KelHost {

// Both directions through the packet buffer as a picture: an SVG document that stands alone, with
// its numbers as text, for light and dark surroundings.
std::string pictureOf( const DocumentCheck & check );

} // namespace KelHost
