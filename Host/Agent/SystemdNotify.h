#pragma once

#include <string>

namespace KelHost {

// Tells the service manager how the agent is doing, in datagrams to the socket that NOTIFY_SOCKET
// names. Without that variable nothing happens. What cannot be sent is lost, and the agent does
// without.
class SystemdNotify {
  public:
    SystemdNotify();

    // `status`: one line for people to read.
    void ready( const std::string & status ) const;
    // Until the next ready().
    void reloading() const;
    void stopping() const;

  private:
    void send( const std::string & text ) const;

    std::string path_; // empty: nobody listens
};

} // namespace KelHost
