#include "Model/ChipState.h"

#include "Platform/Framework/Assert.h"

#include <bit>

namespace KelModel {

namespace {

constexpr U32 bitsPerWord = 64;
constexpr U32 handlePipeShift = 8;
constexpr U32 localPortMask = ( 1U << pipePortShift ) - 1;
constexpr U32 handleIndexMask = ( 1U << handlePipeShift ) - 1;

constexpr U64 bitOf( U32 index ) { return U64{ 1 } << ( index % bitsPerWord ); }

constexpr S32 handleOf( U32 pipe, U32 index ) {
    return static_cast<S32>( ( pipe << handlePipeShift ) + index );
}

} // namespace

ChipState::ChipState()
    : ports_( std::size_t{ pipeCount } * portsPerPipe ),
      ppgs_( std::size_t{ pipeCount } * ppgsWithDefaults ) {
    for ( U32 pipe = 0; pipe < pipeCount; ++pipe ) {
        for ( U32 local = 0; local < portsPerPipe; ++local ) {
            const U32 portId = ( pipe << pipePortShift ) + local;
            ppgs_[ppgIndex( defaultPpg( portId ) )].portId = portId;
        }
    }
}

bool ChipState::hasPort( U32 portId ) {
    return ( portId >> pipePortShift ) < pipeCount && ( portId & localPortMask ) < portsPerPipe;
}

std::size_t ChipState::portIndex( U32 portId ) {
    KEL_ASSERT( hasPort( portId ) );
    return std::size_t{ portId >> pipePortShift } * portsPerPipe + ( portId & localPortMask );
}

S32 ChipState::defaultPpg( U32 portId ) {
    return handleOf( portId >> pipePortShift, ppgsPerPipe + ( portId & localPortMask ) );
}

std::size_t ChipState::ppgIndex( S32 handle ) {
    const auto number = static_cast<U32>( handle );
    return std::size_t{ number >> handlePipeShift } * ppgsWithDefaults +
           ( number & handleIndexMask );
}

bool ChipState::hasPpg( S32 handle ) const {
    const auto number = static_cast<U32>( handle ); // a negative one has a pipe far out of range
    const U32 pipe = number >> handlePipeShift;
    const U32 index = number & handleIndexMask;
    if ( pipe >= pipeCount || index >= ppgsWithDefaults ) {
        return false;
    }
    return index >= ppgsPerPipe || ( taken_[pipe][index / bitsPerWord] & bitOf( index ) ) != 0;
}

std::optional<S32> ChipState::ppgAllocate( U32 portId ) {
    const U32 pipe = portId >> pipePortShift;
    for ( U32 word = 0; word < taken_[pipe].size(); ++word ) {
        U64 & bits = taken_[pipe][word];
        const auto free = static_cast<U32>( std::countr_one( bits ) );
        if ( free == bitsPerWord ) {
            continue;
        }
        bits |= bitOf( free );
        const S32 handle = handleOf( pipe, word * bitsPerWord + free );
        ppgs_[ppgIndex( handle )] = Ppg{ .portId = portId };
        return handle;
    }
    return std::nullopt;
}

void ChipState::ppgFree( S32 handle ) {
    const auto number = static_cast<U32>( handle );
    const U32 index = number & handleIndexMask;
    if ( index < ppgsPerPipe ) {
        taken_[number >> handlePipeShift][index / bitsPerWord] &= ~bitOf( index );
    }
}

U32 ChipState::ppgsAllocated( U32 pipe ) const {
    int count = 0;
    for ( const U64 bits : taken_[pipe] ) {
        count += std::popcount( bits );
    }
    return static_cast<U32>( count );
}

} // namespace KelModel
