#include "Host/Agent/WallClock.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace KelHost {

F64 wallClock() {
    timespec now{};
    (void)clock_gettime( CLOCK_REALTIME_COARSE, &now ); // this clock always exists
    return static_cast<F64>( now.tv_sec ) + static_cast<F64>( now.tv_nsec ) / 1e9;
}

std::size_t wallClockText( F64 time, char * to ) {
    const F64 whole = std::floor( time );
    const auto seconds = static_cast<std::time_t>( whole );
    tm parts{};
    localtime_r( &seconds, &parts );
    const std::size_t size = std::strftime( to, 25, "%Y-%m-%d %H:%M:%S", &parts );
    const auto milliseconds = static_cast<unsigned>( ( time - whole ) * 1000 ) % 1000;
    return size + static_cast<std::size_t>( std::snprintf( to + size, 7, ".%03u", milliseconds ) );
}

} // namespace KelHost
