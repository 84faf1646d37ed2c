#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Ptr.h"

#include <utility>

namespace Kel {

// A reactor: watches one entity and is called back when one of its attributes changes. It holds a
// counted reference to the entity; its owner holds the reactor.
//
// Deleting, re-pointing and unregistering reactors is allowed anywhere, the one being called
// included: delivery holds a reference to it until its handler returns.
class Notifiee : public Counted {
  public:
    // Called for a change of attribute `id` of the notifier; `key` is the changed member's key for
    // a collection attribute, else null.
    virtual void onAttribute( AttributeId id, const void * key ) = 0;

    // The switch for receiving notifications; off until the owner turns it on. A change missed
    // while it is off stays missed.
    bool hasNotificationActive() const { return active_; }
    virtual void hasNotificationActiveIs( bool on ) { active_ = on; }

    // A zombie no longer calls handlers: its owner is being torn down.
    bool isZombie() const { return zombie_; }
    virtual void zombieIs( bool zombie ) { zombie_ = zombie; }
    // True once nothing that this reactor does matters any more.
    bool isMarkedForDeletion() const { return zombie_ || isBeingDestroyed(); }

    // Whether the notifier tells this reactor of changes. It registers behind those already
    // registered, and is no longer called from the moment it leaves. Does nothing without a
    // notifier.
    bool isRegisteredNotifiee() const { return registered_; }
    void isRegisteredNotifieeIs( bool registered );

  protected:
    // Registers with the notifier, which may be null.
    explicit Notifiee( Ptr<const Entity> notifier ) : notifier_( std::move( notifier ) ) {
        isRegisteredNotifieeIs( true );
    }
    ~Notifiee() override { isRegisteredNotifieeIs( false ); }

    // Whether a notification would be delivered now.
    bool receives() const { return active_ && !isMarkedForDeletion(); }
    const Entity * notifierEntity() const { return notifier_.get(); }
    // Leaves the present notifier, if any, and registers with the new one, if any.
    void notifierEntityIs( Ptr<const Entity> notifier );

  private:
    friend class Entity;

    bool active_ = false;
    bool zombie_ = false;
    bool registered_ = false;
    Ptr<const Entity> notifier_;
    Notifiee * previous_ = nullptr;
    Notifiee * next_ = nullptr;
};

// A reactor on entities of type T. The constructor only attaches.
template <class T>
class NotifieeOf : public Notifiee {
  public:
    const T * notifier() const { return static_cast<const T *>( notifierEntity() ); }
    // Attaches to another entity; nothing happens when it is the present one. Null detaches.
    virtual void notifierIs( Ptr<const T> notifier ) {
        if ( notifier.get() != this->notifier() ) {
            notifierEntityIs( std::move( notifier ) );
        }
    }

  protected:
    explicit NotifieeOf( Ptr<const T> notifier ) : Notifiee( std::move( notifier ) ) {}
};

} // namespace Kel
