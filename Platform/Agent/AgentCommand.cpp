#include "Platform/Agent/AgentCommand.h"

#include "Platform/Framework/Exceptions.h"

#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace Agent {

using Kel::Ptr;

namespace {

// A peer that is gone or does not read must neither end nor hold up the agent: what it does not
// take at once it does not get.
void writeOnce( int fd, const std::string & text ) {
    if ( send( fd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT ) < 0 &&
         errno == ENOTSOCK ) {
        [[maybe_unused]] const auto written = write( fd, text.data(), text.size() );
    }
}

} // namespace

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
        writeOnce( static_cast<int>( socket ),
                   "Command failed: " + std::string( error.what() ) + "\n" );
    }
    return true;
}

} // namespace Agent
