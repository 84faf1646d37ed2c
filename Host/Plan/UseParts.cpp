#include "Host/Plan/UseParts.h"

#include "Host/Plan/PageStyle.h"

#include <algorithm>

namespace KelHost {

std::vector<UsePart> partsOf( Direction direction, const DirectionUse & use ) {
    const bool ingress = direction == Direction::ingress;
    const std::string objects = ingress ? " group" : " queue";
    std::vector<UsePart> parts;
    U64 end = 0;
    const auto add = [&]( PartKind kind, std::string name, U64 cells ) {
        if ( cells != 0 ) {
            const U64 begin = std::min( end, use.capacityCells );
            end += cells;
            parts.push_back(
                { kind, std::move( name ), cells, begin, std::min( end, use.capacityCells ) } );
        }
    };
    add( PartKind::minimums,
         "minimums of " + grouped( use.objects ) + objects + ( use.objects == 1 ? "" : "s" ),
         use.minimumCells );
    add( PartKind::headroom, "headroom behind a pause", use.headroomCells );
    add( PartKind::fixed, ingress ? "mirror ports" : "multicast", use.fixedCells );
    add( PartKind::shared, "left to share", use.sharedCells() );
    if ( !use.fits() ) {
        parts.push_back( { PartKind::overflow, "too many", use.missingCells(), use.capacityCells,
                           use.reservedCells } );
    }
    return parts;
}

std::string cellsText( U64 cells ) {
    return grouped( cells ) + ( cells == 1 ? " cell" : " cells" );
}

std::string bytesText( U64 cells ) { return grouped( cells * cellBytes ) + " bytes"; }

std::string summaryOf( const DirectionUse & use ) {
    const std::string reserved =
        grouped( use.reservedCells ) + " of " + cellsText( use.capacityCells ) + " reserved, ";
    return use.fits() ? reserved + grouped( use.sharedCells() ) + " left to share"
                      : reserved + grouped( use.missingCells() ) + " too many";
}

} // namespace KelHost
