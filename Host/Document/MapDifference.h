#pragma once

namespace KelHost {

// Calls removed( key, value ) for each entry whose key is gone, in the order of the keys.
template <class Map, class F>
void forRemoved( const Map & before, const Map & after, F && removed ) {
    for ( const auto & [key, value] : before ) {
        if ( !after.contains( key ) ) {
            removed( key, value );
        }
    }
}

// Calls changed( key, old, value ) for each entry that is new or has another value, in the order of
// the keys; `old` is null for a new one.
template <class Map, class F>
void forAddedOrChanged( const Map & before, const Map & after, F && changed ) {
    for ( const auto & [key, value] : after ) {
        const auto found = before.find( key );
        const auto * old = found == before.end() ? nullptr : &found->second;
        if ( !old || !( *old == value ) ) {
            changed( key, old, value );
        }
    }
}

} // namespace KelHost
