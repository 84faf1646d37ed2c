#pragma once

#include "Platform/Framework/Clock.h"
#include "Platform/Framework/Notifiee.h"
#include "Platform/Framework/Ptr.h"

#include <concepts>
#include <type_traits>
#include <utility>

namespace Kel {

// What a handler looks like: a member function without arguments, or with the key of the member of
// a collection that came, changed or went.
template <class Function>
struct HandlerTraits;
template <class C>
struct HandlerTraits<void ( C::* )()> {
    using Class = C;
    using Key = void;
};
template <class C, class K>
struct HandlerTraits<void ( C::* )( K )> {
    using Class = C;
    using Key = std::remove_cvref_t<K>;
};

// Picks, of the overloads of a handler, the one that takes a key of this type.
template <class Key, class C>
constexpr auto withKey( void ( C::*handler )( Key ) ) {
    return handler;
}

// A row of a table: `calls<&VelX::handleY>( Entity::yAttr )`. The handler is one of the reactor's
// own, or else one of its owner's.
template <auto handler>
struct HandlerRow {
    AttributeId id;
};
template <auto handler>
constexpr HandlerRow<handler> calls( AttributeId id ) {
    return { id };
}

// Which handler a reactor of class R calls for an attribute: one of its own, or one of its owner's.
// A handler that takes a key is only called when one comes with the change.
template <class R>
class Handler {
  public:
    template <auto handler>
    constexpr Handler( HandlerRow<handler> row ) : id_( row.id ), call_( invoke<handler> ) {}

    AttributeId id() const { return id_; }
    void call( R & reactor, const void * key ) const { call_( reactor, key ); }

  private:
    template <auto handler>
    static void invoke( R & reactor, const void * key ) {
        using Traits = HandlerTraits<decltype( handler )>;
        auto & target = targetOf<typename Traits::Class>( reactor );
        if constexpr ( std::is_void_v<typename Traits::Key> ) {
            ( target.*handler )();
        } else if ( key ) {
            ( target.*handler )( *static_cast<const typename Traits::Key *>( key ) );
        }
    }
    template <class Class>
    static auto & targetOf( R & reactor ) {
        if constexpr ( std::derived_from<R, Class> ) {
            return reactor;
        } else {
            return *reactor.owner();
        }
    }

    AttributeId id_;
    void ( *call_ )( R &, const void * );
};

// A reactor of a state machine: it knows the entity that it watches and the owner that holds it,
// the state machine or another reactor. `Self` is the class that derives from this one. It says, in
// a table `handlers` of its own, which attribute calls which handler, and, in handleNotifier(),
// what to do when another entity is to be watched:
//
//     class VelX : public Kel::Reactor<VelX, X, OwnerSm> {
//       public:
//         static constexpr Kel::Handler<VelX> handlers[]{ Kel::calls<&VelX::handleY>( X::yAttr ) };
//
// Handlers are only called while there is an owner and an entity, and reactor, owner and the state
// machine at the top live until they return. A handler may publish, and whoever watches may change
// anything; so after such a call it asks isAtWork() again before it goes on.
template <class Self, class Entity, class Owner, class Base = NotifieeOf<Entity>>
class Reactor : public Base {
  public:
    // The entity may be null; then there is nothing to react to.
    Reactor( Ptr<const Entity> notifier, Owner * owner )
        : Base( std::move( notifier ) ), owner_( owner ) {}

    // Null once this reactor was dismissed.
    Owner * owner() const { return owner_; }

    // The end of this reactor, in one act: it hears nothing any more, and cannot reach its owner.
    // Whoever still holds it holds something that does nothing.
    virtual void dismiss() {
        owner_ = nullptr;
        this->zombieIs( true );
    }
    // One that was dismissed stays a zombie.
    void zombieIs( bool zombie ) override { Base::zombieIs( zombie || !owner_ ); }

    // The work of a new reactor, when its owner has it in its collection.
    virtual void handleInitialized() {}
    // Releases what it holds in the chip. Called when it has left its owner's collection and hears
    // nothing any more, but can still reach its owner.
    virtual void cleanup() {}
    // Another entity is watched from now on; not called for none.
    virtual void handleNotifier() {}
    // Tells those who watch the owner that it has another entity, or none.
    virtual void tellOfNotifier() {}

    void onAttribute( AttributeId id, const void * key ) final {
        if ( !isAtWork() ) {
            return;
        }
        for ( const Handler<Self> & handler : Self::handlers ) {
            if ( handler.id() == id ) {
                const Alive alive( *this );
                handler.call( static_cast<Self &>( *this ), key );
                return;
            }
        }
    }
    void notifierIs( Ptr<const Entity> notifier ) final {
        if ( notifier.get() == this->notifier() ) {
            return;
        }
        Base::notifierIs( std::move( notifier ) );
        if ( this->isBeingDestroyed() || this->isZombie() ) {
            return;
        }
        const Ptr<Notifiee> self( this );
        const Alive alive( *this );
        if ( isAtWork() ) {
            handleNotifier();
        }
        if ( !this->isZombie() ) {
            tellOfNotifier();
        }
    }

    // The state machine at the top of the tree of reactors.
    const Counted * top() const {
        if constexpr ( requires( const Owner & owner ) { owner.top(); } ) {
            return owner_ ? owner_->top() : nullptr;
        } else {
            return owner_;
        }
    }

  protected:
    // Whether there is something to react to, and somebody to do it for. False for good once it is
    // dismissed; a handler that has published asks again.
    bool isAtWork() const { return !this->isZombie() && this->notifier(); }
    // Whether, besides, the entity is still that one.
    bool isAtWorkOn( const Entity * entity ) const {
        return isAtWork() && this->notifier() == entity;
    }

  private:
    // Holds those that a handler works for.
    struct Alive {
        explicit Alive( const Reactor & reactor ) : owner( reactor.owner_ ), top( reactor.top() ) {}
        Ptr<const Counted> owner;
        Ptr<const Counted> top;
    };

    Owner * owner_;
};

// A reactor on a Clock or a TimerWheel: its table has the one row of TimeSource::timeMinAttr.
template <class Self, class Source, class Owner>
using TimedReactor = Reactor<Self, Source, Owner, TimedNotifiee<Source>>;

} // namespace Kel
