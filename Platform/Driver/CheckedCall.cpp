#include "Platform/Driver/CheckedCall.h"

#include "Platform/Driver/DriverStatus.h"
#include "Platform/Framework/Assert.h"

#include <cstdio>

namespace KelDriver {

void checkedCallFailed( const char * call, S32 number, S32 textStatus, const char * file, int line,
                        const char * signature ) {
    std::fprintf( stderr, "%s:%d %s API ERROR:%s (%d)\n", file, line, call,
                  statusText( textStatus ), number );
    std::fflush( stderr );
    Kel::assertionFailed( "0", file, line, signature );
}

} // namespace KelDriver
