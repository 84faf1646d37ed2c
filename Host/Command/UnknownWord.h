#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace KelHost {

// What to say about a command line that names no command, or nothing for a command to act upon,
// where one is needed: one line with the word and what comes near it. Empty when the parsed line's
// fault is another one.
std::string unknownWordText( const CLI::App & program );

} // namespace KelHost
