#include "Host/Agent/SignalQueue.h"

#include <sys/signalfd.h>

namespace KelHost {

SignalQueue::SignalQueue( std::initializer_list<int> signals ) {
    sigemptyset( &set_ );
    for ( const int signal : signals ) {
        sigaddset( &set_, signal );
    }
    checkedResult( sigprocmask( SIG_BLOCK, &set_, nullptr ), "cannot block signals" );
    fd_ = FileDescriptor( checkedResult( signalfd( -1, &set_, SFD_CLOEXEC | SFD_NONBLOCK ),
                                         "cannot wait for signals" ) );
}

int SignalQueue::take() const {
    signalfd_siginfo info{};
    const ssize_t count = read( fd_.get(), &info, sizeof info );
    return count == sizeof info ? static_cast<int>( info.ssi_signo ) : 0;
}

int SignalQueue::wait() const {
    int signal = -1;
    do {
        signal = sigwaitinfo( &set_, nullptr );
    } while ( signal < 0 && errno == EINTR );
    return checkedResult( signal, "cannot wait for signals" );
}

} // namespace KelHost
