#pragma once

#include "Host/Agent/EventLoop.h"
#include "Host/Agent/Protocol.h"

#include <string>

namespace KelHost {

// One client's connection: reads its request, hands it over, and passes the answer on as the client
// reads it. It never waits for the client, and gives up on one that takes too long.
class ClientSession {
  public:
    // Patience is counted in beats, about a second each, in which the agent could have read and
    // written: a stall of the agent's own, however long, is one beat. This many are left to the
    // whole request to come in, and to each piece of the answer to be read.
    static constexpr U32 requestBeats = 10;
    static constexpr U32 readingBeats = 60;

    class Owner {
      public:
        // Whether that many more bytes of clients' requests may be kept.
        virtual bool mayKeep( std::size_t bytes ) const = 0;
        // Answers by reply(), at once or later.
        virtual void answer( ClientSession & session, Request request ) = 0;
        // The session is over, and its owner destroys it; it does nothing after this call.
        virtual void ended( ClientSession & session ) = 0;

      protected:
        virtual ~Owner() = default;
    };

    // Reading the request; waiting for the answer to be made; passing it on.
    enum class State : U8 { reading, waiting, answering };

    // Takes over a connected socket, which must be non-blocking. The other arguments must outlive
    // it. `number` is what its owner calls it.
    ClientSession( U64 number, FileDescriptor socket, EventLoop & loop, Owner & owner );
    ClientSession( const ClientSession & ) = delete;
    ClientSession & operator=( const ClientSession & ) = delete;

    U64 number() const { return number_; }
    State state() const { return state_; }
    // Bytes that are kept of the request, until it is answered; of the answer, until it is read.
    std::size_t requestSize() const { return reader_.size() + pending_; }
    std::size_t answerSize() const { return answer_.size(); }
    // The loop's turn in which it last got on: came, sent something, read something.
    U64 activeTurn() const { return activeTurn_; }
    // Whether it has got nowhere for a beat.
    bool idle() const { return beats_ > 0; }

    // Reads what is there. May end the session.
    void receive();
    // Answers the request, or refuses to wait for the rest of it. May end the session.
    void reply( Answer answer );
    // A beat has passed. May end the session.
    void beat();
    // Sends as much of the answer as the client takes now. The session goes on, whether or not that
    // works.
    void flush();

  private:
    void handleEvents( U32 events );
    void receivePiece();
    void handleRequest( RequestReader::State state );
    // Sends so many bytes at most. Returns false when the client is gone.
    bool send( std::size_t most );

    U64 number_;
    FileDescriptor socket_;
    EventLoop & loop_;
    Owner & owner_;
    EventLoop::Watch watch_;
    State state_ = State::reading;
    RequestReader reader_;
    std::size_t pending_ = 0; // bytes of the request that was handed over
    std::string answer_;      // encoded
    std::size_t sent_ = 0;
    U32 beats_ = 0;
    U64 activeTurn_;
};

} // namespace KelHost
