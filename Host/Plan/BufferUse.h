#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Plan/TextOrder.h"

#include <vector>

namespace KelHost {

// Bytes of a buffer cell.
inline constexpr U64 cellBytes = 80;

// An object of a switch document that reserves cells of the packet buffer.
struct Reserver {
    std::string pointer; // JSON pointer
    U64 cells = 0;       // never 0
};

// One direction through the packet buffer, in cells; all sums are true ones.
struct DirectionUse {
    U64 capacityCells = 0;
    U32 objects = 0;       // priority groups with a class; transmit queues
    U64 minimumCells = 0;  // that they are guaranteed
    U64 headroomCells = 0; // for what still arrives after pause has been sent; ingress only
    U64 fixedCells = 0;    // whatever the configuration says: mirror ports; multicast
    U64 reservedCells = 0; // all of these
    std::vector<Reserver> reservers; // most cells first

    bool fits() const { return reservedCells <= capacityCells; }
    U64 sharedCells() const { return fits() ? capacityCells - reservedCells : 0; }
    U64 missingCells() const { return fits() ? 0 : reservedCells - capacityCells; }
};

// What a configuration makes of the packet buffer, by the rules of the switch's own account.
struct BufferUse {
    DirectionUse ingress;
    DirectionUse egress;

    bool fits() const { return ingress.fits() && egress.fits(); }
};

// `order` decides which of several that reserve as much comes first.
BufferUse bufferUseOf( const SwitchDocument & document, const TextOrder & order = {} );

// Which direction reserves more of the packet buffer than it has, and how much, in one line. Empty
// when everything fits.
std::string overReservationText( const BufferUse & use );

} // namespace KelHost
