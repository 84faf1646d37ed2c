#pragma once

#include "bench/Chip/BenchChip.h"

#include <string>
#include <vector>

namespace KelBench {

// A single change of one attribute, there and back.
struct Event {
    const char * name;
    // The attribute's new value for either direction, by way of an entity that was looked up
    // before: what is measured begins with the setter.
    using Change = void ( * )( Kel::Entity & entity, bool there );
    Kel::Entity & ( *entity )( BenchChip & chip );
    Change change;
};

const std::vector<Event> & events();
const Event & eventNamed( const std::string & name );

} // namespace KelBench
