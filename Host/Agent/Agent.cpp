#include "Host/Agent/Agent.h"

#include "Host/Agent/AgentLog.h"
#include "Host/Agent/AgentService.h"
#include "Host/Agent/CommandServer.h"
#include "Host/Agent/CommandSocket.h"
#include "Host/Agent/LoopTimer.h"
#include "Host/Agent/SignalQueue.h"
#include "Host/Agent/StartReport.h"
#include "Host/Agent/Supervisor.h"
#include "Host/Agent/SystemdNotify.h"
#include "Host/Agent/WarmRestart.h"
#include "Host/Json/DocumentError.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Logging/RingTrace.h"
#include "Platform/Logging/Syslog.h"

#include <cstdlib>
#include <sys/epoll.h>

namespace KelHost {

namespace {

// Reads the configuration file. For a warm restart, if the file has become unusable in the
// meantime, takes the configuration that ran before: better an old one than none.
AgentConfig startConfig( const std::string & file, const WarmRestart & warmRestart,
                         const AgentLog & log ) {
    const std::string before = warmRestart.document();
    if ( before.empty() ) {
        return AgentConfig( file );
    }
    try {
        return AgentConfig( file );
    } catch ( const DocumentError & error ) {
        log.error( std::string( error.what() ) +
                   "; warm restart with the configuration that ran before" );
    }
    return AgentConfig( file, before );
}

class Agent {
  public:
    Agent( const AgentOptions & options, const AgentLog & log )
        : options_( options ),
          log_( log ),
          signals_{ SIGTERM, SIGINT, SIGHUP },
          warmRestart_( options.socketPath ),
          config_( startConfig( options.config, warmRestart_, log ) ),
          socket_( options.socketPath ),
          timer_( loop_ ),
          runtime_( activityManager_, startDocument() ),
          service_( runtime_, options.config, config_, log_, notify_ ),
          server_( socket_.fd(), loop_, activityManager_.scheduler(),
                   [this]( const Request & request ) { return service_.answer( request ); } ),
          signalWatch_( loop_, signals_.fd(), EPOLLIN, [this]( U32 ) { handleSignals(); } ) {
        activityManager_.exitHandlerIs( [this]( int status ) { handleExit( status ); } );
        Kel::syslogTimeSourceIs( [this] { return activityManager_.now(); } );
        loop_.beforeEventIs( [this] { runtime_.advanceTo( timer_.now() ); } );
        aborting_ = this;
        Kel::abortHookIs( handleAbort );
    }
    ~Agent() {
        aborting_ = nullptr;
        Kel::syslogTimeSourceIs( nullptr );
    }
    Agent( const Agent & ) = delete;
    Agent & operator=( const Agent & ) = delete;

    void run( ChipAccess & chip ) {
        runtime_.start( chip );
        if ( warmRestart_.pending() ) {
            warmRestart_.documentIs( "" ); // no longer needed; a reload may make it outdated
        }
        reportStart( log_, runtime_, options_.config, options_.socketPath, options_.program,
                     options_.socketOption );
        notify_.ready( programmedText( runtime_ ) );
        while ( !stopping_ ) {
            timer_.dueIs( activityManager_.scheduler().nextDue() );
            loop_.wait();
        }
        notify_.stopping();
        server_.flush();
        warmRestart_.pendingIs( false );
        log_.info( "stopped" );
    }

  private:
    const SwitchDocument & startDocument() {
        if ( warmRestart_.pending() ) {
            config_.dropCounters();
            log_.info( "warm restart: the counter stores are empty" );
        }
        return config_.document;
    }

    void handleSignals() {
        while ( const int signal = signals_.take() ) {
            if ( signal == SIGHUP ) {
                service_.reload();
            } else {
                stopping_ = true;
            }
        }
    }

    static void handleAbort() {
        if ( aborting_ != nullptr ) {
            aborting_->warmRestart_.documentIs( aborting_->service_.documentText() );
        }
        Kel::ringTraceWrite( STDERR_FILENO );
    }

    // Destructors must not run: the library's work in progress is still on the stack.
    [[noreturn]] void handleExit( int status ) {
        warmRestart_.documentIs( service_.documentText() );
        log_.error( "the switch software ended itself with status " + std::to_string( status ) +
                    "; the next start is a warm restart" );
        notify_.stopping();
        server_.flush();
        socket_.close();
        std::_Exit( status );
    }

    const AgentOptions & options_;
    const AgentLog & log_;
    static inline const Agent * aborting_ = nullptr; // for the hook that runs when it aborts

    SignalQueue signals_;
    WarmRestart warmRestart_;
    AgentConfig config_;
    CommandSocket socket_;
    SystemdNotify notify_;
    EventLoop loop_;
    LoopTimer timer_;
    Kel::ActivityManager activityManager_;
    SwitchRuntime runtime_;
    AgentService service_;
    CommandServer server_;
    EventLoop::Watch signalWatch_;
    bool stopping_ = false;
};

} // namespace

int runAgent( const AgentOptions & options, ChipAccess & chip ) {
    const AgentLog log( options.foreground );
    const auto run = [&] {
        Agent( options, log ).run( chip );
        return EXIT_SUCCESS;
    };
    return options.supervise ? supervise( run, WarmRestart( options.socketPath ), log ) : run();
}

} // namespace KelHost
