#include "Host/Agent/CommandServer.h"

#include "Host/Json/MessageText.h"

#include <algorithm>
#include <new>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <vector>

namespace KelHost {

namespace {

// Edge-triggered: connections that cannot be accepted now, for lack of room or descriptors, must
// not keep the loop busy. They are tried again with the next one, when a session ends, and with
// each beat.
constexpr U32 newClients = EPOLLIN | EPOLLET;

// At most so many are accepted in one go, so that an endless stream of callers leaves room for
// others.
constexpr int clientsAtOnce = 16;

// What the agent's own files, answers and documents leave over.
std::size_t descriptorsForClients() {
    constexpr rlim_t own = 32;
    rlimit limit{};
    const bool known = getrlimit( RLIMIT_NOFILE, &limit ) == 0;
    return known && limit.rlim_cur > own ? limit.rlim_cur - own : 1;
}

// What a command that has not been answered lately is taken to be answered with, in bytes.
constexpr std::size_t sizeOfNew = 4096;

// For whoever is told that it took long.
std::string described( const Request & request ) {
    return request.kind == RequestKind::command ? "the request '" + shown( request.body, 64 ) + "'"
                                                : "a client's request";
}

} // namespace

CommandServer::CommandServer( int listener, EventLoop & loop, Answerer answerer )
    : listener_( listener ),
      mostClients_( std::min( clientLimit, descriptorsForClients() ) ),
      loop_( loop ),
      answerer_( std::move( answerer ) ),
      watch_( loop, "new clients", listener, newClients, [this]( U32 ) { accept(); } ) {}

void CommandServer::accept() {
    for ( int i = 0; i < clientsAtOnce; ++i ) {
        if ( !somebodyWaits() || !makeRoom() ) {
            return;
        }
        FileDescriptor socket(
            accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK ) );
        if ( socket ) {
            ClientSession::Owner & owner = *this;
            try {
                const U64 number = ++lastNumber_;
                const auto added = sessions_.emplace(
                    number,
                    std::make_unique<ClientSession>( number, std::move( socket ), loop_, owner ) );
                added.first->second->receive(); // most have spoken by now
            } catch ( const std::exception & ) {
                // The system has no room for one more: the client sees the connection close.
            }
        } else if ( errno != EINTR && errno != ECONNABORTED ) {
            return;
        }
    }
    watch_.eventsIs( newClients ); // says again what is still there
}

bool CommandServer::somebodyWaits() const {
    pollfd listener{ listener_, POLLIN, 0 };
    return poll( &listener, 1, 0 ) == 1;
}

bool CommandServer::makeRoom() {
    while ( sessions_.size() >= mostClients_ ) {
        if ( ClientSession * silent = idlest( State::reading ) ) {
            const U64 number = silent->number();
            silent->receive(); // it may have spoken just now
            silent = find( number );
            if ( silent != nullptr && silent->state() == State::reading ) {
                silent->reply( { AnswerStatus::refused,
                                 "the agent has too many clients, and this one was silent" } );
            }
            continue;
        }
        ClientSession * slow = idlest( State::answering );
        if ( slow == nullptr || !slow->idle() ) {
            return false;
        }
        ended( *slow );
    }
    return true;
}

ClientSession * CommandServer::find( U64 number ) const {
    const auto found = sessions_.find( number );
    return found == sessions_.end() ? nullptr : found->second.get();
}

ClientSession * CommandServer::idlest( State state ) const {
    ClientSession * result = nullptr;
    for ( const auto & [number, session] : sessions_ ) {
        if ( session->state() == state &&
             ( result == nullptr || session->activeTurn() < result->activeTurn() ) ) {
            result = session.get();
        }
    }
    return result;
}

bool CommandServer::mayKeep( std::size_t bytes ) const {
    for ( const auto & [number, session] : sessions_ ) {
        bytes += session->requestSize();
    }
    return bytes <= requestLimit;
}

// One in each turn of the loop, so that those who come meanwhile are heard.
void CommandServer::answer( ClientSession & session, Request request ) {
    Waiting waiting{ session.number(), std::move( request ) };
    if ( waiting_.empty() && servedTurn_ != loop_.turn() ) {
        serve( std::move( waiting ) );
        return;
    }
    waiting_.push_back( std::move( waiting ) );
    if ( waiting_.size() == 1 ) {
        serveLater();
    }
}

void CommandServer::serveLater() {
    loop_.whenIdle( "a client's request", [this] { serveNext(); } );
}

// Many who ask for much should not hold up one who asks for little, nor the other way round.
void CommandServer::serveNext() {
    oldestNext_ = !oldestNext_;
    const auto next = oldestNext_
                          ? waiting_.begin()
                          : std::ranges::min_element( waiting_, {}, [this]( const Waiting & one ) {
                                const auto last = answerSizes_.find( one.request.body );
                                return last == answerSizes_.end() ? sizeOfNew : last->second;
                            } );
    Waiting waiting = std::move( *next );
    waiting_.erase( next );
    if ( !waiting_.empty() ) {
        serveLater();
    }
    if ( find( waiting.number ) != nullptr ) { // the client is still there
        serve( std::move( waiting ) );
    }
}

void CommandServer::serve( Waiting && waiting ) {
    servedTurn_ = loop_.turn();
    loop_.eventNameIs( described( waiting.request ) );
    std::string command =
        waiting.request.kind == RequestKind::command ? waiting.request.body : std::string();
    answerer_( std::move( waiting.request ),
               [this, number = waiting.number, command]( Answer answer ) {
                   if ( !command.empty() ) {
                       noteSize( command, answer.text.size() );
                   }
                   reply( number, std::move( answer ) );
               } );
}

void CommandServer::noteSize( const std::string & command, std::size_t size ) {
    constexpr std::size_t mostCommands = 64;
    if ( answerSizes_.size() == mostCommands ) {
        answerSizes_.clear();
    }
    answerSizes_[command] = size;
}

void CommandServer::reply( U64 number, Answer answer ) {
    if ( ClientSession * session = find( number ) ) {
        makeRoomForAnswer( answer.text.size() );
        try {
            session->reply( std::move( answer ) );
        } catch ( const std::bad_alloc & ) {
            session->reply( { AnswerStatus::refused, "out of memory" } );
        }
    }
}

void CommandServer::makeRoomForAnswer( std::size_t bytes ) {
    for ( const auto & [number, session] : sessions_ ) {
        bytes += session->answerSize();
    }
    while ( bytes > answerLimit ) {
        ClientSession * slow = idlest( State::answering );
        if ( slow == nullptr ) {
            return;
        }
        bytes -= slow->answerSize();
        ended( *slow );
    }
}

void CommandServer::ended( ClientSession & session ) {
    sessions_.erase( session.number() );
    watch_.eventsIs( newClients ); // there is room for one who waits
}

void CommandServer::beat() {
    std::vector<U64> numbers;
    numbers.reserve( sessions_.size() );
    for ( const auto & [number, session] : sessions_ ) {
        numbers.push_back( number );
    }
    for ( const U64 number : numbers ) {
        find( number )->beat(); // ends no other one
    }
    accept();
}

void CommandServer::flush() {
    for ( const auto & [number, session] : sessions_ ) {
        session->flush();
    }
}

} // namespace KelHost
