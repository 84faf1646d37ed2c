#include "Platform/Framework/Entity.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Framework/Notifiee.h"

#include <utility>

namespace Kel {

Entity::~Entity() {
    // Notifiees and observers hold references to what they watch.
    KEL_ASSERT( !firstNotifiee_ && !firstObserver_ );
    while ( firstChild_ ) {
        firstChild_->leaveParent();
    }
    leaveParent();
}

void Entity::parentIs( Entity * parent ) {
    if ( parent == parent_ ) {
        return;
    }
    if ( parent && parent_ ) {
        throw ParentException( "an entity that has a parent was given to a second one" );
    }
    for ( const Entity * above = parent; above; above = above->parent_ ) {
        if ( above == this ) {
            throw ParentException( "an entity was to become a parent of itself" );
        }
    }
    leaveParent();
    if ( parent ) {
        parent_ = parent;
        nextSibling_ = std::exchange( parent->firstChild_, this );
        if ( nextSibling_ ) {
            nextSibling_->previousSibling_ = this;
        }
    }
}

void Entity::leaveParent() noexcept {
    if ( parent_ ) {
        ( previousSibling_ ? previousSibling_->nextSibling_ : parent_->firstChild_ ) = nextSibling_;
        if ( nextSibling_ ) {
            nextSibling_->previousSibling_ = previousSibling_;
        }
        parent_ = previousSibling_ = nextSibling_ = nullptr;
    }
}

void Entity::tellAbove() const {
    for ( const Entity * member = this; const Entity * above = member->parent_; member = above ) {
        for ( auto * observer = above->firstObserver_; observer; observer = observer->next_ ) {
            observer->memberChanged( *member );
        }
    }
}

void Entity::notify( AttributeId id, const void * key ) const {
    if ( !firstNotifiee_ ) {
        return;
    }
    const Ptr<const Entity> self( this );
    Delivery delivery{ firstNotifiee_, lastNotifiee_, delivery_ };
    delivery_ = &delivery;
    // Handlers may throw; the chain of deliveries must not keep this frame.
    struct Unchain {
        const Entity & entity;
        const Delivery & delivery;
        ~Unchain() { entity.delivery_ = delivery.outer; }
    } const unchain{ *this, delivery };
    while ( Notifiee * notifiee = delivery.next ) {
        delivery.next = notifiee == delivery.last ? nullptr : notifiee->next_;
        if ( notifiee->receives() ) {
            const Ptr<Notifiee> alive( notifiee );
            notifiee->onAttribute( id, key );
        }
    }
}

void Entity::notifieeAdd( Notifiee & notifiee ) const {
    notifiee.previous_ = lastNotifiee_;
    ( lastNotifiee_ ? lastNotifiee_->next_ : firstNotifiee_ ) = &notifiee;
    lastNotifiee_ = &notifiee;
}

void Entity::notifieeRemove( Notifiee & notifiee ) const {
    for ( Delivery * delivery = delivery_; delivery; delivery = delivery->outer ) {
        if ( delivery->next == &notifiee ) {
            delivery->next = &notifiee == delivery->last ? nullptr : notifiee.next_;
        }
        if ( delivery->last == &notifiee ) {
            delivery->last = notifiee.previous_;
        }
    }
    ( notifiee.previous_ ? notifiee.previous_->next_ : firstNotifiee_ ) = notifiee.next_;
    ( notifiee.next_ ? notifiee.next_->previous_ : lastNotifiee_ ) = notifiee.previous_;
    notifiee.previous_ = notifiee.next_ = nullptr;
}

ChangeObserver::~ChangeObserver() { rootIs( nullptr ); }

void ChangeObserver::rootIs( Ptr<const Entity> root ) {
    if ( root_ ) {
        ChangeObserver ** link = &root_->firstObserver_;
        while ( *link != this ) {
            link = &( *link )->next_;
        }
        *link = next_;
    }
    root_ = std::move( root );
    if ( root_ ) {
        next_ = root_->firstObserver_;
        root_->firstObserver_ = this;
    }
}

} // namespace Kel
