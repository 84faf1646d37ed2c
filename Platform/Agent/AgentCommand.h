#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/HashMap.h"

#include <string>

namespace Agent {

// Answers the requests of one command type.
class AgentCommandCallback : public Kel::Entity {
  public:
    const std::string & name() const { return name_; }
    const std::string & commandType() const { return commandType_; }

    // Answers one request by writing to the connected reply socket, which the caller keeps and
    // closes. Runs to completion before the next event. May throw Kel::Exception, which ends the
    // answer there.
    virtual void handleCommand( U32 socket, std::string command ) = 0;

  protected:
    AgentCommandCallback( std::string name, std::string commandType )
        : name_( std::move( name ) ), commandType_( std::move( commandType ) ) {}

  private:
    std::string name_;
    std::string commandType_;
};

// The agent's command channel: hands each request to the callback of its command type.
class AgentCommandRequestDirSm : public Kel::Entity {
  public:
    // Registers the callback under its command type, replacing any that is there. Throws
    // Kel::NullArgumentException for null.
    void agentCommandCallbackIs( Kel::Ptr<AgentCommandCallback> callback );
    // Null when nobody answers the type.
    Kel::Ptr<AgentCommandCallback> agentCommandCallback( const std::string & commandType ) const;
    bool agentCommandCallbackHas( const std::string & commandType ) const {
        return callbacks_.contains( commandType );
    }
    void agentCommandCallbackDel( const std::string & commandType );
    void agentCommandCallbackDelAll() { callbacks_.clear(); }

    // Delivers one request; the callback stays alive until it has answered. False when nobody
    // answers the type. A Kel::Exception of the callback is written to the socket as a line
    // "Command failed: TEXT"; other exceptions pass through.
    bool deliver( const std::string & commandType, U32 socket, const std::string & command ) const;

  private:
    Kel::HashMap<std::string, Kel::Ptr<AgentCommandCallback>> callbacks_;
};

} // namespace Agent
