// Any bytes as a merge patch on a running switch: refused, or applied to the state store with all
// that follows from it on the modelled chip.

#include "Host/Document/DocumentTransition.h"
#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/JsonReader.h"
#include "Host/Plan/ModelledChip.h"
#include "Host/Switch/SwitchRuntime.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Logging/Syslog.h"

#include <cstdlib>

namespace {

using namespace KelHost;

constexpr std::string_view running = R"({
    "bufferParams": { "totalCellsAvailableForIngress": 20000, "leakThreshold": 4294967295 },
    "cosToTc": [ 0, 1, 2, 3, 4, 5, 6, 7 ],
    "ports": { "Ethernet1": { "portIndex": 4, "enabled": "enabled", "qos": {
        "flowControlType": "pfc",
        "ppgs": { "3": { "internalCosBmp": 8, "pfcEnabled": true } },
        "txQueues": { "3": { "weight": 15 } } } } },
    "wred": { "0": { "1": { "minThdCells": 1, "maxThdCells": 2, "maxDropProbability": 0.5,
                            "timeConstantNs": 10 } } } })";

void apply( std::string_view patch ) {
    const DocumentPlace place{ "fuzz.json", "", true };
    const Json start = readJson( running, "running.json" );
    const auto document = decodeSwitchDocument( start, place );
    Json patched = start;
    patched.merge_patch( readJson( patch, "fuzz.json" ) );
    const auto next = decodeSwitchDocument( patched, place );
    checkTransition( document, next, place );
    checkTransition( next, document, place ); // the way back, which internal ports do not have

    Kel::syslogSinkIs( []( int, std::string_view, std::string_view ) {} );
    setenv( "SIMULATION_VMID", "", 1 ); // a leak is not the end
    Kel::ActivityManager activityManager;
    ModelledChip chip;
    SwitchRuntime runtime( activityManager, document );
    runtime.start( chip );
    runtime.apply( differenceOf( document, next ) );
    KEL_ASSERT( runtime.document() == next );
    runtime.advanceTo( 0.2 );
    for ( const DocumentDifference & part : inParts( differenceOf( next, document ) ) ) {
        runtime.apply( part );
    }
    KEL_ASSERT( runtime.document() == document );
    runtime.advanceTo( 0.4 );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8 * data, std::size_t size ) {
    try {
        apply( { reinterpret_cast<const char *>( data ), size } );
    } catch ( const DocumentError & ) { // refused
    }
    return 0;
}
