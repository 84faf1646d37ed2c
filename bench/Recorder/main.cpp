// Writes the driver calls of one run to standard output, for the benchmark that replays them:
//
//     record-calls bring-up PORTS GROUPS
//     record-calls event NAME
//
// An event is recorded there and back, on the whole chip.

#include "bench/Chip/Events.h"
#include "bench/Driver/Recording.h"

#include <cstdio>
#include <string>

namespace {

using namespace KelBench;

int recordBringUp( U32 ports, U32 groups ) {
    BenchChip chip( { .ports = ports, .groups = groups } );
    recording() = {};
    chip.bringUp();
    recording().write( stdout );
    return 0;
}

int recordEvent( const Event & event ) {
    BenchChip chip( {} );
    chip.bringUp();
    Kel::Entity & entity = event.entity( chip );
    event.change( entity, false );
    recording() = {};
    event.change( entity, true );
    event.change( entity, false );
    recording().write( stdout );
    return 0;
}

} // namespace

int main( int argc, char ** argv ) {
    const std::vector<std::string> words( argv + 1, argv + argc );
    if ( words.size() == 3 && words[0] == "bring-up" ) {
        return recordBringUp( static_cast<U32>( std::stoul( words[1] ) ),
                              static_cast<U32>( std::stoul( words[2] ) ) );
    }
    if ( words.size() == 2 && words[0] == "event" ) {
        return recordEvent( eventNamed( words[1] ) );
    }
    std::fputs( "usage: record-calls bring-up PORTS GROUPS | event NAME\n", stderr );
    return 2;
}
