#include "Host/Agent/AgentLog.h"

#include "Platform/Logging/Syslog.h"
#include "Platform/Logging/Trace.h"

#include <cstdio>
#include <string_view>
#include <syslog.h>

namespace KelHost {

namespace {

void toSyslog( int priority, const std::string & text ) {
    ::syslog( priority, "%s", text.c_str() );
}

// One write, so that the lines of several processes do not mix.
void toStandardError( const std::string & text ) {
    std::fputs( ( "kelqos: " + text + "\n" ).c_str(), stderr );
}

std::string message( std::string_view mnemonic, std::string_view text ) {
    return std::string( mnemonic ).append( " " ).append( text );
}

} // namespace

AgentLog::AgentLog( bool toStandardError ) : toStandardError_( toStandardError ) {
    if ( toStandardError_ ) {
        Kel::syslogSinkIs( []( int severity, std::string_view mnemonic, std::string_view text ) {
            KelHost::toStandardError( "syslog " + std::to_string( severity ) + " " +
                                      message( mnemonic, text ) );
        } );
        return; // trace lines go there anyway
    }
    openlog( "kelqos", LOG_PID, LOG_DAEMON );
    Kel::syslogSinkIs( []( int severity, std::string_view mnemonic, std::string_view text ) {
        toSyslog( severity, message( mnemonic, text ) );
    } );
    Kel::traceSinkIs( []( const Kel::TraceRecord & record ) {
        toSyslog( LOG_DEBUG, Kel::traceText( record ) );
    } );
}

AgentLog::~AgentLog() {
    Kel::syslogSinkIs( nullptr );
    Kel::traceSinkIs( nullptr );
}

void AgentLog::info( const std::string & text ) const {
    toStandardError_ ? KelHost::toStandardError( text ) : toSyslog( LOG_INFO, text );
}

void AgentLog::error( const std::string & text ) const {
    toStandardError_ ? KelHost::toStandardError( text ) : toSyslog( LOG_ERR, text );
}

} // namespace KelHost
