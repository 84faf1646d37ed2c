#pragma once

#include "bench/Report/Results.h"

#include <functional>
#include <vector>

namespace KelBench {

// Something that is aimed at: a figure that should not be exceeded.
struct Bound {
    std::string what;
    F64 atMost;
    const char * unit; // with a blank in front
    std::function<F64( const Results & )> measure;
};

const std::vector<Bound> & bounds();

} // namespace KelBench
