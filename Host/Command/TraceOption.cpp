#include "Host/Command/TraceOption.h"

#include "Platform/Logging/Trace.h"

namespace KelHost {

TraceOption::TraceOption( CLI::App & subcommand, const std::string & target ) {
    subcommand
        .add_option( "--trace", settings_,
                     "Trace lines to " + target +
                         ". HANDLE is a trace handle or * for all; "
                         "LEVELS is * or levels from 0 to 9 like 0-4,7. May be repeated" )
        ->type_name( "HANDLE=LEVELS" )
        ->expected( 1 )
        ->multi_option_policy( CLI::MultiOptionPolicy::TakeAll );
}

void TraceOption::apply() const {
    for ( const std::string & setting : settings_ ) {
        Kel::traceLevelsIs( setting );
    }
}

} // namespace KelHost
