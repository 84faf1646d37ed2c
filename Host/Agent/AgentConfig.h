#pragma once

#include "Host/Agent/KeptDocument.h"
#include "Host/Document/SwitchDocument.h"

#include <string>

namespace KelHost {

// The configuration as an agent reads it.
struct AgentConfig {
    std::string file;
    std::string text;
    SwitchDocument document;
};

// Throws DocumentError when the file cannot be read or anything in it is refused.
AgentConfig readConfig( const std::string & file );
// The same for a text that was read from the file.
AgentConfig decodedConfig( const std::string & file, std::string text );

// The configuration to start with.
struct StartConfig {
    AgentConfig config;
    std::string refusal; // why it is not that of the configuration file; empty when it is
};

// Reads the configuration file. If it is refused, takes the document that an agent in this place
// applied last and did not live to forget: better the old configuration than none. Throws
// DocumentError, about the file, when there is no such document either.
StartConfig readStartConfig( const std::string & file, const KeptDocument & kept );

} // namespace KelHost
