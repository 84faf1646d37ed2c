#include "Platform/Agent/AgentCommand.h"

#include "Platform/Agent/ReplyWriter.h"
#include "Platform/Framework/Exceptions.h"

namespace Agent {

using Kel::Ptr;

void AgentCommandRequestDirSm::agentCommandCallbackIs( Ptr<AgentCommandCallback> callback ) {
    if ( !callback ) {
        throw Kel::NullArgumentException( "a null command callback cannot be registered" );
    }
    const std::string commandType = callback->commandType();
    callbacks_.insertOrAssign( commandType, std::move( callback ) );
}

Ptr<AgentCommandCallback>
AgentCommandRequestDirSm::agentCommandCallback( const std::string & commandType ) const {
    const Ptr<AgentCommandCallback> * callback = callbacks_.find( commandType );
    return callback ? *callback : nullptr;
}

void AgentCommandRequestDirSm::agentCommandCallbackDel( const std::string & commandType ) {
    callbacks_.erase( commandType );
}

bool AgentCommandRequestDirSm::deliver( const std::string & commandType, U32 socket,
                                        const std::string & command ) const {
    const Ptr<AgentCommandCallback> callback = agentCommandCallback( commandType );
    if ( !callback ) {
        return false;
    }
    try {
        callback->handleCommand( socket, command );
    } catch ( const Kel::Exception & error ) {
        constexpr S32 noPatience = 0; // the callback has waited for the peer already
        ReplyWriter( static_cast<int>( socket ), noPatience )
            .write( "Command failed: " + std::string( error.what() ) + "\n" );
    }
    return true;
}

} // namespace Agent
