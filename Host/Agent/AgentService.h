#pragma once

#include "Host/Agent/AgentLog.h"
#include "Host/Agent/Protocol.h"
#include "Host/Agent/SystemdNotify.h"
#include "Host/Json/JsonValue.h"
#include "Host/Switch/SwitchRuntime.h"

#include <string>

namespace KelHost {

// A configuration file as an agent reads it.
struct AgentConfig {
    // Throws DocumentError when the file cannot be read or anything in it is refused.
    explicit AgentConfig( const std::string & file );
    // The same, from a text that was read from that file.
    AgentConfig( const std::string & file, std::string fileText );

    // Makes both counter stores empty.
    void dropCounters();

    std::string text;
    SwitchDocument document;
    JsonValue counters; // the document's counters, as written
};

// What can be asked of a running switch, and done to it from outside. Nothing in here waits.
class AgentService {
  public:
    // `config` is what the runtime runs; `file`, where it came from, is read again by a reload.
    // The other arguments must outlive this.
    AgentService( SwitchRuntime & runtime, std::string file, const AgentConfig & config,
                  const AgentLog & log, const SystemdNotify & notify );

    // The text of the document that runs, or that a reload is about to apply.
    const std::string & documentText() const { return documentText_; }

    // Never throws: whatever goes wrong is answered as a refusal, and has changed nothing.
    Answer answer( const Request & request ) noexcept;

    // Reads the configuration file again and applies what differs, except for the counters, which
    // come from feed() alone once the switch runs. A file that is refused, as a document or as the
    // successor of the present one, changes nothing. Either way the log says so.
    Answer reload() noexcept;

  private:
    Answer act( const Request & request );
    Answer command( const std::string & text );
    Answer feed( const std::string & body );
    AgentConfig reread() const;

    SwitchRuntime & runtime_;
    std::string file_;
    std::string documentText_;
    JsonValue counters_; // live, as a feed patches them
    const AgentLog & log_;
    const SystemdNotify & notify_;
};

} // namespace KelHost
