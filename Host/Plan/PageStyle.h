#pragma once

#include "Platform/Framework/Types.h"

#include <string>
#include <string_view>

namespace KelHost {

// What the reader's side can show.
struct PageStyle {
    bool colours = false; // ANSI escapes
    bool blocks = false;  // UTF-8 block elements
};

inline constexpr std::size_t pageWidth = 80; // columns

// Colours as ANSI terminals number them.
enum class Colour : U8 { red = 31, green = 32, yellow = 33, blue = 34, cyan = 36, grey = 90 };

inline std::string coloured( std::string_view text, Colour colour, const PageStyle & style ) {
    if ( !style.colours ) {
        return std::string( text );
    }
    return "\x1b[" + std::to_string( static_cast<unsigned>( colour ) ) + "m" + std::string( text ) +
           "\x1b[0m";
}

// 266240 as "266,240".
std::string grouped( U64 number );

// The name of a file as a terminal may see it.
std::string fileText( std::string_view file );

// Filled with blanks to a width.
std::string leftAligned( std::string_view text, std::size_t width );
std::string rightAligned( std::string_view text, std::size_t width );

// `text` in lines of the page's width, each behind so many blanks, each with a line end.
std::string wrapped( std::string_view text, std::size_t indent );

} // namespace KelHost
