#pragma once

#include <string>
#include <vector>

namespace KelHost {

// The environment variable that names the agent's socket, for agent and client.
inline constexpr const char * socketVariable = "KELQOS_SOCKET";

// Where agents listen and clients look when no socket is named, best place first:
//     /run/kelqos/agent.sock                       the system's agent
//     $XDG_RUNTIME_DIR/kelqos/agent.sock           that of a user who has logged in
//     /tmp/kelqos-UID/agent.sock                   that of any other
std::vector<std::string> usualSocketPaths();

// Whether a client that is told nothing asks whoever listens on that path, rather than another
// agent.
bool isFoundUnnamed( const std::string & path );

// The first of them whose folder this process may write to; makes the folder when it is missing.
// Throws std::runtime_error when there is none.
std::string usableSocketPath();

} // namespace KelHost
