#include "Platform/Framework/Pool.h"

namespace Kel {

void Pool::grow( std::size_t size ) {
    auto * const memory =
        static_cast<std::byte *>( ::operator new( sizeof( Slab ) + blocksOfASlab * size ) );
    slabs_ = new ( memory ) Link{ slabs_ };
    for ( std::size_t i = blocksOfASlab; i-- > 0; ) {
        free_ = new ( memory + sizeof( Slab ) + i * size ) Link{ free_ };
    }
}

void Pool::releaseSlabs() noexcept {
    free_ = nullptr;
    while ( Link * const slab = slabs_ ) {
        slabs_ = slab->next;
        ::operator delete( slab );
    }
}

} // namespace Kel
