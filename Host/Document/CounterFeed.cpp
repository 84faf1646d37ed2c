#include "Host/Document/CounterFeed.h"

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/JsonReader.h"

#include <utility>

namespace KelHost {

namespace {

constexpr const char * countersMember = "counters";

// A feed may be a patch of the counters, or of a document that has nothing else.
Json countersPatch( Json patch, const DocumentPlace & place ) {
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
    return std::move( *counters );
}

// As a document has them. What a counter's entry leaves out is 0.
Json encoded( const PipeCounters & counters ) {
    Json pipe = Json::object();
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
    return pipe;
}

} // namespace

CounterStore fedCounters( const CounterStore & counters, std::string_view patch,
                          const std::string & name ) {
    DocumentPlace place{ .file = name };
    if ( patch.size() > feedLimit ) {
        place.refuse( "", "must have 4 MiB at most" );
    }
    const Json changes = countersPatch( readJson( patch, name ), place );
    Json document = Json::object();
    Json & merged = document[countersMember] = Json::object();
    CounterStore untouched;
    for ( const auto & [pipe, present] : counters ) {
        const std::string key = std::to_string( pipe );
        if ( changes.is_object() && !changes.contains( key ) ) {
            untouched.emplace( pipe, present );
        } else {
            merged[key] = encoded( present );
        }
    }
    merged.merge_patch( changes );
    if ( merged.is_null() ) {
        return {}; // the patch of a document removed the member
    }
    place.afterPatch = true;
    CounterStore result = decodeSwitchDocument( document, place ).counters;
    result.merge( untouched );
    return result;
}

} // namespace KelHost
