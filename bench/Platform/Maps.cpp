// Look-up and iteration of maps with 8 and 256 keys: port numbers and interface names.

#include "Platform/Entities/IntfId.h"
#include "Platform/Entities/PortIndex.h"
#include "Platform/Framework/HashMap.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <string>
#include <unordered_map>
#include <vector>

namespace KelBench {

namespace {

using Kel::IntfId;
using KelPortTypes::PortIndex;

// The peers hash with what the key provides for any map.
struct KeyHash {
    template <class Key>
    std::size_t operator()( const Key & key ) const {
        return key.hash();
    }
};
// The best that can be done for the peer: its own mixing of the key.
struct AbslKeyHash {
    template <class Key>
    std::size_t operator()( const Key & key ) const {
        return absl::Hash<std::size_t>{}( key.hash() );
    }
};

template <class Key>
using KelMap = Kel::HashMap<Key, U64>;
template <class Key>
using StdMap = std::unordered_map<Key, U64, KeyHash>;
template <class Key>
using AbslMap = absl::flat_hash_map<Key, U64, AbslKeyHash>;

template <class Key>
Key makeKey( U32 number );
template <>
PortIndex makeKey( U32 number ) {
    return PortIndex( number / 64 * 128 + number % 64 );
}
template <>
IntfId makeKey( U32 number ) {
    return IntfId( "Ethernet" + std::to_string( number + 1 ) );
}

template <class Key>
void insert( KelMap<Key> & map, const Key & key, U64 value ) {
    map.insertOrAssign( key, value );
}
template <class Map, class Key>
void insert( Map & map, const Key & key, U64 value ) {
    map.emplace( key, value );
}

template <class Key>
U64 valueOf( const KelMap<Key> & map, const Key & key ) {
    const U64 * value = map.find( key );
    return value ? *value : 0;
}
template <class Map, class Key>
U64 valueOf( const Map & map, const Key & key ) {
    const auto found = map.find( key );
    return found == map.end() ? 0 : found->second;
}

template <class Key>
std::vector<Key> keysOf( const benchmark::State & state ) {
    std::vector<Key> keys;
    for ( U32 number = 0; number < static_cast<U32>( state.range( 0 ) ); ++number ) {
        keys.push_back( makeKey<Key>( number ) );
    }
    return keys;
}

// Every key once, in an order that no map knows; time per look-up.
template <class Key, class Map>
void lookUp( benchmark::State & state ) {
    const auto keys = keysOf<Key>( state );
    Map map;
    std::vector<Key> asked;
    for ( std::size_t i = 0; i < keys.size(); ++i ) {
        insert( map, keys[i], i );
        asked.push_back( keys[i * 37 % keys.size()] );
    }
    for ( auto _ : state ) {
        for ( const Key & key : asked ) {
            benchmark::DoNotOptimize( valueOf( map, key ) );
        }
    }
    state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}

// The loop that lets its body change the map.
template <class Map>
U64 sumOf( const Map & map ) {
    U64 sum = 0;
    for ( const auto & [key, value] : map ) {
        sum += value;
    }
    return sum;
}
// The one that does not, as with the other maps.
template <class Key>
U64 sumOfVisited( const KelMap<Key> & map ) {
    U64 sum = 0;
    map.visit( [&]( const Key &, U64 value ) { sum += value; } );
    return sum;
}
template <class Map>
U64 sumOfVisited( const Map & map ) {
    return sumOf( map );
}

// A whole loop; time per entry.
template <class Key, class Map>
void iterate( benchmark::State & state ) {
    Map map;
    for ( const Key & key : keysOf<Key>( state ) ) {
        insert( map, key, 1 );
    }
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( map );
        benchmark::DoNotOptimize( sumOfVisited( map ) );
    }
    state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}

template <class Key>
void iterateWhileChanging( benchmark::State & state ) {
    KelMap<Key> map;
    for ( const Key & key : keysOf<Key>( state ) ) {
        insert( map, key, 1 );
    }
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( map );
        benchmark::DoNotOptimize( sumOf( map ) );
    }
    state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}

#define KEL_BENCH_MAPS( key )                                                                      \
    BENCHMARK( lookUp<key, KelMap<key>> )->Arg( 8 )->Arg( 256 );                                   \
    BENCHMARK( lookUp<key, StdMap<key>> )->Arg( 8 )->Arg( 256 );                                   \
    BENCHMARK( lookUp<key, AbslMap<key>> )->Arg( 8 )->Arg( 256 );                                  \
    BENCHMARK( iterate<key, KelMap<key>> )->Arg( 8 )->Arg( 256 );                                  \
    BENCHMARK( iterate<key, StdMap<key>> )->Arg( 8 )->Arg( 256 );                                  \
    BENCHMARK( iterate<key, AbslMap<key>> )->Arg( 8 )->Arg( 256 );                                 \
    BENCHMARK( iterateWhileChanging<key> )->Arg( 8 )->Arg( 256 );

KEL_BENCH_MAPS( PortIndex )
KEL_BENCH_MAPS( IntfId )

} // namespace

} // namespace KelBench
