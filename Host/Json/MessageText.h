#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Texts that come from outside, on their way into a message: what they hold must neither run a
// terminal nor flood a log.
namespace KelHost {

// A message about any input has at most so many bytes.
inline constexpr std::size_t messageLimit = 1000;

// `text` in at most so many bytes (at least 16): what a terminal would act upon, and bytes that are
// not UTF-8, are written as escapes like \u001b and \x9b; what is longer is cut, with "..." at the
// cut.
std::string shown( std::string_view text, std::size_t most );

// A whole message, on one line, in messageLimit bytes at most.
std::string bounded( std::string_view message );

} // namespace KelHost
