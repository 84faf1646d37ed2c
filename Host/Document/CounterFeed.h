#pragma once

#include "Host/Document/SwitchDocument.h"

#include <string>
#include <string_view>

namespace KelHost {

// The most that a feed's patch may have, in bytes.
inline constexpr std::size_t feedLimit = 4 << 20;

// The live counters after a feed: a merge patch (RFC 7396) of the document's counters in JSON, or
// of a document that has nothing else. `name` is what errors call it. Throws DocumentError when the
// patch, or what it makes of the counters, is refused.
CounterStore fedCounters( const CounterStore & counters, std::string_view patch,
                          const std::string & name );

} // namespace KelHost
