#include "Platform/Framework/Ptr.h"

#include <limits>

namespace Kel {

constinit std::uintptr_t plainCountMask = ~std::uintptr_t{ 0 };

bool refCountAtomic() noexcept { return plainCountMask == 0; }
void refCountAtomicIs( bool atomic ) noexcept {
    plainCountMask = atomic ? 0 : ~std::uintptr_t{ 0 };
}

void Counted::releaseAtomic() const noexcept {
    if ( std::atomic_ref( refCount_ ).fetch_sub( 1, std::memory_order_acq_rel ) == 1 ) {
        destroy();
    }
}

void Counted::destroy() const noexcept {
    // Halfway to the minimum: references taken and dropped while the destructors run move the count
    // about, but never back to zero.
    refCount_ = std::numeric_limits<S32>::min() / 2;
    delete this;
}

} // namespace Kel
