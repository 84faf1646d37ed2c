#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Types.h"

namespace Kel {

// Identifies an attribute of an entity type in notifications; every entity type enumerates its own.
using AttributeId = U16;

class ChangeObserver;
class Entity;
class Notifiee;

// An object of the state store or a state machine: reference counted, with attributes that reactors
// watch, and at most one parent.
//
// A change is told in two ways, both synchronous. First upwards: every ancestor's change observers
// learn which of its members the change lies below, whatever the notification switches say. Then to
// the notifiees of this entity, in the order in which they registered: those that were registered
// when delivery started, except those that leave before their turn. The entity stays alive until
// all have been told. An exception that a handler throws ends the delivery and passes through the
// setter; the value stays set.
class Entity : public Counted {
  public:
    // The entity that holds this one, or null. Not a counted reference: the parent holds its
    // members. The link is cleared when a collection removes this entity, and when the parent is
    // destroyed.
    Entity * parent() const { return parent_; }
    // Collections do this for their members. Throws ParentException when there is another parent
    // already, or when `parent` is this entity or lies below it; null detaches.
    void parentIs( Entity * parent );

    // Whether changes below this entity reach its change observers; the answer must not change.
    // False in a state store whose entities have no link to their parent; what is derived from a
    // whole subtree then takes a walk every time.
    virtual bool tellsChangesBelow() const { return true; }

  protected:
    Entity() = default;
    ~Entity() override;

    // The only way to set an attribute: compares, stores and, if the value changed, tells. Returns
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

    // Reports that an attribute changed; `key` points to the key of the member that was added,
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
    // Whether telling of a change has anybody to reach.
    bool isWatched() const { return firstNotifiee_ || parent_; }
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
    // Only to be noted, not acted upon: the change has not been delivered yet, and no observer may
    // be added or removed here.
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
