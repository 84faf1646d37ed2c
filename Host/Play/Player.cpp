#include "Host/Play/Player.h"

#include "Host/Plan/ModelledChip.h"
#include "Host/Play/EventLog.h"
#include "Host/Play/Scenario.h"
#include "Host/Play/StatusLog.h"
#include "Host/Switch/AnswerFile.h"
#include "Host/Switch/SwitchRuntime.h"
#include "Model/Operation.h"
#include "Platform/Framework/Assert.h"
#include "Platform/Logging/Syslog.h"

#include <cstdlib>
#include <optional>
#include <vector>

namespace KelHost {

namespace {

constexpr const char * simulationVariable = "SIMULATION_VMID";

KelModel::Fault toFault( const FaultStep & step ) {
    // The scenario was checked against the names that the model knows.
    const std::optional<KelModel::Operation> operation = KelModel::Operation::named( step.call );
    KEL_ASSERT( operation.has_value() );
    return { *operation, step.status, step.times, step.skip };
}

class Player {
  public:
    Player( const Scenario & scenario, int fd )
        : scenario_( scenario ),
          log_( fd, activityManager_ ),
          chip_( [this]( KelModel::Chip & chip ) { prepare( chip ); } ),
          runtime_( activityManager_, scenario.start ),
          statusLog_( log_, runtime_.store() ) {
        activityManager_.exitHandlerIs( [this]( int status ) { handleExit( status ); } );
        Kel::syslogTimeSourceIs( [this] { return activityManager_.now(); } );
        Kel::syslogSinkIs(
            [this]( int severity, std::string_view mnemonic, std::string_view text ) {
                log_.syslog( severity, mnemonic, text );
            } );
    }
    ~Player() {
        Kel::syslogSinkIs( nullptr );
        Kel::syslogTimeSourceIs( nullptr );
    }
    Player( const Player & ) = delete;
    Player & operator=( const Player & ) = delete;

    void run() {
        runtime_.start( chip_ );
        for ( const ScenarioStep & step : scenario_.steps ) {
            std::visit( [this]( const auto & kind ) { act( kind ); }, step );
            runtime_.serveTimers();
        }
    }

  private:
    void prepare( KelModel::Chip & chip ) {
        for ( const FaultStep & fault : scenario_.faults ) {
            chip.faults().faultIs( toFault( fault ) );
        }
        chip.logSinkIs( [this]( std::string_view line ) { log_.event( line ); } );
    }

    // Destructors must not run: the library's work in progress is still on the stack.
    [[noreturn]] void handleExit( int status ) {
        log_.exit( status );
        std::_Exit( status );
    }

    void act( const PatchStep & step ) {
        if ( step.difference ) {
            runtime_.apply( *step.difference );
        }
    }
    void act( const AdvanceStep & step ) {
        runtime_.advanceTo( activityManager_.now() + step.seconds );
    }
    void act( const CommandStep & step ) {
        const AnswerFile answer;
        runtime_.deliver( step.text, answer.fd() );
        log_.reply( answer.text() );
    }
    void act( const FaultStep & step ) { chip_.chip().faults().faultIs( toFault( step ) ); }
    void act( const ClearCountersStep & ) { runtime_.clearCounters(); }
    void act( const MirroringLimitStep & step ) {
        runtime_.minLimitCellsForMirroringIs( step.minLimitCells );
    }
    void act( const NotificationsStep & step ) { runtime_.notificationsActiveIs( step.active ); }

    const Scenario & scenario_;
    Kel::ActivityManager activityManager_;
    EventLog log_;
    ModelledChip chip_;
    SwitchRuntime runtime_;
    StatusLog statusLog_;
};

std::vector<FaultCall> faultCalls() {
    std::vector<FaultCall> calls;
    calls.reserve( KelModel::operations.size() );
    for ( const KelModel::OperationInfo & operation : KelModel::operations ) {
        calls.push_back( { operation.name, operation.unsignedStatus } );
    }
    return calls;
}

} // namespace

void play( const Scenario & scenario, int fd ) {
    if ( scenario.simulation ) {
        setenv( simulationVariable, "1", 1 );
    } else {
        unsetenv( simulationVariable );
    }
    Player( scenario, fd ).run();
}

void playFile( const std::string & file, int fd ) {
    play( readScenarioFile( file, faultCalls() ), fd );
}

} // namespace KelHost
