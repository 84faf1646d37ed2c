#pragma once

#include "Host/Agent/AgentLog.h"
#include "Host/Agent/DocumentChanges.h"
#include "Host/Agent/Protocol.h"
#include "Host/Agent/SystemdNotify.h"
#include "Host/Plan/DocumentCheck.h"

#include <functional>
#include <string>

namespace KelHost {

// What can be asked of a running switch, and done to it from outside. Nothing in here waits: a
// reload and a feed are answered when they are done.
class AgentService {
  public:
    using Reply = std::function<void( Answer )>;

    // Keeps the text of a document that was applied. Called beside the loop; throws when that
    // fails.
    using Keep = std::function<void( const std::string & text )>;

    // `file` is read again by a reload. The references must outlive this.
    AgentService( SwitchRuntime & runtime, DocumentChanges & changes, std::string file, Keep keep,
                  const AgentLog & log, const SystemdNotify & notify );

    // The text of the document that runs: a reload of the same text has nothing to decode.
    void textIs( std::string text );
    // What was found in it, and logged: of the same warnings there is nothing more to log.
    void checkIs( DocumentCheck check ) { check_ = std::move( check ); }

    // Calls `reply` once, at once or later, from the loop. Never throws: whatever goes wrong is
    // answered as a refusal, and has changed nothing.
    void answer( Request request, const Reply & reply ) noexcept;

    // Reads the configuration file again and applies what differs, except for the counters, which
    // come from feeds alone once the switch runs. A file that is refused, as a document or as the
    // successor of the present one, changes nothing. Either way the log says so.
    void reload( Reply reply );
    // The same for a signal: of those that come while one is served, one more is.
    void reloadOnSignal();

  private:
    void act( Request & request, const Reply & reply );
    Answer command( const std::string & text ) const;
    void feed( std::string body, const Reply & reply );
    // Answers with a text that is made beside the loop, while no document is being applied.
    void lookUp( std::function<std::string()> text, const Reply & reply );
    // What is told when a reload is over.
    Answer reloaded( const std::string & refusal, const std::string & trouble );

    SwitchRuntime & runtime_;
    DocumentChanges & changes_;
    std::string file_;
    Keep keep_;
    const AgentLog & log_;
    const SystemdNotify & notify_;
    // Empty when it is too large to be worth keeping. While a change is being prepared beside the
    // loop it stays as it is.
    std::string text_;
    DocumentCheck check_;    // of the document that runs
    bool signalled_ = false; // a reload that a signal asked for is under way
    bool signalledAgain_ = false;
};

} // namespace KelHost
