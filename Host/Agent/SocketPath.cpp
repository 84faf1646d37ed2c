#include "Host/Agent/SocketPath.h"

#include "Host/Agent/OwnFile.h"
#include "Host/Agent/UnixSocket.h"

#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

namespace KelHost {

namespace {

constexpr const char * systemFolder = "/run/kelqos";

std::string socketIn( const std::string & folder ) { return folder + "/agent.sock"; }

std::string temporaryFolder() { return "/tmp/kelqos-" + std::to_string( geteuid() ); }

// A folder in /tmp may have been put there by somebody who wants to answer in the agent's place.
bool isTrusted( const std::string & folder ) {
    return folder != temporaryFolder() || isOwn( folder, S_IFDIR );
}

std::vector<std::string> folders() {
    std::vector<std::string> result{ systemFolder };
    const char * user = std::getenv( "XDG_RUNTIME_DIR" );
    if ( user != nullptr && user[0] == '/' ) {
        result.push_back( std::string( user ) + "/kelqos" );
    }
    result.push_back( temporaryFolder() );
    return result;
}

bool isUsable( const std::string & folder ) {
    // Everybody may look into the system's folder, and only the owner into the others.
    (void)mkdir( folder.c_str(), folder == systemFolder ? 0755 : 0700 ); // it may be there
    return access( folder.c_str(), W_OK | X_OK ) == 0 && isTrusted( folder );
}

} // namespace

std::vector<std::string> usualSocketPaths() {
    std::vector<std::string> paths;
    for ( const std::string & folder : folders() ) {
        if ( isTrusted( folder ) ) {
            paths.push_back( socketIn( folder ) );
        }
    }
    return paths;
}

bool isFoundUnnamed( const std::string & path ) {
    for ( const std::string & usual : usualSocketPaths() ) {
        if ( usual == path ) {
            return true;
        }
        if ( connectedTo( usual, SOCK_NONBLOCK ) ) {
            return false;
        }
    }
    return false;
}

std::string usableSocketPath() {
    for ( const std::string & folder : folders() ) {
        if ( isUsable( folder ) ) {
            return socketIn( folder );
        }
    }
    throw std::runtime_error( "there is no folder for the agent's socket; name one with --socket" );
}

} // namespace KelHost
