#include "Host/Agent/ClientSession.h"

#include <sys/epoll.h>
#include <sys/socket.h>

namespace KelHost {

namespace {

constexpr std::size_t pieceBytes = 65536;

bool isTransient( int error ) { return error == EAGAIN || error == EINTR; }

} // namespace

ClientSession::ClientSession( FileDescriptor socket, EventLoop & loop, Kel::Scheduler & scheduler,
                              Owner & owner )
    : Timer( scheduler ),
      socket_( std::move( socket ) ),
      owner_( owner ),
      watch_( loop, socket_.get(), EPOLLIN, [this]( U32 events ) { handleEvents( events ); } ) {
    dueIs( scheduler.now() + requestTime );
}

bool ClientSession::handleExpiry() {
    owner_.ended( *this );
    return true;
}

void ClientSession::handleEvents( U32 events ) {
    if ( !answered_ ) {
        receive();
    } else if ( ( events & ( EPOLLERR | EPOLLHUP ) ) != 0 || !send() || sent_ == answer_.size() ) {
        owner_.ended( *this );
    }
}

// One piece at a time, so that a client with much to send leaves room for the others.
void ClientSession::receive() {
    char piece[pieceBytes];
    const ssize_t count = recv( socket_.get(), piece, sizeof piece, 0 );
    if ( count > 0 ) {
        const auto size = static_cast<std::size_t>( count );
        if ( owner_.mayKeep( size ) ) {
            handleRequest( reader_.add( { piece, size } ) );
        } else {
            reply( { AnswerStatus::refused, "the agent is busy with the requests of others" } );
        }
    } else if ( count == 0 || !isTransient( errno ) ) {
        owner_.ended( *this );
    }
}

void ClientSession::handleRequest( RequestReader::State state ) {
    switch ( state ) {
    case RequestReader::State::incomplete:
        break;
    case RequestReader::State::complete:
        reply( owner_.answer( reader_.request() ) );
        break;
    case RequestReader::State::malformed:
        reply( { AnswerStatus::refused, reader_.complaint() } );
        break;
    }
}

void ClientSession::reply( const Answer & answer ) {
    reader_ = RequestReader();
    answer_ = encoded( answer );
    answered_ = true;
    if ( !send() || sent_ == answer_.size() ) {
        owner_.ended( *this );
        return;
    }
    watch_.eventsIs( EPOLLOUT );
}

bool ClientSession::send() {
    while ( sent_ < answer_.size() ) {
        const ssize_t count = ::send( socket_.get(), answer_.data() + sent_, answer_.size() - sent_,
                                      MSG_NOSIGNAL | MSG_DONTWAIT );
        if ( count < 0 ) {
            return isTransient( errno );
        }
        sent_ += static_cast<std::size_t>( count );
        dueIs( scheduler().now() + readingTime );
    }
    return true;
}

void ClientSession::flush() { (void)send(); }

} // namespace KelHost
