#pragma once

#include "Host/Switch/ChipAccess.h"

#include <string>

namespace KelHost {

struct AgentOptions {
    std::string config;       // the switch document's file, read again by each reload
    std::string socketPath;   // where it listens
    bool foreground = false;  // log to standard error, not to syslog
    bool supervise = false;   // start it again when it ends without being told to
    std::string program;      // the program's name as it was invoked, for messages
    std::string socketOption; // what a client has to add to find the agent, for messages
};

// Runs the agent: brings the chip up as the configuration says, serves its timers in real time and
// answers clients, until SIGTERM or SIGINT comes; SIGHUP is a reload. Returns the exit status of
// the process. There must be no activity manager.
//
// When the library ends the process in an orderly way, this does not return: the process ends with
// the library's status, its socket removed and a warm restart noted. Nor does it return from an
// abort.
//
// Throws DocumentError for a configuration that is refused, and other exceptions of the standard
// library when the agent cannot start (because its socket is in use, for example); nothing has been
// programmed then.
int runAgent( const AgentOptions & options, ChipAccess & chip );

} // namespace KelHost
