#pragma once

#include "Platform/Framework/Assert.h"

#include <map>
#include <utility>

namespace Kel {

// A map that iterates in ascending key order. Inserting a key that is already there is a
// programming error; insertOrAssign replaces.
template <class Key, class Value>
class RbTreeMap {
  public:
    using Iterator = typename std::map<Key, Value>::const_iterator;

    std::size_t size() const { return map_.size(); }
    bool empty() const { return map_.empty(); }
    Iterator begin() const { return map_.begin(); }
    Iterator end() const { return map_.end(); }

    Value * find( const Key & key ) {
        const auto found = map_.find( key );
        return found == map_.end() ? nullptr : &found->second;
    }
    const Value * find( const Key & key ) const {
        const auto found = map_.find( key );
        return found == map_.end() ? nullptr : &found->second;
    }
    bool contains( const Key & key ) const { return map_.contains( key ); }

    void insert( const Key & key, Value value ) {
        const bool inserted = map_.emplace( key, std::move( value ) ).second;
        KEL_ASSERT( inserted );
    }
    // Inserts, or replaces the value under the key. Cheapest when keys come in ascending order.
    void insertOrAssign( const Key & key, Value value ) {
        map_.insert_or_assign( map_.end(), key, std::move( value ) );
    }
    // Removes one entry, if present; the iterator form returns the entry after it.
    bool erase( const Key & key ) { return map_.erase( key ) != 0; }
    Iterator erase( Iterator position ) { return map_.erase( position ); }
    void clear() { map_.clear(); }

    friend bool operator==( const RbTreeMap & a, const RbTreeMap & b ) = default;

  private:
    std::map<Key, Value> map_;
};

} // namespace Kel
