#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/HashIndex.h"
#include "Platform/Framework/Types.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace Kel {

// A hash map that iterates in insertion order; a key that is removed and inserted again goes to the
// end.
//
// A loop over the map stays valid whatever its body does to it, short of destroying it: it visits
// the entries that were there when it began, except those that are removed before their turn, so it
// ends even if its body puts back what it takes out. The loop variable is a copy of the entry.
//
// The entries lie in one array in the order of their insertion, and an index finds them there. A
// removed entry leaves a gap in the array, which a later insertion squeezes out when no walk is
// under way.
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

        // Must be read before the loop's body removes the entry.
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

    // The value under the key, or null. The address is valid until the map changes.
    const Value * find( const Key & key ) const {
        const U32 position = positionOf( key );
        return position == HashIndex::absent ? nullptr : &slots_[position].value;
    }
    Value * find( const Key & key ) {
        return const_cast<Value *>( std::as_const( *this ).find( key ) );
    }
    bool contains( const Key & key ) const { return positionOf( key ) != HashIndex::absent; }

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
#ifndef NDEBUG
        KEL_ASSERT( !contains( key ) );
#endif
        makeRoom();
        const auto position = static_cast<U32>( slots_.size() );
        slots_.push_back( Slot{ key, true, std::move( value ) } );
        ++size_;
        index_.insert( hashOf( position ), position );
    }

    // Removes the entry and returns its value, or nothing when the key is absent.
    std::optional<Value> take( const Key & key ) {
        const U32 position = positionOf( key );
        if ( position == HashIndex::absent ) {
            return std::nullopt;
        }
        index_.erase( position, [&]( U32 other ) { return hashOf( other ); } );
        Slot & slot = slots_[position];
        slot.live = false;
        --size_;
        std::optional<Value> value( std::exchange( slot.value, Value{} ) );
        if ( size_ == 0 && walks_ == 0 ) {
            slots_.clear();
        }
        return value;
    }
    bool erase( const Key & key ) { return take( key ).has_value(); }

    // Removes all entries, including those that destructors of removed values insert meanwhile.
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
    U32 positionOf( const Key & key ) const {
        return index_.find( Hash<Key>()( key ),
                            [&]( U32 position ) { return slots_[position].key == key; } );
    }
    std::size_t hashOf( U32 position ) const { return Hash<Key>()( slots_[position].key ); }

    // Makes room in the array and in the index for one more entry. Positions change only when no
    // walk is under way.
    void makeRoom() {
        constexpr std::size_t few = HashIndex::few;
        if ( index_.isForFew() && slots_.size() < few ) {
            slots_.reserve( few );
            return;
        }
        const std::size_t size = size_ + std::size_t{ 1 };
        const bool squeezes =
            walks_ == 0 && slots_.size() >= ( index_.isForFew() ? size : 2 * size + few );
        if ( squeezes ) {
            std::erase_if( slots_, []( const Slot & slot ) { return !slot.live; } );
        }
        if ( index_.isForFew() && slots_.size() < few ) {
            index_.resetForFew();
            indexAll();
        } else if ( index_.isForFew() || squeezes || size > index_.room() ) {
            index_.resetFor( std::max( size, few ) );
            indexAll();
        }
    }

    void indexAll() {
        for ( U32 position = 0; position < slots_.size(); ++position ) {
            if ( slots_[position].live ) {
                index_.insert( hashOf( position ), position );
            }
        }
    }

    std::vector<Slot> slots_;
    HashIndex index_;
    U32 size_ = 0;
    mutable U32 walks_ = 0;
};

} // namespace Kel
