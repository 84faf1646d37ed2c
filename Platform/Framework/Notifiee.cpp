#include "Platform/Framework/Notifiee.h"

#include <utility>

namespace Kel {

void Notifiee::isRegisteredNotifieeIs( bool registered ) {
    if ( registered == registered_ || !notifier_ ) {
        return;
    }
    registered_ = registered;
    if ( registered ) {
        notifier_->notifieeAdd( *this );
    } else {
        notifier_->notifieeRemove( *this );
    }
}

void Notifiee::notifierEntityIs( Ptr<const Entity> notifier ) {
    isRegisteredNotifieeIs( false );
    notifier_ = std::move( notifier );
    isRegisteredNotifieeIs( true );
}

} // namespace Kel
