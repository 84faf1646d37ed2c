#include "tests/Host/ProcessHelpers.h"

#include <fstream>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace KelHost;
using namespace KelHostTest;

// A real agent on a bad night: whatever happens around it, it answers, ends when it is told to, and
// comes up again.

namespace {

std::string document( unsigned minLimitCells ) {
    return R"({ "device": { "maxPipeId": 0 }, "bufferParams": {
        "totalCellsAvailableForIngress": 200000 }, "ports": { "Ethernet1": { "portIndex": 4,
        "qos": { "ppgs": { "8": { "internalCosBmp": 255, "minLimitCells": )" +
           std::to_string( minLimitCells ) + " } } } } } }\n";
}

const std::string broken = "{";
const std::vector<std::string> showBuf = { "show", "buf" };
const std::vector<std::string> showTm = { "show", "tm" };

bool contains( const std::string & text, const std::string & part ) {
    return text.find( part ) != std::string::npos;
}

// A feed of all that a feed can have, almost.
std::string largeFeed() {
    std::string text = "{";
    for ( int pipe = 0; pipe < 4; ++pipe ) {
        text += ( pipe == 0 ? "\"" : "}},\"" ) + std::to_string( pipe ) + "\":{\"queue\":{\"0\":1";
        for ( int index = 1; index < 65536; ++index ) {
            text += ",\"" + std::to_string( index ) + "\":1";
        }
    }
    return text + "}}}";
}

class AgentNight : public testing::Test {
  protected:
    std::string config( const std::string & text = document( 1000 ) ) const {
        return folder.write( "switch.json", text );
    }
    std::string file( const std::string & name ) const { return folder.file( name ); }
    FileDescriptor connection() const { return connectedTo( socket ); }
    static void say( const FileDescriptor & client, const std::string & text ) {
        EXPECT_EQ( send( client.get(), text.data(), text.size(), MSG_NOSIGNAL ),
                   static_cast<ssize_t>( text.size() ) );
    }
    Outcome start() const {
        return runKelqos(
            { "agent", "--config", file( "switch.json" ), "--socket", socket, "--foreground" } );
    }
    // The process that has the socket.
    pid_t pid() const {
        const FileDescriptor client = connection();
        ucred peer{};
        socklen_t size = sizeof peer;
        EXPECT_EQ( getsockopt( client.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size ), 0 );
        return peer.pid;
    }
    // Its memory, in MiB.
    long memory( const char * what ) const {
        std::ifstream status( "/proc/" + std::to_string( pid() ) + "/status" );
        for ( std::string line; std::getline( status, line ); ) {
            if ( line.starts_with( what ) ) {
                return std::stol( line.substr( line.find( ':' ) + 1 ) ) / 1024;
            }
        }
        return -1;
    }
    static std::string minimum( const AgentProcess & agent ) {
        const std::string out = agent.ask( showBuf ).out;
        const std::size_t at = out.find( "PPG min cell count: " );
        return at == std::string::npos ? out
                                       : out.substr( at + 20, out.find( '\n', at ) - at - 20 );
    }

    TempFolder folder;
    std::string socket = folder.file( "socket" );
};

} // namespace

TEST_F( AgentNight, answersWhileItReadsMuch ) {
    AgentProcess agent( config(), socket );
    agent.ready();
    const long before = memory( "VmRSS" );
    const std::string feed = "feed\n" + largeFeed();
    const FileDescriptor feeder = connection();
    say( feeder, "feed " + std::to_string( feed.size() ) + "\n" + feed );
    EXPECT_EQ( minimum( agent ), "1000" );
    pollfd answer{ feeder.get(), POLLIN, 0 };
    EXPECT_EQ( poll( &answer, 1, 0 ), 0 ); // others did not have to wait for it
    EXPECT_TRUE( comes( feeder.get(), "the end of the feed" ) );
    EXPECT_EQ( agent.ask( { "feed", folder.write( "none.json", R"({"counters":null})" ) } ).status,
               0 );
    EXPECT_EQ( agent.ask( { "reload" } ).status, 0 ); // by now the feed has been forgotten
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LT( memory( "VmHWM" ), before + 256 );
    EXPECT_LT( memory( "VmRSS" ), before + 32 );
#else
    (void)before;
#endif
    EXPECT_EQ( agent.stop(), 0 );
}

#ifndef __SANITIZE_ADDRESS__
TEST_F( AgentNight, refusesWhatThereIsNoMemoryFor ) {
    AgentProcess agent( config(), socket );
    agent.ready();
    const std::string feed = folder.write( "feed.json", largeFeed() );
    std::set<std::string> complaints;
    for ( rlim_t more = 12; more < 128; more += 10 ) { // MiB
        rlimit limit{ ( static_cast<rlim_t>( memory( "VmSize" ) ) + more ) << 20, RLIM_INFINITY };
        EXPECT_EQ( prlimit( pid(), RLIMIT_AS, &limit, nullptr ), 0 );
        complaints.insert( agent.ask( { "feed", feed } ).err );
        EXPECT_EQ( minimum( agent ), "1000" );
    }
    EXPECT_EQ( complaints, ( std::set<std::string>{ "", "out of memory\n" } ) );
    EXPECT_EQ( agent.stop(), 0 );
}
#endif

TEST_F( AgentNight, readsRegularFilesOnly ) {
    ASSERT_EQ( mkfifo( file( "fifo" ).c_str(), 0600 ), 0 );
    const FileDescriptor listener( ::socket( AF_UNIX, SOCK_STREAM, 0 ) );
    const UnixAddress address( file( "other" ) );
    ASSERT_EQ( bind( listener.get(), address.get(), address.size ), 0 );
    const std::pair<std::string, std::string> refused[] = { { file( "fifo" ), "a FIFO" },
                                                            { file( "other" ), "a socket" },
                                                            { "/dev/zero", "a device" },
                                                            { file( "" ), "a folder" } };
    AgentProcess agent( config(), socket );
    agent.ready();
    for ( const auto & [path, kind] : refused ) {
        const std::string why =
            path + ": cannot be read: it is " + kind + ", and must be a regular file\n";
        EXPECT_EQ( runKelqos( { "agent", "--config", path, "--socket", file( "s" ) } ),
                   ( Outcome{ 2, "", why } ) );
        EXPECT_EQ( runKelqos( { "play", path } ), ( Outcome{ 2, "", why } ) );
    }
    std::filesystem::rename( file( "fifo" ), file( "switch.json" ) );
    EXPECT_TRUE( contains( agent.ask( { "reload" } ).err, "it is a FIFO" ) );
    EXPECT_EQ( agent.stop(), 0 );
}

TEST_F( AgentNight, goesOnWhenNobodyReadsItsLog ) {
    AgentProcess agent( config(), socket, { "--trace", "*=8" } );
    agent.ready();
    for ( int i = 0; i < 300; ++i ) {
        EXPECT_EQ( agent.ask( showTm ).status, 0 );
    }
    EXPECT_TRUE( contains( agent.logUpTo( "nobody read" ), "lines of the log that were lost" ) );
    EXPECT_EQ( agent.stop(), 0 );
}

TEST_F( AgentNight, endsThoughNobodyReadsItsLog ) {
    for ( const char * mode : { "--foreground", "--supervise" } ) {
        AgentProcess agent( config(), socket, { "--trace", "*=8", mode } );
        agent.ready();
        for ( int i = 0; i < 300; ++i ) {
            EXPECT_EQ( agent.ask( showTm ).status, 0 );
        }
        EXPECT_EQ( agent.stop(), 0 ) << mode;
        EXPECT_FALSE( std::filesystem::exists( socket ) );
    }
}

TEST_F( AgentNight, answersBesideThoseWhoOnlyConnect ) {
    AgentProcess agent( config(), socket );
    agent.ready();
    std::vector<FileDescriptor> silent( 300 );
    for ( FileDescriptor & client : silent ) {
        client = connection();
    }
    for ( int i = 0; i < 2000; ++i ) {
        connection();
    }
    EXPECT_EQ( minimum( agent ), "1000" );
    EXPECT_EQ( agent.stop(), 0 );
}

TEST_F( AgentNight, comesUpWithTheDocumentThatWasAppliedLast ) {
    const std::string kept = socket + ".json";
    const std::string says = "starting with the document that was applied last, " + kept + "\n";
    {
        AgentProcess agent( config(), socket );
        agent.ready();
        config( document( 2000 ) );
        EXPECT_EQ( agent.ask( { "reload" } ).status, 0 );
        config( broken );
        EXPECT_EQ( agent.ask( { "reload" } ).status, 1 );
        agent.process().signal( SIGKILL );
        EXPECT_EQ( agent.process().exitStatus(), -SIGKILL );
    }
    for ( int i = 0; i < 2; ++i ) {
        AgentProcess agent( file( "switch.json" ), socket );
        const std::string log = agent.logUpTo( " reload" );
        EXPECT_TRUE( contains( log, "switch.json:1:2: JSON syntax error: " ) );
        EXPECT_TRUE( contains( log, says ) );
        EXPECT_TRUE( contains( log, "programmed from " + kept + ": " ) );
        EXPECT_EQ( minimum( agent ), "2000" );
        agent.process().signal( SIGKILL );
        agent.process().exitStatus();
    }
    {
        AgentProcess agent( file( "switch.json" ), socket, { "--supervise" } );
        agent.ready();
        kill( pid(), SIGKILL );
        EXPECT_TRUE( contains( agent.ready().ask( showBuf ).out, "cell count: 2000\n" ) );
        // An agent whose supervisor is killed has not been told to stop.
        agent.process().signal( SIGKILL );
        EXPECT_EQ( agent.process().exitStatus(), -SIGKILL );
        agent.logUpTo( "stopped" );
    }
    AgentProcess agent( file( "switch.json" ), socket );
    EXPECT_EQ( minimum( agent.ready() ), "2000" );
    EXPECT_EQ( agent.stop(), 0 );
    EXPECT_FALSE( std::filesystem::exists( kept ) );
    EXPECT_EQ( start().status, 2 );
}

TEST_F( AgentNight, trustsAKeptDocumentOfItsOwnOnly ) {
    const std::string kept = socket + ".json";
    const std::string mine = folder.write( "mine.json", document( 7 ) );
    config( broken );
    std::filesystem::create_symlink( mine, kept );
    EXPECT_TRUE( contains( start().err, "the kept document " + kept + " is not used: " ) );
    std::filesystem::remove( kept );
    folder.write( "socket.json", document( 7 ) );
    ASSERT_EQ( chmod( kept.c_str(), 0666 ), 0 );
    EXPECT_TRUE( contains( start().err, "others may write to it" ) );
    ASSERT_EQ( mkfifo( file( "fifo" ).c_str(), 0600 ), 0 );
    std::filesystem::rename( file( "fifo" ), kept );
    EXPECT_TRUE( contains( start().err, "it is no regular file" ) );

    // What cannot be kept is told, and that is all. A link is replaced, not followed.
    std::filesystem::remove( kept );
    std::filesystem::create_directories( kept + "/x" );
    AgentProcess agent( config(), socket );
    EXPECT_TRUE(
        contains( agent.logUpTo( " reload" ), "cannot keep the document in " + kept + ": " ) );
    EXPECT_TRUE( contains( agent.ask( { "reload" } ).out, "cannot keep the document" ) );
    std::filesystem::remove_all( kept );
    std::filesystem::create_symlink( mine, kept );
    EXPECT_EQ( agent.ask( { "reload" } ),
               ( Outcome{ 0, "reloaded " + file( "switch.json" ) + "\n" } ) );
    EXPECT_FALSE( std::filesystem::is_symlink( kept ) );
    EXPECT_EQ( std::filesystem::file_size( mine ), document( 7 ).size() );
    EXPECT_EQ( agent.stop(), 0 );
}

TEST_F( AgentNight, leavesTheSocketOfAnotherAgentAlone ) {
    AgentProcess first( config(), socket );
    first.ready();
    std::filesystem::remove( socket );
    std::filesystem::remove( socket + ".lock" );
    AgentProcess second( config(), socket );
    second.ready();
    EXPECT_TRUE( contains( first.ask( { "reload" } ).out, "reloaded" ) ); // answered by the second
    first.process().signal( SIGHUP );
    EXPECT_TRUE( contains( first.logUpTo( "cannot keep" ), "another agent has taken the place" ) );
    EXPECT_EQ( first.stop(), 0 );
    EXPECT_TRUE( std::filesystem::exists( socket + ".json" ) );
    EXPECT_EQ( minimum( second ), "1000" );
    EXPECT_EQ( second.stop(), 0 );
}

TEST_F( AgentNight, tellsWhatIsReservedBeyondWhatThereIs ) {
    const std::string text =
        "more is reserved than there is: ingress reserves 301920 of 200000 cells";
    AgentProcess agent( config( document( 300000 ) ), socket );
    EXPECT_TRUE( contains( agent.logUpTo( " reload" ), text ) );
    EXPECT_EQ( agent.ask( { "reload" } ),
               ( Outcome{ 0, "reloaded " + file( "switch.json" ) + "\n" + text + "\n" } ) );
    config();
    EXPECT_EQ( agent.ask( { "reload" } ).out, "reloaded " + file( "switch.json" ) + "\n" );
    EXPECT_EQ( agent.stop(), 0 );
}
