// Any bytes as a diagnostic command, as the agent's channel takes them: asked about first, and then
// answered into a file that nobody reads.

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonReader.h"
#include "Host/Plan/ModelledChip.h"
#include "Host/Switch/SwitchRuntime.h"
#include "KelQos/Show/KelSliceQosCli.h"
#include "Platform/Framework/Assert.h"

#include <fcntl.h>

namespace {

using namespace KelHost;
using KelQos::KelSliceQosCli;

constexpr std::string_view running = R"({ "ports": { "Ethernet1": { "portIndex": 4, "qos": {
    "ppgs": { "3": { "internalCosBmp": 8 } }, "txQueues": { "3": {} } } } } })";

// Lives as long as the process: starting a chip for each input would take all the time.
struct Running {
    Kel::ActivityManager activityManager;
    ModelledChip chip;
    SwitchRuntime runtime{ activityManager,
                           decodeSwitchDocument( readJson( running, "running.json" ),
                                                 DocumentPlace{ "running.json" } ) };
    int nowhere = open( "/dev/null", O_WRONLY | O_CLOEXEC );

    Running() { runtime.start( chip ); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8 * data, std::size_t size ) {
    static Running & agent = *new Running;
    const std::string command( reinterpret_cast<const char *>( data ), size );
    const auto callback =
        agent.runtime.store().cmdRequestDirSm->agentCommandCallback( "KelSliceQos" );
    const auto & cli = static_cast<const KelSliceQosCli &>( *callback );
    if ( cli.verdict( command ) != KelSliceQosCli::Verdict::interfaceNameMissing ) {
        agent.runtime.deliver( command, agent.nowhere );
    }
    return 0;
}
