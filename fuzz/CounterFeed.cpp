// Any bytes as a feed: what it makes of the counters is what the same merge patch makes of the
// document that they came from.

#include "Host/Document/CounterFeed.h"
#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonReader.h"
#include "Platform/Framework/Assert.h"

#include <optional>

namespace {

using namespace KelHost;

constexpr std::string_view running = R"({ "counters": {
    "0": { "ppg": { "3": { "minUsage": 1 }, "4": {} }, "queue": { "5": 6 } },
    "1": { "block": {} }, "2": {},
    "3": { "block": { "3": { "name": "drops", "type": 0 } } } } })";

// Nothing when it is refused.
template <class Work>
std::optional<CounterStore> accepted( const Work & work ) {
    try {
        return work();
    } catch ( const DocumentError & ) {
        return std::nullopt;
    }
}

CounterStore decoded( const Json & document ) {
    return decodeSwitchDocument( document, { .file = "fuzz.json" } ).counters;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8 * data, std::size_t size ) {
    const std::string_view text( reinterpret_cast<const char *>( data ), size );
    const Json start = readJson( running, "running.json" );
    const auto fed = accepted( [&] { return fedCounters( decoded( start ), text, "fuzz.json" ); } );
    const auto merged = accepted( [&] {
        const Json patch = readJson( text, "fuzz.json" );
        const bool whole = patch.is_object() && patch.contains( "counters" );
        if ( !patch.is_object() || ( whole && patch.size() != 1 ) ) {
            throw DocumentError( "no feed" );
        }
        Json document = start;
        document.merge_patch( whole ? patch : Json{ { "counters", patch } } );
        return decoded( document );
    } );
    KEL_ASSERT( fed == merged );
    return 0;
}
