#include "Host/Agent/Agent.h"

#include "Host/Agent/AgentConfig.h"
#include "Host/Agent/AgentLog.h"
#include "Host/Agent/AgentService.h"
#include "Host/Agent/Beat.h"
#include "Host/Agent/CommandServer.h"
#include "Host/Agent/CommandSocket.h"
#include "Host/Agent/LoopTimer.h"
#include "Host/Agent/SignalQueue.h"
#include "Host/Agent/StartReport.h"
#include "Host/Agent/Supervisor.h"
#include "Host/Agent/SystemdNotify.h"
#include "Host/Agent/WallClock.h"
#include "Host/Agent/WarmRestart.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Logging/RingTrace.h"
#include "Platform/Logging/Syslog.h"

#include <cmath>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <sys/epoll.h>

namespace KelHost {

namespace {

// What an agent has before it has a switch: it can be told to stop while the configuration is being
// read, however long that takes.
struct AgentFrame {
    AgentFrame( const AgentOptions & agentOptions, const AgentLog & agentLog )
        : options( agentOptions ), log( agentLog ) {
        loop.slowEventHandlerIs( [this]( const std::string & name, F64 seconds ) {
            log.info( "everything else waited " + std::to_string( std::lround( seconds * 1000 ) ) +
                      " ms for " + name );
        } );
    }

    void handleSignals() {
        while ( const int signal = signals.take() ) {
            if ( signal == SIGHUP ) {
                reload();
            } else {
                stopping = true;
            }
        }
    }

    // Whether an agent that is told to stop was told so because its supervisor is gone.
    bool orphaned() const { return supervisor != 0 && getppid() != supervisor; }

    // For an end that does not wait: a file may still be being read, or the library's work in
    // progress be on the stack, so destructors must not run.
    [[noreturn]] void end( int status ) const {
        log.close();
        std::_Exit( status );
    }

    const AgentOptions & options;
    const AgentLog & log;
    const pid_t supervisor = options.supervise ? getppid() : 0;
    const WarmRestart warmRestart{ options.socketPath };
    const KeptDocument kept{ options.socketPath };
    SignalQueue signals{ SIGTERM, SIGINT, SIGHUP };
    EventLoop loop;
    Worker worker{ loop };
    bool stopping = false;
    std::function<void()> reload = [] {}; // nothing runs yet
    EventLoop::Watch signalWatch{ loop, "a signal", signals.fd(), EPOLLIN,
                                  [this]( U32 ) { handleSignals(); } };
};

// Reads the configuration; does not return when it is told to stop meanwhile.
StartConfig startConfig( AgentFrame & frame ) {
    StartConfig result;
    std::exception_ptr refusal;
    frame.worker.start(
        [&] {
            try {
                result = readStartConfig( frame.options.config, frame.kept );
            } catch ( ... ) {
                refusal = std::current_exception();
            }
        },
        [] {} );
    while ( frame.worker.busy() && !frame.stopping ) {
        frame.loop.wait();
    }
    if ( frame.stopping ) {
        frame.log.info( "stopped" );
        frame.end( EXIT_SUCCESS );
    }
    if ( refusal ) {
        std::rethrow_exception( refusal );
    }
    return result;
}

class Agent {
  public:
    Agent( AgentFrame & frame, StartConfig start )
        : frame_( frame ),
          log_( frame.log ),
          config_( std::move( start.config ) ),
          socket_( frame.options.socketPath ),
          timer_( frame.loop ),
          runtime_( activityManager_, startDocument( start.refusal ) ),
          changes_( runtime_, frame.loop, frame.worker ),
          service_(
              runtime_, changes_, frame.options.config,
              [this]( const std::string & text ) { keep( text ); }, log_, notify_ ),
          server_( socket_.fd(), frame.loop,
                   [this]( Request request, const CommandServer::Reply & reply ) {
                       service_.answer( std::move( request ), reply );
                   } ),
          beat_( frame.loop, [this] {
              server_.beat();
              log_.retry();
          } ) {
        activityManager_.exitHandlerIs( [this]( int status ) { handleExit( status ); } );
        Kel::syslogTimeSourceIs( [this] { return activityManager_.now(); } );
        frame.loop.beforeEventIs( [this] { runtime_.advanceTo( timer_.now() ); } );
        frame.reload = [this] { service_.reloadOnSignal(); };
        Kel::ringTraceClockIs( { wallClock, wallClockText } );
        aborting_ = this;
        Kel::abortHookIs( handleAbort );
    }
    ~Agent() {
        aborting_ = nullptr;
        Kel::ringTraceClockIs( {} );
        frame_.loop.beforeEventIs( nullptr );
        Kel::syslogTimeSourceIs( nullptr );
    }
    Agent( const Agent & ) = delete;
    Agent & operator=( const Agent & ) = delete;

    void run( ChipAccess & chip ) {
        runtime_.start( chip );
        try {
            serve();
        } catch ( const std::exception & error ) {
            // It runs: to end as one that refused to start would keep it from coming back.
            KEL_FAILED( "no exception leaves the loop", error.what() );
        }
        notify_.stopping();
        server_.flush();
        if ( frame_.orphaned() ) {
            log_.error( "the supervisor is gone; the next start is a warm restart" );
        } else if ( socket_.holdsPath() ) {
            frame_.warmRestart.forget();
            frame_.kept.forget();
        }
        log_.info( "stopped" );
        if ( frame_.worker.busy() ) {
            socket_.close();
            frame_.end( EXIT_SUCCESS );
        }
    }

  private:
    const SwitchDocument & startDocument( const std::string & refusal ) {
        if ( !refusal.empty() ) {
            log_.error( refusal );
            log_.error( "starting with the document that was applied last, " + config_.file );
        }
        if ( frame_.warmRestart.noted() || frame_.kept.present() ) {
            config_.document.counters.clear();
            config_.document.countersLastClear.clear();
            log_.info( "warm restart: the counter stores are empty" );
        }
        return config_.document;
    }

    void serve() {
        announce();
        while ( !frame_.stopping ) {
            timer_.dueIs( activityManager_.scheduler().nextDue() );
            beat_.onIs( server_.clients() != 0 || log_.hasMore() );
            frame_.loop.wait();
        }
    }

    // Beside the loop.
    void keep( const std::string & text ) const {
        if ( !socket_.holdsPath() ) {
            throw std::runtime_error( "cannot keep the document in " + frame_.kept.file() +
                                      ": another agent has taken the place" );
        }
        frame_.kept.textIs( text );
    }

    // The agent is ready when it would come up again, too.
    void announce() {
        const auto check = std::make_shared<DocumentCheck>();
        const auto settle = [this, check] {
            *check = checkOf( runtime_.document(), config_.file, warningsKept );
            if ( config_.file != frame_.kept.file() ) {
                keep( config_.text );
            }
        };
        changes_.add(
            { nullptr, settle, [this, check]( const std::string &, const std::string & trouble ) {
                 if ( !trouble.empty() ) {
                     log_.error( trouble );
                 }
                 reportStart( log_, runtime_, *check, frame_.options );
                 notify_.ready( programmedText( runtime_ ) );
                 service_.textIs( std::move( config_.text ) );
                 service_.checkIs( std::move( *check ) );
                 config_ = {};
             } } );
    }

    // Nothing in here waits: standard error does not.
    void noteWarmRestart() const {
        if ( socket_.holdsPath() ) {
            frame_.warmRestart.note();
        }
    }

    static void handleAbort() {
        if ( aborting_ != nullptr ) {
            aborting_->noteWarmRestart();
            aborting_->log_.close();
        }
        writeRingTrace();
    }

    [[noreturn]] void handleExit( int status ) {
        noteWarmRestart();
        log_.error( "the switch software ended itself with status " + std::to_string( status ) +
                    "; the next start is a warm restart" );
        notify_.stopping();
        server_.flush();
        socket_.close();
        frame_.end( status );
    }

    AgentFrame & frame_;
    const AgentLog & log_;
    static inline const Agent * aborting_ = nullptr; // for the hook that runs when it aborts

    AgentConfig config_; // until it is ready
    CommandSocket socket_;
    SystemdNotify notify_;
    LoopTimer timer_;
    Kel::ActivityManager activityManager_;
    SwitchRuntime runtime_;
    DocumentChanges changes_;
    AgentService service_;
    CommandServer server_;
    Beat beat_;
};

} // namespace

int runAgent( const AgentOptions & options, ChipAccess & chip ) {
    const AgentLog log( options.foreground );
    const auto run = [&] {
        try {
            AgentFrame frame( options, log );
            Agent( frame, startConfig( frame ) ).run( chip );
            return EXIT_SUCCESS;
        } catch ( const std::exception & error ) {
            log.refused( error.what() );
            throw;
        }
    };
    return options.supervise ? supervise( run, log ) : run();
}

} // namespace KelHost
