#include "Host/Agent/Wakeup.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

namespace KelHost {

Wakeup::Wakeup( EventLoop & loop, const char * name, std::function<void()> handler )
    : raised_( checkedResult( eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK ), "cannot make an event" ) ),
      watch_( loop, name, raised_.get(), EPOLLIN,
              [fd = raised_.get(), handler = std::move( handler )]( U32 ) {
                  eventfd_t count = 0;
                  (void)eventfd_read( fd, &count );
                  handler();
              } ) {}

void Wakeup::raise() const {
    (void)eventfd_write( raised_.get(), 1 ); // fails only when it was raised 2^64 times
}

} // namespace KelHost
