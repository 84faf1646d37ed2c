#include "Host/Command/StandardOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>
#include <unistd.h>

namespace KelHost {

namespace {

// Of the environment; empty without it.
std::string variable( const char * name ) {
    const char * value = std::getenv( name );
    return value == nullptr ? "" : value;
}

// As the C library chooses the character set.
bool hasUtf8() {
    for ( const char * name : { "LC_ALL", "LC_CTYPE", "LANG" } ) {
        const std::string locale = variable( name );
        if ( !locale.empty() ) {
            return locale.find( "UTF-8" ) != std::string::npos ||
                   locale.find( "utf8" ) != std::string::npos;
        }
    }
    return false;
}

} // namespace

int writeAnswer( std::string_view text ) {
    if ( std::fwrite( text.data(), 1, text.size(), stdout ) == text.size() &&
         std::fflush( stdout ) == 0 ) {
        return EXIT_SUCCESS;
    }
    if ( errno == EPIPE ) {
        return EXIT_FAILURE;
    }
    throw std::system_error( errno, std::generic_category(), "cannot write the answer" );
}

PageStyle outputStyle() {
    const std::string terminal = variable( "TERM" );
    if ( isatty( STDOUT_FILENO ) == 0 || terminal.empty() || terminal == "dumb" ) {
        return {};
    }
    return { .colours = variable( "NO_COLOR" ).empty(), .blocks = hasUtf8() };
}

} // namespace KelHost
