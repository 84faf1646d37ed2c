#pragma once

#include <string>

namespace KelHost {

// Where an agent reports what happens: syslog(3), or standard error. As long as one exists, the
// process's syslog messages and trace lines go there too. On standard error:
//     kelqos: TEXT
//     kelqos: syslog SEVERITY MNEMONIC TEXT
//     FILE:LINE FUNCTION HANDLE/LEVEL TEXT
class AgentLog {
  public:
    explicit AgentLog( bool toStandardError );
    ~AgentLog();
    AgentLog( const AgentLog & ) = delete;
    AgentLog & operator=( const AgentLog & ) = delete;

    void info( const std::string & text ) const;
    void error( const std::string & text ) const;
    // A start that is refused: whoever started the agent is told by somebody else, so this goes to
    // syslog only.
    void refused( const std::string & text ) const {
        if ( !toStandardError_ ) {
            error( text );
        }
    }
    void flush() const {}
    void retry() const {}
    bool hasLost() const { return false; }

  private:
    bool toStandardError_;
};

} // namespace KelHost
