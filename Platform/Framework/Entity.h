#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Types.h"

namespace Kel {

// Names an attribute of an entity type in notifications; every entity type enumerates its own.
using AttributeId = U16;

class ChangeObserver;
class Entity;
class Notifiee;

// An object of the state store or a state machine: reference counted, with attributes that reactors
// watch, and at most one parent.
//
// A change is told in two ways, both synchronous. First upwards: every ancestor's change observers
// learn which of its members the change lies below, whatever the notification switches say. Then to
// the notifiees of this entity, in the order in which they registered: those registered when
// delivery starts, less those that leave before their turn. The entity lives until all are told. An
// exception that a handler throws ends the delivery and leaves the setter; the value stays set.
class Entity : public Counted {
  public:
    // The entity that holds this one, or null. Not a counted reference: the parent counts its
    // members. The link is cleared when a collection lets this one go, and by the parent's end.
    Entity * parent() const { return parent_; }
    // Collections do this for their members. Throws ParentException when there is another parent
    // already, or when `parent` is this entity or lies below it; null detaches.
    void parentIs( Entity * parent );

    // Whether changes of what lies below this entity reach its change observers. A state store
    // whose entities have no link to their parent answers false; whoever derives something from a
    // whole subtree then walks it every time.
    virtual bool tellsChangesBelow() const { return true; }

  protected:
    Entity() = default;
    ~Entity() override;

    // The one way an attribute is set: compares, stores and, if the value changed, tells. Returns
    // whether it changed.
    template <class T>
    bool attributeIs( T & attribute, const T & value, AttributeId id ) {
        if ( attribute == value ) {
            return false;
        }
        attribute = value;
        attributeChanged( id );
        return true;
    }

    // Tells that an attribute changed; `key` points to the key of the member that was added,
    // changed or removed when the attribute is a collection.
    void attributeChanged( AttributeId id, const void * key = nullptr ) const {
        if ( parent_ ) {
            tellAbove();
        }
        if ( firstNotifiee_ ) {
            notify( id, key );
        }
    }

    void notify( AttributeId id, const void * key ) const;
    // Tells all ancestors' observers that something at or below this entity changed.
    void tellAbove() const;

  private:
    // One walk over the notifiees; chained on the stack, so that a notifiee that leaves while
    // deliveries are under way is taken out of all of them.
    struct Delivery {
        Notifiee * next; // whose turn is next; null: the walk ends
        Notifiee * last; // the last one that was registered when it began and still is
        Delivery * outer;
    };

    friend class Notifiee;
    friend class ChangeObserver;
    template <class Key, class Member>
    friend class MemberCollection;
    template <class Key, class Value>
    friend class ValueCollection;

    void leaveParent() noexcept;
    void notifieeAdd( Notifiee & notifiee ) const;
    void notifieeRemove( Notifiee & notifiee ) const;

    Entity * parent_ = nullptr;
    Entity * firstChild_ = nullptr;
    Entity * previousSibling_ = nullptr;
    Entity * nextSibling_ = nullptr;
    mutable Notifiee * firstNotifiee_ = nullptr;
    mutable Notifiee * lastNotifiee_ = nullptr;
    mutable Delivery * delivery_ = nullptr;
    mutable ChangeObserver * firstObserver_ = nullptr;
};

// Learns which direct members of an entity had changes at or below them: for sums and indexes that
// are kept per member and brought up to date when they are next read.
class ChangeObserver {
  public:
    ChangeObserver( const ChangeObserver & ) = delete;
    ChangeObserver & operator=( const ChangeObserver & ) = delete;

    // Watches `root` (a counted reference is held), or nothing when null.
    void rootIs( Ptr<const Entity> root );
    const Ptr<const Entity> & root() const { return root_; }

    // Something at or below `member`, a direct member of the root, was added, changed or removed.
    // To be noted, not acted upon: the change is not delivered yet, and no observer may come or go
    // here.
    virtual void memberChanged( const Entity & member ) = 0;

  protected:
    ChangeObserver() = default;
    virtual ~ChangeObserver();

  private:
    friend class Entity;

    Ptr<const Entity> root_;
    ChangeObserver * next_ = nullptr;
};

} // namespace Kel
