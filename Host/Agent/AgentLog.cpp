#include "Host/Agent/AgentLog.h"

#include "Host/Json/MessageText.h"
#include "Platform/Logging/Syslog.h"
#include "Platform/Logging/Trace.h"

#include <string_view>
#include <syslog.h>

namespace KelHost {

namespace {

constexpr std::size_t lineLimit = 8192; // bytes

std::unique_ptr<LogOutput> outputOf( bool toStandardError ) {
    if ( toStandardError ) {
        return std::make_unique<StandardErrorOutput>();
    }
    return std::make_unique<SyslogOutput>();
}

} // namespace

AgentLog::AgentLog( bool toStandardError )
    : toStandardError_( toStandardError ), output_( outputOf( toStandardError ) ) {
    Kel::syslogSinkIs( [this]( int severity, std::string_view mnemonic, std::string_view text ) {
        const std::string message = std::string( mnemonic ).append( " " ).append( text );
        const std::string kind = "syslog " + std::to_string( severity ) + " ";
        put( severity, own( ( toStandardError_ ? kind : "" ) + message ) );
    } );
    Kel::traceSinkIs(
        [this]( const Kel::TraceRecord & record ) { put( LOG_DEBUG, Kel::traceText( record ) ); } );
}

AgentLog::AgentLog( std::unique_ptr<LogOutput> output ) : output_( std::move( output ) ) {}

AgentLog::~AgentLog() {
    close();
    Kel::syslogSinkIs( nullptr );
    Kel::traceSinkIs( nullptr );
}

// The system's log names the program itself.
std::string AgentLog::own( const std::string & text ) const {
    return toStandardError_ ? "kelqos: " + text : text;
}

void AgentLog::info( const std::string & text ) const { put( LOG_INFO, own( text ) ); }

void AgentLog::warning( const std::string & text ) const { put( LOG_WARNING, own( text ) ); }

void AgentLog::error( const std::string & text ) const { put( LOG_ERR, own( text ) ); }

void AgentLog::refused( const std::string & text ) const {
    if ( !toStandardError_ ) {
        error( text );
    }
}

bool AgentLog::hasMore() const { return lost_ != 0 || !output_->flush( 0 ); }

void AgentLog::retry() const {
    if ( output_->flush( 0 ) && lost_ != 0 &&
         output_->write( LOG_WARNING, own( "lines of the log that were lost, because nobody read "
                                           "it: " +
                                           std::to_string( lost_ ) ) ) ) {
        lost_ = 0;
    }
}

void AgentLog::close() const {
    constexpr int patience = 200; // milliseconds
    retry();
    (void)output_->flush( patience );
}

void AgentLog::put( int priority, std::string_view line ) const {
    retry();
    if ( lost_ != 0 || !output_->write( priority, shown( line, lineLimit ) ) ) {
        ++lost_;
    }
}

} // namespace KelHost
