#pragma once

namespace KelBench {

// Whether the driver that does nothing hands out groups when asked to allocate one (it does at
// first), or none is free.
void groupsAreFree( bool free );

} // namespace KelBench
