#pragma once

#include "Platform/Framework/HashMap.h"
#include "Platform/Framework/Ptr.h"

#include <cstddef>
#include <utility>

namespace Kel {

// The reactors on the members of a collection of entities, each under its member's key. They follow
// the members one to one, whatever is changed by those who watch what a reactor publishes while it
// starts or ends: a new one is in here before its work begins, so that it hears of its own removal
// or replacement; and one that goes leaves before it is cleaned up, so that its member may be back,
// with a new reactor, before the old one has done.
template <class Key, class R>
class ReactorCollection : private HashMap<Key, Ptr<R>> {
    using Map = HashMap<Key, Ptr<R>>;

  public:
    ReactorCollection() = default;
    ~ReactorCollection() { dismiss(); }

    using Map::begin;
    using Map::clear;
    using Map::contains;
    using Map::empty;
    using Map::end;
    using Map::find;
    using Map::size;
    using Map::visit;

    // The reactor, or null.
    Ptr<R> get( const Key & key ) const {
        const Ptr<R> * reactor = Map::find( key );
        return reactor ? *reactor : nullptr;
    }

    // Points the reactor under the key to the entity; when there is none, `make( entity )` makes
    // one. Returns the reactor, which may have gone again already.
    template <class EntityPtr, class Make>
    Ptr<R> is( Key key, EntityPtr entity, const Make & make ) {
        if ( const Ptr<R> * found = Map::find( key ) ) {
            Ptr<R> present = *found;
            present->notifierIs( std::move( entity ) );
            return present;
        }
        Ptr<R> made = make( std::move( entity ) );
        made->hasNotificationActiveIs( true );
        Map::insertNew( key, made );
        try {
            made->handleInitialized();
        } catch ( ... ) {
            if ( get( key ) == made ) {
                del( key ); // none is kept half made
            }
            throw;
        }
        return made;
    }
    // Cleans the reactor up and dismisses it, if there is one. Returns whether there was.
    bool del( Key key ) {
        const auto left = Map::take( key );
        if ( !left ) {
            return false;
        }
        R & reactor = **left;
        const Ptr<const Counted> alive( reactor.top() );
        reactor.zombieIs( true );
        reactor.cleanup();
        reactor.dismiss();
        return true;
    }

    // Two steps make the reactors those of `members`: is( key, member ) for each of them, then
    // del( key ) for every reactor without a member. Either ends early when `stillOf()` says that
    // these are no longer the members to follow. The caller keeps their entity alive.
    template <class Members, class StillOf, class Is>
    static void follow( const Members & members, const StillOf & stillOf, const Is & is ) {
        for ( auto entry : members ) {
            if ( !stillOf() ) {
                return;
            }
            is( entry.key, std::move( entry.value ) );
        }
    }
    template <class Members, class StillOf, class Del>
    void delOthers( const Members & members, const StillOf & stillOf, const Del & del ) const {
        // Once all members are followed there can be others only if there are more of them.
        if ( size() == members.size() ) {
            return;
        }
        for ( const auto & entry : *this ) {
            if ( !stillOf() ) {
                return;
            }
            if ( !members.has( entry.key ) ) {
                del( entry.key );
            }
        }
    }

    // All of them at once.
    void hasNotificationActiveIs( bool on ) {
        visit( [on]( const Key &, const Ptr<R> & reactor ) {
            reactor->hasNotificationActiveIs( on );
        } );
    }
    void zombieIs( bool zombie ) {
        visit( [zombie]( const Key &, const Ptr<R> & reactor ) { reactor->zombieIs( zombie ); } );
    }
    void dismiss() {
        visit( []( const Key &, const Ptr<R> & reactor ) { reactor->dismiss(); } );
    }
};

} // namespace Kel
