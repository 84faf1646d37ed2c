#pragma once

#include <string>

namespace KelHost {

struct Scenario;

// Runs a scenario on the modelled chip in virtual time and writes its event log to `fd`. Time
// begins at 0 and moves only as the scenario says, so a scenario always has the same log.
//
// Returns when the scenario has reached its end. When the library ends the process in an orderly
// way, the run ends there: the process exits with that status. Sets or removes SIMULATION_VMID in
// the environment, and takes over the syslog sink and the syslog time source of the process while
// it runs. There must be no activity manager.
void play( const Scenario & scenario, int fd );

// Reads a scenario, or a switch document as the scenario of its start-up alone, checks it whole,
// and plays it. Throws DocumentError, before anything happens, when anything in it is refused.
void playFile( const std::string & file, int fd );

} // namespace KelHost
