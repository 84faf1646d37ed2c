#pragma once

#include "Platform/Framework/Types.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <functional>
#include <vector>

namespace Kel {

// Hash of a key: its own hash() when it has one, else that of the standard library.
template <class Key>
struct Hash {
    std::size_t operator()( const Key & key ) const noexcept {
        if constexpr ( requires {
                           { key.hash() } -> std::convertible_to<std::size_t>;
                       } ) {
            return key.hash();
        } else {
            return std::hash<Key>{}( key );
        }
    }
};

// Finds places in an array of the caller's by the hashes of what is stored there. The caller says
// what the hash of a place is, and whether a place holds what is looked for. Open addressing with
// linear probing, at most half full; as long as there are few places, the buckets are inside the
// index itself.
class HashIndex {
    // Calls f with the buckets in use.
    template <class Self, class F>
    static auto withBuckets( Self & self, const F & f ) {
        return self.isForFew() ? f( self.fewBuckets_ ) : f( self.buckets_ );
    }
    template <class Buckets>
    static void setEntry( Buckets & buckets, std::size_t bucket, U32 entry ) {
        buckets[bucket] = static_cast<typename Buckets::value_type>( entry );
    }

    // Where the search for a hash begins.
    template <class Buckets>
    static std::size_t home( const Buckets & buckets, std::size_t hash ) {
        // Fibonacci hashing: the high bits of the product are well mixed even for small integers.
        const int shift = std::countl_zero( buckets.size() ) + 1;
        return static_cast<std::size_t>( ( hash * 0x9E3779B97F4A7C15U ) >> shift );
    }
    template <class Buckets>
    static std::size_t after( const Buckets & buckets, std::size_t bucket ) {
        return ( bucket + 1 ) & ( buckets.size() - 1 );
    }

  public:
    static constexpr U32 absent = 0xFFFFFFFF;
    static constexpr std::size_t few = 8;

    // Whether the buckets are those for a few places, numbered below `few`.
    bool isForFew() const { return buckets_.empty(); }
    // How many places fit.
    std::size_t room() const { return isForFew() ? few : buckets_.size() / 2; }

    // Empties it, and makes room for a few places, or for the given number, which is larger.
    void resetForFew() {
        buckets_.clear();
        fewBuckets_ = {};
    }
    void resetFor( std::size_t places ) { buckets_.assign( 2 * std::bit_ceil( places ), 0 ); }

    // The place with this hash for which isIt( place ) holds, or `absent`.
    template <class IsIt>
    U32 find( std::size_t hash, const IsIt & isIt ) const {
        return withBuckets( *this, [&]( const auto & buckets ) {
            std::size_t bucket = home( buckets, hash );
            while ( const U32 entry = buckets[bucket] ) {
                if ( isIt( entry - 1 ) ) {
                    return entry - 1;
                }
                bucket = after( buckets, bucket );
            }
            return absent;
        } );
    }

    // There must be room.
    void insert( std::size_t hash, U32 place ) {
        withBuckets( *this, [&]( auto & buckets ) {
            std::size_t bucket = home( buckets, hash );
            while ( buckets[bucket] != 0 ) {
                bucket = after( buckets, bucket );
            }
            setEntry( buckets, bucket, place + 1 );
        } );
    }

    // Frees the bucket of a place that is in the index, and moves later buckets of its run forward,
    // so that look-ups need no tombstones. hashOf( place ) is the hash of a place.
    template <class HashOf>
    void erase( U32 place, const HashOf & hashOf ) {
        withBuckets( *this, [&]( auto & buckets ) {
            std::size_t hole = home( buckets, hashOf( place ) );
            while ( buckets[hole] != place + 1 ) {
                hole = after( buckets, hole );
            }
            const std::size_t mask = buckets.size() - 1;
            for ( std::size_t bucket = after( buckets, hole ); buckets[bucket] != 0;
                  bucket = after( buckets, bucket ) ) {
                const std::size_t wanted = home( buckets, hashOf( buckets[bucket] - 1U ) );
                if ( ( ( bucket - wanted ) & mask ) >= ( ( bucket - hole ) & mask ) ) {
                    buckets[hole] = buckets[bucket];
                    hole = bucket;
                }
            }
            buckets[hole] = 0;
        } );
    }

  private:
    // Place + 1; 0: free. fewBuckets_ is in use as long as buckets_ is empty.
    std::array<U8, 2 * few> fewBuckets_{};
    std::vector<U32> buckets_;
};

} // namespace Kel
