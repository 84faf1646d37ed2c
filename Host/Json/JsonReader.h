#pragma once

#include "Host/Json/Json.h"

#include <string>
#include <string_view>

namespace KelHost {

// Objects and arrays may be nested this deep. No document comes near that; the limit keeps a
// hostile file from using up the stack of whatever walks the tree.
inline constexpr std::size_t jsonDepthLimit = 64;

// A text may have so many values: objects, arrays, strings, numbers and words together. The largest
// documents have a fifth of that; the limit bounds the memory of the tree.
inline constexpr std::size_t jsonValueLimit = 1'000'000;

// The tree of a JSON text. `file` is what errors call it.
//
// Throws DocumentError: "FILE:LINE:COLUMN: ..." for a syntax error (both counted from 1, columns in
// bytes), "FILE: POINTER: ..." for a duplicate member, for nesting that is too deep, for a number
// that no double can hold, and for the first value beyond the limit.
Json readJson( std::string_view text, const std::string & file );

} // namespace KelHost
