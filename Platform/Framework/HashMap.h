#pragma once

#include "Platform/Framework/Types.h"

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
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

// A hash map that iterates in insertion order; a key that is inserted again goes to the end.
//
// A loop over the map stays valid whatever its body does to it, short of destroying it: it visits
// the entries that were there when it began, less those that are removed before their turn, and so
// ends even when its body puts back what it takes out. The loop variable is a copy of the entry.
//
// The entries lie in one array in the order of their insertion, and an open-addressing table of
// array positions, at most half full, finds them; as long as there are few of them that table lies
// in the map itself. A removed entry leaves a gap in the array, which a later insertion squeezes
// out when no walk is under way.
//
// Key and Value must be default constructible and movable.
template <class Key, class Value>
class HashMap {
    struct Slot {
        Key key{};
        bool live = false;
        Value value{};
    };

  public:
    struct Entry {
        Key key;
        Value value;
    };

    class Iterator {
      public:
        explicit Iterator( const HashMap & map ) : map_( map ), end_( map.slots_.size() ) {
            ++map_.walks_;
            skipGaps();
        }
        Iterator( const Iterator & ) = delete;
        Iterator & operator=( const Iterator & ) = delete;
        ~Iterator() { --map_.walks_; }

        // To be asked for before the loop's body removes the entry.
        Entry operator*() const {
            const Slot & slot = map_.slots_[position_];
            return { slot.key, slot.value };
        }
        Iterator & operator++() {
            ++position_;
            skipGaps();
            return *this;
        }
        bool operator!=( std::nullptr_t ) const { return position_ < end_; }

      private:
        void skipGaps() {
            while ( position_ < end_ && !map_.slots_[position_].live ) {
                ++position_;
            }
        }

        const HashMap & map_;
        const std::size_t end_;
        std::size_t position_ = 0;
    };

    HashMap() = default;
    HashMap( const HashMap & ) = delete;
    HashMap & operator=( const HashMap & ) = delete;

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    Iterator begin() const { return Iterator( *this ); }
    std::nullptr_t end() const { return nullptr; }

    // Calls f( key, value ) for every entry without copying it. The map must not change meanwhile.
    template <class F>
    void visit( F && f ) const {
        if ( size_ == slots_.size() ) {
            for ( const Slot & slot : slots_ ) {
                f( slot.key, slot.value );
            }
            return;
        }
        for ( const Slot & slot : slots_ ) {
            if ( slot.live ) {
                f( slot.key, slot.value );
            }
        }
    }

    // The value under the key, or null. The address is good until the map changes.
    const Value * find( const Key & key ) const {
        const U32 position = positionOf( key );
        return position == absent ? nullptr : &slots_[position].value;
    }
    Value * find( const Key & key ) {
        return const_cast<Value *>( std::as_const( *this ).find( key ) );
    }
    bool contains( const Key & key ) const { return positionOf( key ) != absent; }

    // Inserts at the end, or replaces the value under the key in its place. Returns whether the key
    // is new.
    bool insertOrAssign( const Key & key, Value value ) {
        if ( Value * present = find( key ) ) {
            *present = std::move( value );
            return false;
        }
        insertNew( key, std::move( value ) );
        return true;
    }
    // The same for a key that is known to be absent.
    void insertNew( const Key & key, Value value ) {
        makeRoom();
        const auto position = static_cast<U32>( slots_.size() );
        slots_.push_back( Slot{ key, true, std::move( value ) } );
        ++size_;
        withTable( [&]( auto & table ) { link( table, position ); } );
    }

    // Removes the entry and returns its value, or nothing when the key is absent.
    std::optional<Value> take( const Key & key ) {
        const U32 position = positionOf( key );
        if ( position == absent ) {
            return std::nullopt;
        }
        withTable( [&]( auto & table ) { unlink( table, position ); } );
        Slot & slot = slots_[position];
        slot.live = false;
        --size_;
        std::optional<Value> value( std::move( slot.value ) );
        slot.value = Value{};
        if ( size_ == 0 && walks_ == 0 ) {
            slots_.clear();
        }
        return value;
    }
    bool erase( const Key & key ) { return take( key ).has_value(); }

    // Removes all entries, those that destructors of removed values insert meanwhile included.
    void clear() {
        while ( size_ != 0 ) {
            for ( std::size_t i = 0; i < slots_.size(); ++i ) {
                if ( slots_[i].live ) {
                    const Key key = slots_[i].key;
                    erase( key );
                }
            }
        }
    }

  private:
    static constexpr U32 absent = 0xFFFFFFFF;
    static constexpr std::size_t few = 8;

    bool hasFewSlots() const { return table_.empty(); }
    // Calls f with the table in use.
    template <class F>
    auto withTable( const F & f ) const {
        return hasFewSlots() ? f( fewTable_ ) : f( table_ );
    }
    template <class F>
    auto withTable( const F & f ) {
        return hasFewSlots() ? f( fewTable_ ) : f( table_ );
    }

    template <class Table>
    static std::size_t firstBucket( const Table & table, const Key & key ) {
        // Fibonacci hashing: the high bits of the product are well mixed even for small integers.
        const int shift = std::countl_zero( table.size() ) + 1;
        const U64 product = Hash<Key>()( key ) * 0x9E3779B97F4A7C15U;
        return static_cast<std::size_t>( product >> shift );
    }
    template <class Table>
    static std::size_t bucketAfter( const Table & table, std::size_t bucket ) {
        return ( bucket + 1 ) & ( table.size() - 1 );
    }

    U32 positionOf( const Key & key ) const {
        return withTable( [&]( const auto & table ) {
            std::size_t bucket = firstBucket( table, key );
            while ( const U32 entry = table[bucket] ) {
                if ( slots_[entry - 1].key == key ) {
                    return entry - 1;
                }
                bucket = bucketAfter( table, bucket );
            }
            return absent;
        } );
    }

    template <class Table>
    void link( Table & table, U32 position ) {
        std::size_t bucket = firstBucket( table, slots_[position].key );
        while ( table[bucket] != 0 ) {
            bucket = bucketAfter( table, bucket );
        }
        table[bucket] = static_cast<typename Table::value_type>( position + 1 );
    }

    // Frees the bucket of a position and moves later ones of its run forward, so that look-ups need
    // no markers.
    template <class Table>
    void unlink( Table & table, U32 position ) {
        std::size_t hole = firstBucket( table, slots_[position].key );
        while ( table[hole] != position + 1 ) {
            hole = bucketAfter( table, hole );
        }
        const std::size_t mask = table.size() - 1;
        for ( std::size_t bucket = bucketAfter( table, hole ); table[bucket] != 0;
              bucket = bucketAfter( table, bucket ) ) {
            const std::size_t home = firstBucket( table, slots_[table[bucket] - 1U].key );
            if ( ( ( bucket - home ) & mask ) >= ( ( bucket - hole ) & mask ) ) {
                table[hole] = table[bucket];
                hole = bucket;
            }
        }
        table[hole] = 0;
    }

    // Makes the array and the table fit for one more entry. Positions change only when no walk is
    // under way.
    void makeRoom() {
        if ( hasFewSlots() && slots_.size() < few ) {
            slots_.reserve( few );
            return;
        }
        const std::size_t size = size_ + std::size_t{ 1 };
        const bool squeezes =
            walks_ == 0 && slots_.size() >= ( hasFewSlots() ? size : 2 * size + few );
        if ( squeezes ) {
            std::erase_if( slots_, []( const Slot & slot ) { return !slot.live; } );
        }
        if ( !hasFewSlots() || slots_.size() >= few ) {
            if ( squeezes || 2 * size > table_.size() ) {
                table_.assign( std::bit_ceil( 2 * std::max( size, few ) ), 0 );
                linkAll( table_ );
            }
        } else {
            fewTable_ = {};
            linkAll( fewTable_ );
        }
    }

    template <class Table>
    void linkAll( Table & table ) {
        for ( std::size_t i = 0; i < slots_.size(); ++i ) {
            if ( slots_[i].live ) {
                link( table, static_cast<U32>( i ) );
            }
        }
    }

    std::vector<Slot> slots_;
    // Position + 1 of the entry, 0: free. The first is in use while the second is empty.
    std::array<U8, 2 * few> fewTable_{};
    std::vector<U32> table_;
    U32 size_ = 0;
    mutable U32 walks_ = 0;
};

} // namespace Kel
