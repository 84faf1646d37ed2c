#pragma once

#include "Host/Agent/LogOutput.h"

#include <cstddef>
#include <memory>
#include <string>

namespace KelHost {

// Where an agent reports what happens: syslog, or standard error. As long as one exists, the
// process's syslog messages and trace lines go there too. On standard error:
//     TIME kelqos: TEXT
//     TIME kelqos: syslog SEVERITY MNEMONIC TEXT
//     TIME FILE:LINE FUNCTION HANDLE/LEVEL TEXT
// It never waits: lines that cannot be written at once are counted and told of later. It may be
// used in a parent and its forked child, side by side.
class AgentLog {
  public:
    explicit AgentLog( bool toStandardError );
    explicit AgentLog( std::unique_ptr<LogOutput> output );
    ~AgentLog();
    AgentLog( const AgentLog & ) = delete;
    AgentLog & operator=( const AgentLog & ) = delete;

    void info( const std::string & text ) const;
    void warning( const std::string & text ) const;
    void error( const std::string & text ) const;
    // Why a start was refused: for the system's log alone. On standard error it is told anyway.
    void refused( const std::string & text ) const;

    // Whether there is still something to tell; retry() tries to.
    bool hasMore() const;
    void retry() const;
    // For a process that ends: the last try, which waits for a moment.
    void close() const;

  private:
    std::string own( const std::string & text ) const;
    void put( int priority, std::string_view line ) const;

    const bool toStandardError_ = false;
    std::unique_ptr<LogOutput> output_;
    mutable std::size_t lost_ = 0; // lines, since it was told last
};

} // namespace KelHost
