#pragma once

#include "Host/Agent/EventLoop.h"
#include "Host/Agent/Protocol.h"
#include "Platform/Framework/Scheduler.h"

#include <string>

namespace KelHost {

// One client's connection: reads its request, gets it answered at once, and passes the answer on as
// the client reads it. It never waits for the client, and gives up on one that takes too long.
class ClientSession : private Kel::Timer {
  public:
    // Seconds for the whole request to come in, and for each piece of the answer to be read.
    static constexpr F64 requestTime = 10.0;
    static constexpr F64 readingTime = 60.0;

    class Owner {
      public:
        // Whether that many more bytes of clients' requests may be kept.
        virtual bool mayKeep( std::size_t bytes ) const = 0;
        virtual Answer answer( const Request & request ) = 0;
        // The session is over, and its owner destroys it; it does nothing after this call.
        virtual void ended( ClientSession & session ) = 0;

      protected:
        virtual ~Owner() = default;
    };

    // Takes over a connected socket, which must be non-blocking. The other arguments must outlive
    // it.
    ClientSession( FileDescriptor socket, EventLoop & loop, Kel::Scheduler & scheduler,
                   Owner & owner );
    ~ClientSession() override = default;

    // Bytes of a request that are kept.
    std::size_t size() const { return reader_.size(); }

    // Sends as much of the answer as the client takes now. The session goes on, whether or not that
    // works.
    void flush();

  private:
    bool handleExpiry() override;
    void handleEvents( U32 events );
    void receive();
    void handleRequest( RequestReader::State state );
    void reply( const Answer & answer );
    // Returns false when the client is gone.
    bool send();

    FileDescriptor socket_;
    Owner & owner_;
    EventLoop::Watch watch_;
    RequestReader reader_;
    bool answered_ = false;
    std::string answer_; // encoded
    std::size_t sent_ = 0;
};

} // namespace KelHost
