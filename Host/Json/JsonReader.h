#pragma once

#include "Host/Json/JsonValue.h"

#include <string>
#include <string_view>

namespace KelHost {

// Objects and arrays may be nested this deep. No document comes near that; the limit keeps a
// hostile file from using up the stack of whatever walks the tree.
inline constexpr std::size_t jsonDepthLimit = 64;

// The tree of a JSON text. `file` is what errors call it.
//
// Throws DocumentError: "FILE:LINE:COLUMN: ..." for a syntax error (both counted from 1, columns in
// bytes), "FILE: POINTER: ..." for a duplicate member, for nesting that is too deep, and for a
// number that no double can hold.
JsonValue readJson( std::string_view text, const std::string & file );

// The whole file as text. Throws DocumentError when it cannot be read or is larger than 256 MiB.
std::string readTextFile( const std::string & file );

inline JsonValue readJsonFile( const std::string & file ) {
    return readJson( readTextFile( file ), file );
}

} // namespace KelHost
