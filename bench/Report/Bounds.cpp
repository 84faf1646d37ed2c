#include "bench/Report/Bounds.h"

#include <algorithm>
#include <limits>

namespace KelBench {

namespace {

constexpr const char * times = " x";

std::string bringUp( const std::string & ports ) {
    return "bringUp/ports:" + ports + "/groups:3/manual_time";
}

std::string eventName( const std::string & attribute ) {
    return "event/" + attribute + "/manual_time";
}

auto counterOf( const std::string & name, const char * counter ) {
    return [=]( const Results & results ) { return results.counter( name, counter ); };
}

auto ratioOf( const std::string & ours, const std::string & theirs ) {
    return [=]( const Results & results ) { return results.time( ours ) / results.time( theirs ); };
}

// Against the fastest of some peers.
auto overBest( const std::string & ours, const std::vector<std::string> & peers ) {
    return [=]( const Results & results ) {
        F64 best = std::numeric_limits<F64>::infinity();
        for ( const std::string & peer : peers ) {
            best = std::min( best, results.time( peer ) );
        }
        return results.time( ours ) / best;
    };
}

auto mapsOverBest( const std::string & operation, const std::string & key,
                   const std::string & size ) {
    const auto name = [&]( const char * map ) {
        return operation + "<" + key + ", " + map + "<" + key + ">>/" + size;
    };
    return overBest( name( "KelMap" ), { name( "StdMap" ), name( "AbslMap" ) } );
}

auto timersOverBest( const std::string & operation, const std::string & size ) {
    return [=]( const Results & results ) {
        const auto time = [&]( const char * timers ) {
            return results.counter( std::string( "timers<" ) + timers + ", Operation::" +
                                        operation + ">/" + size + "/iterations:1/manual_time",
                                    "per_timer_ns" );
        };
        const F64 best = std::min( { time( "MultimapTimers" ), time( "LazyQueueTimers" ),
                                     time( "EvTimers" ), time( "UvTimers" ) } );
        return time( "KelTimers" ) / best;
    };
}

F64 perQueueGrowth( const Results & results ) {
    return results.counter( bringUp( "288" ), "ns_per_queue" ) /
           results.counter( bringUp( "32" ), "ns_per_queue" );
}

F64 stateMachinesShare( const Results & results ) {
    const auto median = [&]( const std::string & step ) {
        return results.counter( "startUp" + step + "/manual_time", "median_ns" );
    };
    const F64 stateMachines = median( "StateMachines" );
    return 100.0 * stateMachines /
           ( median( "Document" ) + median( "StateStore" ) + stateMachines );
}

F64 playNanosecondsPerEvent( const Results & results ) {
    return 1e9 / results.counter( "play/real_time", "items_per_second" );
}

using Bounds = std::vector<Bound>;

void addChip( Bounds & all ) {
    all.push_back( { "full-chip bring-up over the bare driver calls", 2.0, times,
                     counterOf( bringUp( "256" ), "ratio" ) } );
    for ( const char * event : { "pfcEnabled", "minLimitCells" } ) {
        all.push_back( { "`" + std::string( event ) + "` event over its bare calls", 2.0, times,
                         counterOf( eventName( event ), "ratio" ) } );
    }
    all.push_back( { "one class of `cosToTc` on 256 PFC ports over its bare calls", 3.0, times,
                     counterOf( eventName( "cosToTc" ), "ratio" ) } );
    all.push_back( { "`shapeRate` event, beyond its two calls", 50.0, " ns",
                     counterOf( eventName( "shapeRate" ), "over_ns" ) } );
    all.push_back( { "time per queue, 288 ports over 32 ports", 1.1, times, perQueueGrowth } );
    all.push_back( { "heap of one more queue", 160.0, " bytes",
                     counterOf( "memoryOfQueue/iterations:1", "heap_bytes" ) } );
    all.push_back( { "heap of one more group with its poll clock", 320.0, " bytes",
                     counterOf( "memoryOfGroup/iterations:1", "heap_bytes" ) } );
    all.push_back( { "`show tm` over one `snprintf` buffer", 1.0, times,
                     counterOf( "showTm/manual_time", "over_snprintf" ) } );
    all.push_back(
        { "`show tm` over a `dprintf` per row", 0.2, times, []( const Results & results ) {
             return 1 / results.counter( "showTm/manual_time", "dprintf_over" );
         } } );
}

void addFramework( Bounds & all ) {
    all.push_back( { "attribute change to one notifiee over a bare virtual call", 5.0, times,
                     ratioOf( "notifyKel/1", "notifyVirtualCall/1" ) } );
    for ( const char * count : { "1", "8" } ) {
        const std::string notifiees = count;
        all.push_back(
            { "attribute change to " + notifiees + ", over the better signal library", 1.0, times,
              overBest( "notifyKel/" + notifiees,
                        { "notifySignals2/" + notifiees, "notifySigc/" + notifiees } ) } );
    }
    all.push_back( { "`Ptr` copy and destruction over non-atomic `boost::intrusive_ptr`", 1.3,
                     times, ratioOf( "pointerKel", "pointerIntrusive" ) } );
    for ( const auto & [key, keyText] :
          { std::pair{ "PortIndex", "integers" }, std::pair{ "IntfId", "interface names" } } ) {
        for ( const char * size : { "8", "256" } ) {
            const std::string keys = std::string( size ) + " " + keyText + ", over the best map";
            all.push_back(
                { "`HashMap` look-up, " + keys, 1.2, times, mapsOverBest( "lookUp", key, size ) } );
            all.push_back( { "`HashMap` iteration, " + keys, 1.0, times,
                             mapsOverBest( "iterate", key, size ) } );
        }
    }
    for ( const char * operation : { "arm", "rearm", "expire", "cancel" } ) {
        for ( const char * size : { "10", "2000", "100000" } ) {
            all.push_back( { "`TimerWheel` " + std::string( operation ) + ", " + size +
                                 " timers, over the best peer",
                             std::string( operation ) == "cancel" ? 1.5 : 1.0, times,
                             timersOverBest( operation, size ) } );
        }
    }
    all.push_back( { "a disabled trace line", 1.0, " ns", []( const Results & results ) {
                        return results.time( "traceDisabledTen" ) / 10;
                    } } );
}

void addStart( Bounds & all ) {
    all.push_back( { "the state machines' share of process start, full chip", 10.0, " %",
                     stateMachinesShare } );
    all.push_back( { "`kelqos play` of the full chip, whole process", 1000.0, " ns an event",
                     playNanosecondsPerEvent } );
}

} // namespace

const Bounds & bounds() {
    static const Bounds all = [] {
        Bounds made;
        addChip( made );
        addFramework( made );
        addStart( made );
        return made;
    }();
    return all;
}

} // namespace KelBench
