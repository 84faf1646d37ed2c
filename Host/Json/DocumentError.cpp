#include "Host/Json/DocumentError.h"

namespace KelHost {

std::string DocumentPlace::line( std::string_view pointer, std::string_view text ) const {
    std::string result = file + ": ";
    const auto append = [&result]( std::string_view part ) {
        if ( !part.empty() ) {
            result.append( part ).append( ": " );
        }
    };
    if ( afterPatch ) {
        append( root );
        result += "the document after this patch: ";
        append( pointer );
    } else {
        append( root + std::string( pointer ) );
    }
    return result.append( text );
}

void DocumentPlace::refuse( std::string_view pointer, std::string_view text ) const {
    throw DocumentError( line( pointer, text ) );
}

} // namespace KelHost
