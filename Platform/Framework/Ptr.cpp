#include "Platform/Framework/Ptr.h"

#include <limits>

namespace Kel {

constinit bool refCountAtomic = false;

void Counted::destroy() const noexcept {
    // Halfway to the minimum: references taken and dropped while the destructors run move the count
    // about, but never back to zero.
    refCount_ = std::numeric_limits<S32>::min() / 2;
    delete this;
}

} // namespace Kel
