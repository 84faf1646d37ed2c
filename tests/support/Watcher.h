#pragma once

#include "Platform/Framework/Notifiee.h"

#include <functional>

// A reactor that does what the test wants when it is called.
template <class T>
class Watcher : public Kel::NotifieeOf<T> {
  public:
    using Action = std::function<void( Kel::AttributeId id, const void * key )>;

    Watcher( Kel::Ptr<const T> notifier, Action action )
        : Kel::NotifieeOf<T>( std::move( notifier ) ), action_( std::move( action ) ) {
        this->hasNotificationActiveIs( true );
    }

    void onAttribute( Kel::AttributeId id, const void * key ) override { action_( id, key ); }

  private:
    Action action_;
};
