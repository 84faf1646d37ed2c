#include "Host/Document/CounterFeed.h"

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonReader.h"
#include "Host/Json/JsonTree.h"

#include <utility>

namespace KelHost {

namespace {

constexpr const char * countersMember = "counters";

// A feed may be a patch of the counters, or of a document that has nothing else.
const Json & countersPatch( const Json & patch, const DocumentPlace & place ) {
    if ( !patch.is_object() ) {
        place.refuse( "", "must be an object: a merge patch of the counters" );
    }
    const auto counters = patch.find( countersMember );
    if ( counters == patch.end() ) {
        return patch;
    }
    if ( patch.size() != 1 ) {
        place.refuse( "", "must have no other member beside \"counters\"; the configuration is "
                          "changed by a reload" );
    }
    return *counters;
}

// As a document has them. What a counter's entry leaves out is 0.
void encode( const PipeCounters & counters, Json & pipe ) {
    pipe = Json::object();
    for ( const auto & [index, ppg] : counters.ppg ) {
        pipe["ppg"][std::to_string( index )] = { { "minUsage", ppg.minUsage },
                                                 { "sharedUsage", ppg.sharedUsage },
                                                 { "skidUsage", ppg.skidUsage },
                                                 { "dropCounter", ppg.dropCounter } };
    }
    for ( const auto & [index, cells] : counters.queue ) {
        pipe["queue"][std::to_string( index )] = cells;
    }
    if ( counters.block ) {
        Json & block = pipe["block"] = Json::object();
        for ( const auto & [id, counter] : *counters.block ) {
            block[std::to_string( id )] = {
                { "name", counter.name }, { "type", counter.type }, { "value", counter.value } };
        }
    }
}

} // namespace

CounterStore fedCounters( const CounterStore & counters, std::string_view patch,
                          const std::string & name ) {
    DocumentPlace place{ .file = name };
    if ( patch.size() > feedLimit ) {
        place.refuse( "", "must have 4 MiB at most" );
    }
    const JsonTree tree{ readJson( patch, name ) };
    const Json & changes = countersPatch( tree.root, place );
    JsonTree document{ Json::object() };
    Json & merged = document.root[countersMember] = Json::object();
    CounterStore untouched;
    for ( const auto & [pipe, present] : counters ) {
        const std::string key = std::to_string( pipe );
        if ( changes.is_object() && !changes.contains( key ) ) {
            untouched.emplace( pipe, present );
        } else {
            encode( present, merged[key] );
        }
    }
    merged.merge_patch( changes );
    if ( merged.is_null() ) {
        return {}; // the patch of a document removed the member
    }
    place.afterPatch = true;
    CounterStore result = decodeSwitchDocument( document.root, place ).counters;
    result.merge( untouched );
    return result;
}

} // namespace KelHost
