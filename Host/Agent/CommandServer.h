#pragma once

#include "Host/Agent/ClientSession.h"

#include <functional>
#include <memory>
#include <vector>

namespace KelHost {

// Accepts clients on a listening socket and has their requests answered, one at a time, each to
// completion. Nothing that a client does or fails to do holds up the others or the caller.
class CommandServer final : private ClientSession::Owner {
  public:
    // More clients than this at a time are refused, with a text.
    static constexpr std::size_t clientLimit = 256;
    // How much is kept of requests that are still arriving, from all clients together, in bytes.
    static constexpr std::size_t requestLimit = 64 << 20;

    using Answerer = std::function<Answer( const Request & )>;

    // `listener` must be non-blocking. It, the loop and the scheduler, which times out slow
    // clients, must outlive this.
    CommandServer( int listener, EventLoop & loop, Kel::Scheduler & scheduler, Answerer answerer );
    CommandServer( const CommandServer & ) = delete;
    CommandServer & operator=( const CommandServer & ) = delete;
    ~CommandServer() override = default;

    std::size_t clients() const { return sessions_.size(); }

    // Sends every client as much of its answer as it takes now: for a process that is about to end.
    void flush();

  private:
    bool mayKeep( std::size_t bytes ) const override;
    Answer answer( const Request & request ) override;
    void ended( ClientSession & session ) override;
    void accept();
    void take( FileDescriptor socket );

    int listener_;
    EventLoop & loop_;
    Kel::Scheduler & scheduler_;
    Answerer answerer_;
    EventLoop::Watch watch_;
    std::vector<std::unique_ptr<ClientSession>> sessions_;
};

} // namespace KelHost
