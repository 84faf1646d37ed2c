#include "Host/Command/PlanSubcommands.h"

#include "Host/Command/StandardOutput.h"
#include "Host/Json/TextFile.h"
#include "Host/Plan/ChangePage.h"
#include "Host/Plan/CheckPage.h"
#include "Host/Plan/CheckPicture.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace KelHost {

namespace {

constexpr int doesNotFit = 3; // check
constexpr int different = 3;  // diff --exit-code

WrittenDocument readDocument( const std::string & file ) {
    return writtenDocument( readInput( file ), inputName( file ) );
}

void writePicture( const std::string & file, const std::string & text ) {
    errno = 0;
    std::ofstream out( file, std::ios::binary | std::ios::trunc );
    if ( !( out << text ).flush() ) {
        throw std::system_error( errno, std::generic_category(),
                                 "cannot write the picture " + file );
    }
}

} // namespace

void PlanOptions::addTo( CLI::App & subcommand, CLI::Option * needed ) {
    for ( CLI::Option * option :
          { subcommand.add_flag( "--json", json_, "Print one JSON object, for programs" ),
            subcommand.add_flag( "--calls", calls_, "Print the driver calls too (JSON has them)" ),
            subcommand.add_flag( "--exit-code", exitCode_,
                                 "Exit with 3 when something changes" ) } ) {
        if ( needed != nullptr ) {
            option->needs( needed );
        }
    }
}

int PlanOptions::tell( const WrittenDocument & before, const WrittenDocument & after ) const {
    const ChangePlan plan = changePlanOf( before, after );
    const int status = writeAnswer(
        json_ ? jsonOf( plan ) : pageOf( plan, before.file, after.file, calls_, outputStyle() ) );
    return status == EXIT_SUCCESS && exitCode_ && !plan.changes.empty() ? different : status;
}

PlanSubcommands::PlanSubcommands( CLI::App & program )
    : check_( *program.add_subcommand(
          "check", "Say what a switch document reserves of the packet buffer, whether that fits, "
                   "and what is doubtful in it" ) ),
      diff_( *program.add_subcommand(
          "diff", "Say what a switch would do on the way from one document to another" ) ) {
    const char * const stdinHint = "Switch document (JSON); - is standard input";
    check_.add_option( "FILE", file_, stdinHint )->required();
    check_.add_flag( "--json", json_, "Print one JSON object, for programs" );
    check_.add_option( "--svg", picture_, "Draw the packet buffer, as an SVG picture" )
        ->type_name( "OUT" );
    check_.footer( "Exit status: 0 it fits; 3 it reserves more than there is; 2 it is refused." );
    diff_.add_option( "OLD", file_, stdinHint )->required();
    diff_.add_option( "NEW", newFile_, "Switch document (JSON)" )->required();
    options_.addTo( diff_ );
}

int PlanSubcommands::run() const {
    return check_.parsed() ? check()
                           : options_.tell( readDocument( file_ ), readDocument( newFile_ ) );
}

int PlanSubcommands::check() const {
    const DocumentCheck check = checkOf( readInput( file_ ), inputName( file_ ) );
    if ( !picture_.empty() ) {
        std::error_code missing; // one of them: then they are two
        if ( std::filesystem::equivalent( file_, picture_, missing ) ) {
            throw std::runtime_error( "the picture would take the place of the document " + file_ );
        }
        writePicture( picture_, pictureOf( check ) );
    }
    const int status = writeAnswer( json_ ? jsonOf( check ) : pageOf( check, outputStyle() ) );
    return status == EXIT_SUCCESS && !check.use.fits() ? doesNotFit : status;
}

} // namespace KelHost
