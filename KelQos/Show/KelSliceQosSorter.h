#pragma once

#include "Platform/Framework/RbTreeMap.h"

#include <cstddef>
#include <string>
#include <utility>

namespace KelQos {

// A sorter holds records by key and iterates over them in ascending key order, whatever the order
// in which they were added. !sorter is true when it is empty. Its text form is None, from which
// nothing can be read back: constructing a sorter from a text aborts.
template <class Key, class Element>
class Sorter {
  public:
    using Map = Kel::RbTreeMap<Key, Element>;
    using Iterator = typename Map::Iterator;

    std::size_t size() const { return map_.size(); }
    bool empty() const { return map_.empty(); }
    Iterator begin() const { return map_.begin(); }
    Iterator end() const { return map_.end(); }

    bool operator!() const { return empty(); }
    friend bool operator==( const Sorter &, const Sorter & ) = default;
    friend std::string valueToStrep( const Sorter & ) { return "None"; }

  protected:
    void set( const Key & key, Element element ) {
        map_.insertOrAssign( key, std::move( element ) );
    }
    Element get( const Key & key ) const {
        const Element * present = map_.find( key );
        return present ? *present : Element();
    }
    bool has( const Key & key ) const { return map_.contains( key ); }

    Map map_;
};

// A sorter of counter records. Setting replaces the record under the key, an absent record reads as
// a default one, and removing by iterator returns an iterator to the next record.
template <class Key, class Element>
class CounterDataSorter : public Sorter<Key, Element> {
  public:
    using typename Sorter<Key, Element>::Iterator;

    Element counterData( const Key & key ) const { return this->get( key ); }
    bool counterDataHas( const Key & key ) const { return this->has( key ); }
    void counterDataDel( const Key & key ) { this->map_.erase( key ); }
    Iterator counterDataDel( Iterator position ) { return this->map_.erase( position ); }
    void counterDataDelAll() { this->map_.clear(); }
};

} // namespace KelQos
