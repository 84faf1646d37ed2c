#pragma once

#include <string>

namespace KelHost {

// The most that a file may have, in bytes.
inline constexpr std::size_t textFileLimit = 16 << 20;

// The whole of a regular file as text. Throws DocumentError when it cannot be read, when it is
// anything but a regular file (which could be endless, or have somebody wait), or when it is larger
// than the limit.
std::string readTextFile( const std::string & file );

// The same for an open descriptor, which may be of any kind; `name` is what errors call it.
std::string readText( int fd, const std::string & name );

// What a command that runs once reads: a file, or standard input to its end when the name is "-".
std::string readInput( const std::string & file );

// What errors call it.
std::string inputName( const std::string & file );

} // namespace KelHost
