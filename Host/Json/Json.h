#pragma once

#include <nlohmann/json.hpp>

namespace KelHost {

// A JSON value as it was written: an integer of up to 64 bits is exact, and is not the same as a
// number with a fraction or an exponent; members are in the order of their names. merge_patch() is
// RFC 7396.
using Json = nlohmann::json;

} // namespace KelHost
