#include "Host/Agent/AgentLog.h"
#include "Platform/Logging/Syslog.h"
#include "tests/Host/ProcessHelpers.h"

#include <regex>
#include <sys/stat.h>

using namespace KelHost;
using namespace KelHostTest;

namespace {

// The system's log in the test's hand.
FileDescriptor daemonOn( const std::string & path ) {
    FileDescriptor fd( socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 ) );
    const UnixAddress address( path );
    EXPECT_EQ( bind( fd.get(), address.get(), address.size ), 0 );
    return fd;
}

// What has come so far, one line each.
std::string heard( const FileDescriptor & daemon ) {
    std::string text;
    char line[9000];
    for ( ssize_t size = 0; size >= 0; size = recv( daemon.get(), line, sizeof line, 0 ) ) {
        text.append( line, static_cast<std::size_t>( size ) ).append( size > 0 ? "\n" : "" );
    }
    return text;
}

// Standard error is a pipe of the test's for as long as this lives.
class StandardErrorPipe {
  public:
    StandardErrorPipe() : before_( dup( STDERR_FILENO ) ) {
        int ends[2];
        EXPECT_EQ( pipe2( ends, O_CLOEXEC | O_NONBLOCK ), 0 );
        out_ = FileDescriptor( ends[0] );
        in_ = FileDescriptor( ends[1] );
        dup2( in_.get(), STDERR_FILENO );
    }
    ~StandardErrorPipe() { dup2( before_.get(), STDERR_FILENO ); }
    StandardErrorPipe( const StandardErrorPipe & ) = delete;
    StandardErrorPipe & operator=( const StandardErrorPipe & ) = delete;

    std::string text() const {
        std::string text;
        char piece[4096];
        for ( ssize_t size = 0; size >= 0; size = read( out_.get(), piece, sizeof piece ) ) {
            text.append( piece, static_cast<std::size_t>( size ) );
        }
        return text;
    }
    std::string identity() const {
        struct stat found {};
        EXPECT_EQ( fstat( in_.get(), &found ), 0 );
        return std::to_string( found.st_dev ) + ":" + std::to_string( found.st_ino );
    }

  private:
    FileDescriptor before_;
    FileDescriptor out_;
    FileDescriptor in_;
};

} // namespace

TEST( AgentLog, linesForTheSystemsLogAreSentOrCounted ) {
    const TempFolder folder;
    const std::string path = folder.file( "log" );
    const AgentLog log( std::make_unique<SyslogOutput>( path ) );
    log.info( "nobody is there" );
    EXPECT_TRUE( log.hasMore() );
    FileDescriptor daemon = daemonOn( path );
    log.retry();
    log.error( "tab\tend\n" );
    const std::string when = "[A-Z][a-z]{2} [ 0-9]\\d \\d\\d:\\d\\d:\\d\\d kelqos\\[\\d+\\]: ";
    EXPECT_TRUE( std::regex_match(
        heard( daemon ), std::regex( "<28>" + when + "lines of the log that were lost.*: 1\n<27>" +
                                     when + "tab\\\\u0009end\\\\u000a\n" ) ) );

    for ( int i = 0; i < 10000 && !log.hasMore(); ++i ) { // until its queue is full
        log.info( "more" );
    }
    EXPECT_TRUE( log.hasMore() );
    heard( daemon );
    log.retry();
    EXPECT_NE( heard( daemon ).find( "were lost" ), std::string::npos );

    daemon = FileDescriptor(); // is started again
    std::filesystem::remove( path );
    daemon = daemonOn( path );
    log.info( "welcome" );
    EXPECT_TRUE( heard( daemon ).ends_with( "welcome\n" ) );
}

TEST( AgentLog, standardErrorGetsTheTimeAndTheJournalThePriority ) {
    const StandardErrorPipe pipe;
    {
        const AgentLog log( true );
        log.info( "one\x1b[2J" );
        log.refused( "is told by somebody else" );
    }
    EXPECT_TRUE( std::regex_match(
        pipe.text(),
        std::regex(
            "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} kelqos: one\\\\u001b\\[2J\n" ) ) );
    setenv( "JOURNAL_STREAM", pipe.identity().c_str(), 1 );
    AgentLog( true ).error( "two" );
    unsetenv( "JOURNAL_STREAM" );
    EXPECT_EQ( pipe.text(), "<3>kelqos: two\n" );
}

TEST( AgentLog, standardErrorLosesWholeLinesOnly ) {
    const StandardErrorPipe pipe;
    const AgentLog log( true );
    const std::string line( 5000, 'x' );
    for ( int i = 0; i < 200; ++i ) {
        log.info( line );
    }
    std::string all;
    while ( log.hasMore() ) {
        all += pipe.text();
        log.retry();
    }
    all += pipe.text();
    int lines = 0;
    std::size_t begin = 0;
    for ( std::size_t end = all.find( '\n' ); end != std::string::npos;
          end = all.find( '\n', begin ) ) {
        const std::string one = all.substr( begin, end - begin );
        lines += one.ends_with( " kelqos: " + line ) ? 1 : 0;
        begin = end + 1;
    }
    EXPECT_GT( lines, 50 );
    EXPECT_TRUE( all.ends_with( "nobody read it: " + std::to_string( 200 - lines ) + "\n" ) );
}
