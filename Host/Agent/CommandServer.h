#pragma once

#include "Host/Agent/ClientSession.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace KelHost {

// Accepts clients on a listening socket and has their requests answered, one at a time, each to
// completion. Nothing that a client does or fails to do holds up the others or the caller: of
// several requests that wait, the one with the shortest answer and the oldest one are served in
// turn.
class CommandServer final : private ClientSession::Owner {
  public:
    // More clients than this at a time (fewer where the system allows few descriptors) are not
    // served: the one that has been silent for longest makes room, and while nobody is silent
    // newcomers wait.
    static constexpr std::size_t clientLimit = 256;
    // How much is kept of requests that are not answered yet, and of answers that are not read yet,
    // from all clients together, in bytes.
    static constexpr std::size_t requestLimit = 24 << 20;
    static constexpr std::size_t answerLimit = 24 << 20;

    // Calls `reply` once, at once or later, from the loop; nothing happens then if the client is
    // gone.
    using Reply = std::function<void( Answer )>;
    using Answerer = std::function<void( Request request, Reply reply )>;

    // `listener` must be non-blocking. It and the loop must outlive this; what is left of the
    // replies must not be called after it.
    CommandServer( int listener, EventLoop & loop, Answerer answerer );
    CommandServer( const CommandServer & ) = delete;
    CommandServer & operator=( const CommandServer & ) = delete;
    ~CommandServer() override = default;

    std::size_t clients() const { return sessions_.size(); }

    // About a second has passed, in which the loop was free: whoever took too long is dropped. To
    // be called as long as there are clients.
    void beat();

    // Sends every client as much of its answer as it takes now: for a process that is about to end.
    void flush();

  private:
    using State = ClientSession::State;

    struct Waiting {
        U64 number; // of the session
        Request request;
    };

    bool mayKeep( std::size_t bytes ) const override;
    void answer( ClientSession & session, Request request ) override;
    void ended( ClientSession & session ) override;
    // Serves one of the requests that wait: as soon as nothing else is ready.
    void serveLater();
    void serveNext();
    void serve( Waiting && waiting );
    void noteSize( const std::string & command, std::size_t size );
    void accept();
    bool somebodyWaits() const;
    // Whether one more client can be served, if need be after another one has gone.
    bool makeRoom();
    void reply( U64 number, Answer answer );
    // Drops those who have not read for longest until so many more bytes may be kept.
    void makeRoomForAnswer( std::size_t bytes );
    // The one in that state that has got nowhere for longest; null when there is none.
    ClientSession * idlest( State state ) const;
    ClientSession * find( U64 number ) const;

    int listener_;
    const std::size_t mostClients_;
    EventLoop & loop_;
    Answerer answerer_;
    EventLoop::Watch watch_;
    std::map<U64, std::unique_ptr<ClientSession>> sessions_; // oldest first
    U64 lastNumber_ = 0;
    std::deque<Waiting> waiting_; // oldest first
    U64 servedTurn_ = 0;          // of the loop
    bool oldestNext_ = false;
    std::map<std::string, std::size_t> answerSizes_; // of the last answers, by command
};

} // namespace KelHost
