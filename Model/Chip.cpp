#include "Model/Chip.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>
#include <vector>

namespace KelModel {

namespace {

// The current one first.
std::vector<Chip *> & chips() {
    static std::vector<Chip *> chips;
    return chips;
}

} // namespace

Chip::Chip( U32 deviceId, U32 totalCells ) : deviceId_( deviceId ), totalCells_( totalCells ) {}

Chip::~Chip() { std::erase( chips(), this ); }

void Chip::currentIs( Chip * chip ) {
    chips().clear();
    if ( chip ) {
        besideIs( *chip );
    }
}

void Chip::besideIs( Chip & chip ) { chips().push_back( &chip ); }

Chip & Chip::of( U32 deviceId ) {
    KEL_ASSERT( !chips().empty() );
    const auto found = std::ranges::find( chips(), deviceId, &Chip::deviceId );
    return found == chips().end() ? *chips().front() : **found;
}

} // namespace KelModel
