#include "Host/Plan/PageStyle.h"

#include "Host/Json/MessageText.h"

#include <algorithm>

namespace KelHost {

std::string grouped( U64 number ) {
    constexpr std::size_t group = 3;
    std::string text = std::to_string( number );
    for ( std::size_t at = text.size(); at > group; ) {
        at -= group;
        text.insert( at, 1, ',' );
    }
    return text;
}

std::string fileText( std::string_view file ) {
    constexpr std::size_t most = 300; // bytes
    return shown( file, most );
}

std::string leftAligned( std::string_view text, std::size_t width ) {
    std::string result( text );
    result.resize( std::max( width, text.size() ), ' ' );
    return result;
}

std::string rightAligned( std::string_view text, std::size_t width ) {
    return std::string( width > text.size() ? width - text.size() : 0, ' ' ).append( text );
}

std::string wrapped( std::string_view text, std::size_t indent ) {
    const std::string blanks( indent, ' ' );
    std::string result;
    while ( !text.empty() ) {
        std::size_t end = text.size();
        if ( indent + end > pageWidth ) {
            end = text.rfind( ' ', pageWidth - indent );
            // A word that is longer than a line is not broken.
            end = end == std::string_view::npos ? std::min( text.find( ' ' ), text.size() ) : end;
        }
        result.append( blanks ).append( text.substr( 0, end ) ).append( "\n" );
        text.remove_prefix( std::min( end + 1, text.size() ) );
    }
    return result;
}

} // namespace KelHost
