#include "Host/Command/CommandLine.h"
#include "Host/Plan/ModelledChip.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Logging/RingTrace.h"

#include <csignal>
#include <exception>
#include <new>
#include <unistd.h>

namespace {

// What cannot be refused in an orderly way, since a destructor threw it or nobody catches it.
[[noreturn]] void handleTerminate() {
    const char * why = "an exception";
    try {
        if ( std::current_exception() ) {
            throw;
        }
    } catch ( const std::bad_alloc & ) {
        why = "out of memory";
    } catch ( ... ) {
    }
    KEL_FAILED( "no exception is left over", why );
}

} // namespace

int main( int argc, char ** argv ) {
    // A reader that goes away is reported by whatever writes to it.
    std::signal( SIGPIPE, SIG_IGN );
    Kel::abortHookIs( [] { Kel::ringTraceWrite( STDERR_FILENO ); } );
    std::set_terminate( handleTerminate );
    KelHost::ModelledChip chip;
    return KelHost::runCommandLine( argc, argv, chip );
}
