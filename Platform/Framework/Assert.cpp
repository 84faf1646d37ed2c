#include "Platform/Framework/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Kel {

namespace {

void ( *abortHook )() = nullptr;

} // namespace

void assertionFailed( const char * expression, const char * file, int line,
                      const char * signature ) noexcept {
    std::fprintf( stderr, "%s:%d: %s: Assertion \"%s\" failed.\n", file, line, signature,
                  expression );
    std::fflush( stderr );
    if ( auto * hook = std::exchange( abortHook, nullptr ) ) {
        hook();
    }
    std::abort();
}

void reportFailed( const char * expression, const char * message ) {
    std::fprintf( stderr, "Failed(%s) %s\n", expression, message );
    std::fflush( stderr );
}

void abortHookIs( void ( *hook )() ) { abortHook = hook; }

} // namespace Kel
