#include "Host/Command/CommandLine.h"
#include "Host/Play/PlayerChip.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Logging/RingTrace.h"

#include <csignal>
#include <unistd.h>

int main( int argc, char ** argv ) {
    // A reader that goes away is reported by whatever writes to it.
    std::signal( SIGPIPE, SIG_IGN );
    Kel::abortHookIs( [] { Kel::ringTraceWrite( STDERR_FILENO ); } );
    KelHost::PlayerChip chip;
    return KelHost::runCommandLine( argc, argv, chip );
}
