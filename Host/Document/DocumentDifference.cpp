#include "Host/Document/DocumentDifference.h"

#include <iterator>
#include <utility>

namespace KelHost {

namespace {

// Entries of both maps in the order of their keys: take( key, one, other ), either of them null.
template <class Map, class F>
void walkBoth( const Map & before, const Map & after, F && take ) {
    auto b = before.begin();
    auto a = after.begin();
    const auto less = before.key_comp();
    while ( b != before.end() || a != after.end() ) {
        if ( a == after.end() || ( b != before.end() && less( b->first, a->first ) ) ) {
            take( b->first, &b->second, nullptr );
            ++b;
        } else if ( b == before.end() || less( a->first, b->first ) ) {
            take( a->first, nullptr, &a->second );
            ++a;
        } else {
            take( a->first, &b->second, &a->second );
            ++a;
            ++b;
        }
    }
}

// An entry that is in both and differs: as a whole, unless it is a map or a pipe's counters.
template <class T>
void split( const T & before, const T & after, T & outBefore, T & outAfter ) {
    outBefore = before;
    outAfter = after;
}
void split( const PipeCounters & before, const PipeCounters & after, PipeCounters & outBefore,
            PipeCounters & outAfter );
template <class Key, class Value, class Less>
void split( const std::map<Key, Value, Less> & before, const std::map<Key, Value, Less> & after,
            std::map<Key, Value, Less> & outBefore, std::map<Key, Value, Less> & outAfter ) {
    walkBoth( before, after, [&]( const Key & key, const Value * one, const Value * other ) {
        if ( one == nullptr ) {
            outAfter.emplace_hint( outAfter.end(), key, *other );
        } else if ( other == nullptr ) {
            outBefore.emplace_hint( outBefore.end(), key, *one );
        } else if ( !( *one == *other ) ) {
            split( *one, *other, outBefore.emplace_hint( outBefore.end(), key, Value{} )->second,
                   outAfter.emplace_hint( outAfter.end(), key, Value{} )->second );
        }
    } );
}
void split( const PipeCounters & before, const PipeCounters & after, PipeCounters & outBefore,
            PipeCounters & outAfter ) {
    split( before.ppg, after.ppg, outBefore.ppg, outAfter.ppg );
    split( before.queue, after.queue, outBefore.queue, outAfter.queue );
    if ( before.block && after.block ) {
        split( *before.block, *after.block, outBefore.block.emplace(), outAfter.block.emplace() );
    } else {
        outBefore.block = before.block;
        outAfter.block = after.block;
    }
}

// The way back: brings what differs into `present`.
template <class T>
void bring( const T &, const T & after, T & present ) {
    present = after;
}
void bring( const PipeCounters & before, const PipeCounters & after, PipeCounters & present );
template <class Key, class Value, class Less>
void bring( const std::map<Key, Value, Less> & before, const std::map<Key, Value, Less> & after,
            std::map<Key, Value, Less> & present ) {
    walkBoth( before, after, [&]( const Key & key, const Value * one, const Value * other ) {
        if ( other == nullptr ) {
            present.erase( key );
        } else if ( one == nullptr ) {
            present.insert_or_assign( key, *other );
        } else {
            bring( *one, *other, present[key] );
        }
    } );
}
void bring( const PipeCounters & before, const PipeCounters & after, PipeCounters & present ) {
    bring( before.ppg, after.ppg, present.ppg );
    bring( before.queue, after.queue, present.queue );
    if ( before.block && after.block ) {
        bring( *before.block, *after.block, *present.block );
    } else {
        present.block = after.block;
    }
}

// What is settled at start-up, or small.
DocumentDifference smallPart( const SwitchDocument & before, const SwitchDocument & after ) {
    DocumentDifference part;
    for ( const auto & [from, to] :
          { std::pair{ &before, &part.before }, std::pair{ &after, &part.after } } ) {
        to->device = from->device;
        to->bufferParams = from->bufferParams;
        to->cosToTc = from->cosToTc;
    }
    return part;
}

// So many entries are short work for a switch.
constexpr std::size_t partSize = 2048;

// The step from one map to another as several of bounded size: what goes, then what comes or
// changes.
template <class Map>
std::vector<std::pair<Map, Map>> sliced( Map before, Map after ) {
    std::vector<std::pair<Map, Map>> slices( 1 );
    std::size_t taken = 0;
    const auto slice = [&]() -> std::pair<Map, Map> & {
        if ( taken++ == partSize ) {
            slices.emplace_back();
            taken = 1;
        }
        return slices.back();
    };
    for ( auto entry = before.begin(); entry != before.end(); ) {
        const auto next = std::next( entry );
        if ( !after.contains( entry->first ) ) {
            slice().first.insert( before.extract( entry ) );
        }
        entry = next;
    }
    while ( !after.empty() ) {
        auto & [from, to] = slice();
        auto changed = before.extract( after.begin()->first );
        if ( changed ) {
            from.insert( std::move( changed ) );
        }
        to.insert( after.extract( after.begin() ) );
    }
    return slices;
}

using Parts = std::vector<DocumentDifference>;

// A pipe that is new is one part: its configuration is filled before anybody sees it.
void takeWred( DocumentDifference & whole, Parts & parts ) {
    auto & before = whole.before.wred;
    auto & after = whole.after.wred;
    for ( ; !after.empty(); after.erase( after.begin() ) ) {
        const U16 pipe = after.begin()->first;
        auto old = before.extract( pipe );
        if ( !old ) {
            parts.push_back( smallPart( whole.after, whole.after ) );
            parts.back().after.wred.emplace( pipe, std::move( after.begin()->second ) );
            continue;
        }
        for ( auto & [from, to] :
              sliced( std::move( old.mapped() ), std::move( after.begin()->second ) ) ) {
            parts.push_back( smallPart( whole.after, whole.after ) );
            parts.back().before.wred.emplace( pipe, std::move( from ) );
            parts.back().after.wred.emplace( pipe, std::move( to ) );
        }
    }
}

// Of a pipe's counters only the queues' are many: they come when the pipe is there, and go before
// it goes.
void takeCounters( DocumentDifference & whole, Parts & parts ) {
    walkBoth( whole.before.counters, whole.after.counters,
              [&]( U16 pipe, const PipeCounters * before, const PipeCounters * after ) {
                  const auto part = [&]() -> DocumentDifference & {
                      return parts.emplace_back( smallPart( whole.after, whole.after ) );
                  };
                  const auto withoutQueues = []( PipeCounters counters ) {
                      counters.queue.clear();
                      return counters;
                  };
                  PipeCounters still; // the pipe as it is while its queues are changed
                  if ( after != nullptr ) {
                      DocumentDifference & first = part();
                      first.after.counters.emplace( pipe, withoutQueues( *after ) );
                      if ( before != nullptr ) {
                          first.before.counters.emplace( pipe, withoutQueues( *before ) );
                      }
                  }
                  if ( ( after != nullptr ? after : before )->block ) {
                      still.block.emplace();
                  }
                  for ( auto & [from, to] :
                        sliced( before != nullptr ? before->queue : std::map<U16, U64>(),
                                after != nullptr ? after->queue : std::map<U16, U64>() ) ) {
                      DocumentDifference & slice = part();
                      slice.before.counters.emplace( pipe, still ).first->second.queue = from;
                      slice.after.counters.emplace( pipe, still ).first->second.queue = to;
                  }
                  if ( after == nullptr ) {
                      part().before.counters.emplace( pipe, withoutQueues( *before ) );
                  }
              } );
    whole.before.counters.clear();
    whole.after.counters.clear();
}

} // namespace

DocumentDifference differenceOf( const SwitchDocument & before, const SwitchDocument & after ) {
    DocumentDifference result = smallPart( before, after );
    split( before.ports, after.ports, result.before.ports, result.after.ports );
    split( before.wred, after.wred, result.before.wred, result.after.wred );
    split( before.counters, after.counters, result.before.counters, result.after.counters );
    split( before.countersLastClear, after.countersLastClear, result.before.countersLastClear,
           result.after.countersLastClear );
    return result;
}

DocumentDifference counterDifferenceOf( const SwitchDocument & before,
                                        const CounterStore & after ) {
    DocumentDifference result = smallPart( before, before );
    split( before.counters, after, result.before.counters, result.after.counters );
    return result;
}

void apply( const DocumentDifference & difference, SwitchDocument & document ) {
    const auto & [before, after] = difference;
    document.device = after.device;
    document.bufferParams = after.bufferParams;
    document.cosToTc = after.cosToTc;
    bring( before.ports, after.ports, document.ports );
    bring( before.wred, after.wred, document.wred );
    bring( before.counters, after.counters, document.counters );
    bring( before.countersLastClear, after.countersLastClear, document.countersLastClear );
}

std::vector<DocumentDifference> inParts( DocumentDifference difference ) {
    std::vector<DocumentDifference> parts;
    takeWred( difference, parts );
    takeCounters( difference, parts );
    parts.insert( parts.begin(), std::move( difference ) ); // with the WRED pipes that go
    return parts;
}

} // namespace KelHost
