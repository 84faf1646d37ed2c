#include "Host/Agent/CommandServer.h"

#include <sys/epoll.h>
#include <sys/socket.h>

namespace KelHost {

namespace {

// A new connection has room for this; whether it is read is the client's business.
void refuse( const FileDescriptor & socket ) {
    const std::string text = encoded(
        Answer{ AnswerStatus::refused, "the agent has too many clients, try again later" } );
    (void)send( socket.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT );
}

// Edge-triggered: a connection that cannot be accepted for lack of descriptors must not keep the
// loop busy. It is tried again with the next one, and when a session ends.
constexpr U32 newClients = EPOLLIN | EPOLLET;

// At most so many are accepted in one go, so that an endless stream of callers leaves room for
// others.
constexpr int clientsAtOnce = 16;

} // namespace

CommandServer::CommandServer( int listener, EventLoop & loop, Kel::Scheduler & scheduler,
                              Answerer answerer )
    : listener_( listener ),
      loop_( loop ),
      scheduler_( scheduler ),
      answerer_( std::move( answerer ) ),
      watch_( loop, listener, newClients, [this]( U32 ) { accept(); } ) {}

void CommandServer::accept() {
    for ( int i = 0; i < clientsAtOnce; ++i ) {
        FileDescriptor socket(
            accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK ) );
        if ( socket ) {
            take( std::move( socket ) );
        } else if ( errno != EINTR && errno != ECONNABORTED ) {
            return;
        }
    }
    watch_.eventsIs( newClients ); // says again what is still there
}

void CommandServer::take( FileDescriptor socket ) {
    if ( sessions_.size() >= clientLimit ) {
        refuse( socket );
        return;
    }
    ClientSession::Owner & owner = *this;
    try {
        sessions_.push_back(
            std::make_unique<ClientSession>( std::move( socket ), loop_, scheduler_, owner ) );
    } catch ( const std::system_error & ) {
        // The system cannot watch one more descriptor: the client sees the connection close.
    }
}

bool CommandServer::mayKeep( std::size_t bytes ) const {
    for ( const auto & session : sessions_ ) {
        bytes += session->size();
    }
    return bytes <= requestLimit;
}

Answer CommandServer::answer( const Request & request ) { return answerer_( request ); }

void CommandServer::ended( ClientSession & session ) {
    std::erase_if( sessions_, [&session]( const auto & one ) { return one.get() == &session; } );
    accept();
}

void CommandServer::flush() {
    for ( const auto & session : sessions_ ) {
        session->flush();
    }
}

} // namespace KelHost
