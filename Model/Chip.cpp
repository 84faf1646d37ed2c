#include "Model/Chip.h"

#include "Platform/Framework/Assert.h"

namespace KelModel {

namespace {

Chip * currentChip = nullptr;

} // namespace

Chip::Chip( U32 deviceId, U32 totalCells ) : deviceId_( deviceId ), totalCells_( totalCells ) {}

Chip::~Chip() {
    if ( currentChip == this ) {
        currentChip = nullptr;
    }
}

void Chip::currentIs( Chip * chip ) { currentChip = chip; }

Chip & Chip::current() {
    KEL_ASSERT( currentChip != nullptr );
    return *currentChip;
}

} // namespace KelModel
