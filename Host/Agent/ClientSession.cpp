#include "Host/Agent/ClientSession.h"

#include <algorithm>
#include <new>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace KelHost {

namespace {

constexpr std::size_t pieceBytes = 65536;

// A client that reads as fast as it is sent to leaves room for the others.
constexpr std::size_t bytesOfATurn = 1 << 18;

bool isTransient( int error ) { return error == EAGAIN || error == EINTR; }

} // namespace

ClientSession::ClientSession( U64 number, FileDescriptor socket, EventLoop & loop, Owner & owner )
    : number_( number ),
      socket_( std::move( socket ) ),
      loop_( loop ),
      owner_( owner ),
      watch_( loop, "a client's request", socket_.get(), EPOLLIN,
              [this]( U32 events ) { handleEvents( events ); } ),
      activeTurn_( loop.turn() ) {}

void ClientSession::handleEvents( U32 events ) {
    if ( state_ == State::reading ) {
        receive();
        return;
    }
    const bool gone = ( events & ( EPOLLERR | EPOLLHUP ) ) != 0;
    if ( gone ||
         ( state_ == State::answering && ( !send( bytesOfATurn ) || sent_ == answer_.size() ) ) ) {
        owner_.ended( *this );
    }
}

void ClientSession::receive() {
    try {
        receivePiece();
    } catch ( const std::bad_alloc & ) {
        owner_.ended( *this ); // there is no room for its request
    }
}

// One piece at a time, so that a client with much to send leaves room for the others.
void ClientSession::receivePiece() {
    char piece[pieceBytes];
    const ssize_t count = recv( socket_.get(), piece, sizeof piece, 0 );
    if ( count > 0 ) {
        const auto size = static_cast<std::size_t>( count );
        activeTurn_ = loop_.turn();
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
    case RequestReader::State::complete: {
        Request request = reader_.takeRequest();
        reader_ = RequestReader();
        state_ = State::waiting;
        pending_ = request.body.size();
        watch_.eventsIs( 0 ); // only that it is gone
        owner_.answer( *this, std::move( request ) );
        break;
    }
    case RequestReader::State::malformed:
        reply( { AnswerStatus::refused, reader_.complaint() } );
        break;
    }
}

void ClientSession::reply( Answer answer ) {
    reader_ = RequestReader();
    pending_ = 0;
    beats_ = 0;
    answer_ = encoded( std::move( answer ) );
    activeTurn_ = loop_.turn();
    state_ = State::answering;
    if ( !send( bytesOfATurn ) || sent_ == answer_.size() ) {
        owner_.ended( *this );
        return;
    }
    watch_.eventsIs( EPOLLOUT );
}

void ClientSession::beat() {
    ++beats_;
    if ( ( state_ == State::reading && beats_ > requestBeats ) ||
         ( state_ == State::answering && beats_ > readingBeats ) ) {
        owner_.ended( *this );
    }
}

bool ClientSession::send( std::size_t most ) {
    const std::size_t end = std::min( most, answer_.size() - sent_ ) + sent_;
    while ( sent_ < end ) {
        const ssize_t count = ::send( socket_.get(), answer_.data() + sent_, end - sent_,
                                      MSG_NOSIGNAL | MSG_DONTWAIT );
        if ( count < 0 ) {
            return isTransient( errno );
        }
        sent_ += static_cast<std::size_t>( count );
        beats_ = 0;
        activeTurn_ = loop_.turn();
    }
    return true;
}

void ClientSession::flush() {
    if ( state_ == State::answering ) {
        (void)send( answer_.size() );
    }
}

} // namespace KelHost
