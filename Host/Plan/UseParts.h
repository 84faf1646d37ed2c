#pragma once

#include "Host/Plan/BufferUse.h"

#include <string>
#include <vector>

namespace KelHost {

// A direction through the packet buffer as parts of one whole, which is its capacity, or what it
// reserves where that is more. A bar shows them in this order.
enum class PartKind : U8 { minimums, headroom, fixed, shared, overflow };

struct UsePart {
    PartKind kind;
    std::string name; // "minimums of 48 groups"
    U64 cells = 0;    // in all
    // Where in the whole it is: what overflows is the end of what is reserved.
    U64 begin = 0;
    U64 end = 0;
};

enum class Direction : U8 { ingress, egress };

// Those that have cells.
std::vector<UsePart> partsOf( Direction direction, const DirectionUse & use );

std::string cellsText( U64 cells ); // "5,568 cells"
std::string bytesText( U64 cells ); // "445,440 bytes"

// "14,912 of 266,240 cells reserved, 251,328 left to share".
std::string summaryOf( const DirectionUse & use );

} // namespace KelHost
