#include "Host/Json/DocumentError.h"

#include "Host/Json/MessageText.h"

namespace KelHost {

namespace {

// What a message of messageLimit bytes has room for beside its text.
constexpr std::size_t fileLimit = 300;
constexpr std::size_t tokenLimit = 130; // of a pointer; a name of 64 characters always fits
constexpr std::size_t pointerLimit = 400;

// Without its middle when it is long: where it begins and where it leads to say most. A token is so
// short that there is one to cut at.
std::string shortened( std::string pointer ) {
    if ( pointer.size() > pointerLimit ) {
        const std::size_t headEnd = pointer.rfind( '/', pointerLimit / 2 );
        const std::size_t tail = pointer.find( '/', pointer.size() - pointerLimit / 2 );
        pointer.replace( headEnd, tail - headEnd, "/..." );
    }
    return pointer;
}

} // namespace

std::string DocumentPlace::shownFile() const { return shown( file, fileLimit ); }

std::string DocumentPlace::line( std::string_view pointer, std::string_view text ) const {
    std::string result = shownFile() + ": ";
    const auto append = [&result]( std::string_view part ) {
        if ( !part.empty() ) {
            result.append( part ).append( ": " );
        }
    };
    if ( afterPatch ) {
        append( root );
        result += "the document after this patch: ";
        append( shortened( std::string( pointer ) ) );
    } else {
        append( shortened( root + std::string( pointer ) ) );
    }
    return bounded( result.append( text ) );
}

void DocumentPlace::refuse( std::string_view pointer, std::string_view text ) const {
    throw DocumentError( line( pointer, text ) );
}

std::string pointerToken( std::string_view name ) {
    std::string token;
    for ( const char c : name.substr( 0, tokenLimit + 1 ) ) {
        if ( c == '~' ) {
            token += "~0";
        } else if ( c == '/' ) {
            token += "~1";
        } else {
            token += c;
        }
    }
    token = shown( token, tokenLimit );
    if ( token.ends_with( "~..." ) ) { // cut inside of "~0" or "~1"
        token.erase( token.size() - 4, 1 );
    }
    return token;
}

} // namespace KelHost
