#include "Host/Agent/Protocol.h"
#include "tests/Host/ProcessHelpers.h"

using namespace KelHost;
using namespace KelHostTest;

namespace {

// One port with one group and one queue, whose counters are in use. The leak handler polls so often
// that a test need not wait for it.
struct Setting {
    unsigned leakThreshold = 100;
    unsigned drops = 0;
    unsigned minLimitCells = 1000;
    std::string portIndex = "4";

    std::string text() const {
        return R"({ "device": { "maxPipeId": 0 }, "bufferParams": {
            "totalCellsAvailableForIngress": 200000, "leakPollInterval": 0.001,
            "leakThreshold": )" +
               std::to_string( leakThreshold ) + R"( },
          "ports": { "Ethernet1": { "portIndex": )" +
               portIndex + R"(, "enabled": "enabled", "qos": {
            "ppgs": { "8": { "internalCosBmp": 255, "minLimitCells": )" +
               std::to_string( minLimitCells ) + R"( } }, "txQueues": { "0": {} } } } },
          "counters": { "0": { "queue": { "32": 7 }, "block": {
            "3": { "name": "drops", "type": 0, "value": )" +
               std::to_string( drops ) + " } } } } }\n";
    }
};

constexpr const char * queueInUse = "Ethernet1:\n"
                                    "  TxQ TotalUsage\n"
                                    "====================\n"
                                    "    0          7\n"
                                    "\n";
const std::vector<std::string> showQueue = { "show", "tm", "intf", "Ethernet1", "nonzero" };
const std::vector<std::string> showBuf = { "show", "buf" };
constexpr const char * leakMessage = "KEL_INTERNAL_BUFFER_ERROR";

bool contains( const std::string & text, const std::string & part ) {
    return text.find( part ) != std::string::npos;
}

class AgentTest : public testing::Test {
  protected:
    std::string config( const Setting & setting ) const {
        return folder.write( "switch.json", setting.text() );
    }
    bool exists( const std::string & name ) const {
        return std::filesystem::exists( folder.file( name ) );
    }
    FileDescriptor connection() const { return connectedTo( socket ); }
    static void say( const FileDescriptor & client, const std::string & text ) {
        (void)send( client.get(), text.data(), text.size(), MSG_NOSIGNAL );
    }
    Outcome feed( const AgentProcess & agent, const std::string & patch ) const {
        return agent.ask( { "feed", folder.write( "feed.json", patch ) } );
    }

    TempFolder folder;
    std::string socket = folder.file( "socket" );
};

} // namespace

TEST_F( AgentTest, answersClientsWithAnExitStatusAndStops ) {
    AgentProcess agent( config( {} ), socket );
    const std::string log = agent.logUpTo( " reload" );
    EXPECT_TRUE( contains( log, "1 ports, 1 priority groups, 1 queues; shared pools of 197080 "
                                "(ingress) and 266240 (egress) cells" ) );
    EXPECT_TRUE( contains( log, " show buf --socket " + socket + "\n" ) );
    EXPECT_EQ( std::filesystem::status( socket ).permissions(), std::filesystem::perms( 0660 ) );

    EXPECT_EQ( agent.ask( showQueue ), ( Outcome{ 0, queueInUse } ) );
    EXPECT_EQ( agent.ask( { "show", "tm", "intf" } ),
               ( Outcome{ 1, "", "interface name missing\n" } ) );
    EXPECT_EQ( agent.ask( { "show", "tm", "intf", "Ethernet:9" } ),
               ( Outcome{ 1, "", "Unknown interface: Ethernet:9\n" } ) );
    EXPECT_EQ( agent.ask( { "show", "nothing" } ),
               ( Outcome{ 1, "", "Unknown command: show nothing\n" } ) );
    EXPECT_EQ( agent.ask( { "show", std::string( 5000, 'x' ) } ),
               ( Outcome{ 1, "", "a command has at most 4096 bytes, and this one 5005\n" } ) );
    EXPECT_TRUE( contains( agent.ask( { "ring" } ).out, "Ethernet1" ) );

    // What an operator may ask about is traced without being asked for.
    config( { .minLimitCells = 300000 } );
    EXPECT_EQ( agent.ask( { "reload" } ).status, 0 );
    EXPECT_TRUE( contains( agent.logUpTo( "Scheduling buffer log clock" ),
                           "reconfigureSharedPools: Ingress buffer reserved > totalCells" ) );

    EXPECT_EQ( agent.stop(), 0 );
    EXPECT_FALSE( exists( "socket" ) || exists( "socket.lock" ) || exists( "socket.warm" ) );
    EXPECT_EQ( agent.ask( showBuf ), ( Outcome{ 1, "", "no agent answers on " + socket + "\n" } ) );
}

TEST_F( AgentTest, takesCountersFromOutside ) {
    AgentProcess agent( config( {} ), socket );
    agent.ready();
    const std::string patched = folder.file( "feed.json" );

    EXPECT_EQ( feed( agent, R"({ "counters": { "0": { "queue": { "32": 0 } } } })" ).status, 0 );
    EXPECT_EQ( agent.ask( showQueue ), ( Outcome{ 0, "" } ) );
    EXPECT_EQ( feed( agent, R"({ "0": { "queue": { "32": 7 }, "ppg": { "128": null } } })" ).status,
               0 );
    EXPECT_EQ( agent.ask( showQueue ), ( Outcome{ 0, queueInUse } ) );

    EXPECT_EQ( feed( agent, "{ \"0\":\n{ \"queue\": 3 x" ).err,
               patched + ":2:14: JSON syntax error: invalid literal\n" );
    EXPECT_EQ( feed( agent, R"({ "0": { "queue": { "32": 1, "70000": 1 } } })" ).status, 1 );
    EXPECT_EQ( feed( agent, R"({ "counters": {}, "ports": {} })" ).status, 1 );
    EXPECT_EQ( feed( agent, "[]" ).status, 1 );
    EXPECT_EQ( agent.ask( { "feed", folder.file( "none.json" ) } ).status, 1 );
    EXPECT_EQ( agent.ask( showQueue ), ( Outcome{ 0, queueInUse } ) );

    // The counters of the file are not those of the running chip.
    feed( agent, R"({ "0": { "block": { "3": { "value": 50 } } } })" );
    EXPECT_TRUE( contains( agent.ask( { "show", "tm", "blocklevel", "nonzero" } ).out, "50" ) );
    EXPECT_EQ( agent.ask( { "reload" } ).status, 0 );
    EXPECT_TRUE( contains( agent.ask( { "show", "tm", "blocklevel", "nonzero" } ).out, "50" ) );
    EXPECT_EQ( agent.ask( { "clear", "counters" } ).status, 0 );
    EXPECT_EQ( agent.ask( { "show", "tm", "blocklevel", "nonzero" } ), ( Outcome{ 0, "" } ) );
}

TEST_F( AgentTest, reloadsWholeOrNotAtAll ) {
    const NotifySocket manager( folder.file( "notify" ) );
    AgentProcess agent( config( {} ), socket, {}, folder.file( "notify" ) );
    EXPECT_EQ( manager.next().rfind( "READY=1\n", 0 ), 0u );

    config( { .minLimitCells = 2000 } );
    agent.process().signal( SIGHUP );
    EXPECT_EQ( manager.next().rfind( "RELOADING=1\nMONOTONIC_USEC=", 0 ), 0u );
    EXPECT_TRUE( contains( manager.next(), "READY=1\nSTATUS=reloaded" ) );
    const Outcome reloaded = agent.ask( showBuf );
    EXPECT_TRUE( contains( reloaded.out, "PPG min cell count: 2000\n" ) );

    // One member does not fit; the other one, which would, stays as it was too.
    config( { .minLimitCells = 3000, .portIndex = "5" } );
    agent.process().signal( SIGHUP );
    manager.next();
    EXPECT_TRUE( contains( manager.next(), "/ports/Ethernet1/portIndex: " ) );
    EXPECT_TRUE( contains( agent.logUpTo( "refused" ), "/ports/Ethernet1/portIndex: " ) );
    folder.write( "switch.json", "{ \"ports\": 7 }" );
    const Outcome refused = agent.ask( { "reload" } );
    EXPECT_EQ( refused.status, 1 );
    EXPECT_TRUE( contains( refused.err, "switch.json: /ports: " ) );
    EXPECT_EQ( agent.ask( showBuf ), reloaded );
    manager.next();
    manager.next();

    EXPECT_EQ( agent.stop(), 0 );
    EXPECT_EQ( manager.next(), "STOPPING=1\n" );
}

TEST_F( AgentTest, saysWhatAReloadWouldDoAndDoesNotDoIt ) {
    AgentProcess agent( config( {} ), socket );
    agent.ready();
    EXPECT_EQ( feed( agent, R"({ "0": { "queue": { "32": 9 } } })" ).status, 0 );
    const Outcome before = agent.ask( { "show", "document" } );
    EXPECT_TRUE( contains( before.out, "\"32\": 9" ) && contains( before.out, "\"drops\"" ) );
    EXPECT_EQ( agent.ask( { "reload", "--dry-run", "--exit-code" } ).status, 0 );

    config( { .minLimitCells = 2000 } );
    const Outcome plan = agent.ask( { "reload", "--dry-run", "--exit-code" } );
    EXPECT_EQ( plan.status, 3 );
    EXPECT_TRUE( contains( plan.out, "group 8 of Ethernet1: minimum 1000 -> 2000 cells\n" ) );
    EXPECT_TRUE( contains( plan.out, "\n1 change, 2 settings of the chip" ) ) << plan;
    EXPECT_EQ( agent.ask( { "show", "document" } ), before );

    folder.write( "switch.json", "{ \"ports\": 1 }" );
    const std::string refusal = folder.file( "switch.json" ) + ": /ports: must be an object\n";
    EXPECT_EQ( agent.ask( { "reload", "--dry-run" } ), ( Outcome{ 2, "", refusal } ) );
    std::filesystem::remove( folder.file( "switch.json" ) );
    EXPECT_EQ( agent.ask( { "reload", "--dry-run" } ).status, 2 );
    EXPECT_EQ( agent.ask( { "reload", "--calls" } ).status, 2 );
    EXPECT_EQ( agent.stop(), 0 );
    EXPECT_FALSE( contains( agent.log(), "reload" ) ); // nothing has happened
}

TEST_F( AgentTest, tellsOnceWhatIsDoubtful ) {
    const auto write = [this]( unsigned minimum, const char * more = "" ) {
        return folder.write( "switch.json",
                             R"({ "bufferParams": { "totalCellsAvailableForIngress": 10000 },
            "ports": { "Ethernet1": { "portIndex": 4, "qos": { "ppgs": { "8": {}, "3": {
                "minLimitCells": )" +
                                 std::to_string( minimum ) + " }" + more + " } } } } }" );
    };
    AgentProcess agent( write( 7 ), socket );
    EXPECT_TRUE( contains( agent.logUpTo( "listening" ), "minimum-not-counted" ) );
    EXPECT_TRUE( agent.ask( { "reload" } ).out.ends_with( "take its minimum away\n" ) );
    write( 7, R"(, "0": {})" );
    const std::string answer = agent.ask( { "reload" } ).out;
    EXPECT_TRUE( contains( answer, "\n2 warnings:\n/ports/Ethernet1/qos/ppgs/3: minimum-not-" ) )
        << answer;
    write( 0 );
    EXPECT_FALSE( contains( agent.ask( { "reload" } ).out, "warning" ) );
    EXPECT_EQ( agent.stop(), 0 );
    const std::string log = agent.log();
    EXPECT_TRUE( contains( log, "group-zero" ) );
    EXPECT_FALSE( contains( log, "minimum-not-counted" ) );
}

TEST_F( AgentTest, noClientDisturbsOthersOrTimers ) {
    const std::string ask = encoded( Request{ RequestKind::command, "show tm" } );
    AgentProcess agent( config( {} ), socket );
    agent.ready();
    std::vector<FileDescriptor> clients( 40 );
    for ( FileDescriptor & client : clients ) {
        client = connection(); // says nothing
    }
    say( clients[0], "command 8\nshow" );
    say( clients[1], std::string( 1 << 20, 'x' ) );
    say( clients[2], "feed 99999999999999999999\n" );
    for ( std::size_t i = 3; i < 20; ++i ) {
        say( clients[i], ask ); // does not read
    }
    say( clients[20], "command 12\nshow tm intf" );
    say( clients[21], std::string( "command 20\nshow tm intf \0%s%n\n\n\n", 31 ) );
    say( connection(), ask );                        // hangs up at once
    say( connection(), ask.substr( 0, 5 ) );         // in the middle
    say( connection(), "feed 1000000\nx\n{ \"0\"" ); // in the middle of much
    EXPECT_EQ( agent.ask( showQueue ), ( Outcome{ 0, queueInUse } ) );

    // The poll timer finds the leak, with all of them still there.
    EXPECT_EQ( feed( agent, R"({ "0": { "block": { "3": { "value": 100 } } } })" ).status, 0 );
    EXPECT_EQ( agent.process().exitStatus(), 0 );
    EXPECT_TRUE( contains( agent.log(), leakMessage ) );
}

TEST_F( AgentTest, hasItsSocketForItself ) {
    AgentProcess first( config( {} ), socket );
    first.ready();
    const Outcome second = runKelqos( { "agent", "--config", config( {} ), "--socket", socket } );
    EXPECT_EQ(
        second,
        ( Outcome{ 1, "", "cannot listen on " + socket + ": another agent is running there\n" } ) );
    // Also when somebody took its lock file away.
    std::filesystem::remove( socket + ".lock" );
    EXPECT_EQ( runKelqos( { "agent", "--config", config( {} ), "--socket", socket } ), second );
    EXPECT_FALSE( exists( "socket.lock" ) );
    EXPECT_EQ( first.ask( showBuf ).status, 0 );

    first.process().signal( SIGKILL );
    EXPECT_EQ( first.process().exitStatus(), -SIGKILL );
    EXPECT_TRUE( exists( "socket" ) );
    AgentProcess next( config( {} ), socket );
    next.ready();
    EXPECT_EQ( next.ask( showQueue ), ( Outcome{ 0, "" } ) ); // it was not stopped
    EXPECT_EQ( next.stop(), 0 );

    folder.write( "socket", "somebody's" );
    EXPECT_EQ( runKelqos( { "agent", "--config", config( {} ), "--socket", socket } ).err,
               "cannot listen on " + socket + ": it is there and is no socket\n" );
    EXPECT_TRUE( exists( "socket" ) );
    EXPECT_FALSE( exists( "socket.lock" ) );
}

TEST_F( AgentTest, itsSocketIsAFile ) {
    const Outcome refused{ 2, "",
                           "\"@a\" is no socket path: an abstract socket is open to everybody; a "
                           "file of that name is ./@a\n" };
    EXPECT_EQ( runKelqos( { "agent", "--config", config( {} ), "--socket", "@a" } ), refused );
    EXPECT_EQ( runKelqos( { "show", "buf", "--socket", "@a" } ), refused );
    EXPECT_FALSE( std::filesystem::exists( "@a.lock" ) );
}

TEST_F( AgentTest, clientWhoseReaderHasSeenEnoughIsSilent ) {
    AgentProcess agent( config( {} ), socket );
    agent.ready();
    int ends[2];
    ASSERT_EQ( pipe2( ends, O_CLOEXEC ), 0 );
    close( ends[0] );
    const FileDescriptor output( ends[1] );
    EXPECT_EQ( runKelqos( { "show", "buf", "--socket", socket }, output.get() ),
               ( Outcome{ 1, "", "" } ) );
}

TEST_F( AgentTest, leakIsFollowedByAWarmRestart ) {
    AgentProcess agent( config( { .leakThreshold = 5, .drops = 5 } ), socket, { "--supervise" } );
    const std::string log = agent.logUpTo( " reload" );
    EXPECT_TRUE( contains( log, leakMessage ) );
    EXPECT_TRUE( contains( log, "the agent ended with status 0; starting it again\n" ) );
    EXPECT_TRUE( contains( log, "warm restart: the counter stores are empty\n" ) );
    EXPECT_TRUE( contains( log, "1 ports, 1 priority groups, 1 queues" ) );
    EXPECT_EQ( agent.ask( showQueue ), ( Outcome{ 0, "" } ) );
    EXPECT_TRUE( contains( agent.ask( showBuf ).out, "PPG min cell count: 1000\n" ) );

    // A reload goes through the supervisor; the leak in the file stays out of the running agent.
    agent.process().signal( SIGHUP );
    EXPECT_TRUE( contains( agent.logUpTo( "reloaded" ), "reloaded" ) );
    EXPECT_EQ( agent.stop(), 0 );
    EXPECT_TRUE( contains( agent.log(), "stopped\n" ) );
    EXPECT_FALSE( exists( "socket" ) || exists( "socket.warm" ) );
}

TEST_F( AgentTest, restartAfterALeakIsWarmWithoutASupervisorToo ) {
    const std::string leaking = config( { .leakThreshold = 5, .drops = 5 } );
    EXPECT_EQ( AgentProcess( leaking, socket ).process().exitStatus(), 0 );
    AgentProcess next( leaking, socket );
    next.ready();
    EXPECT_EQ( next.ask( showQueue ), ( Outcome{ 0, "" } ) );
    EXPECT_EQ( next.stop(), 0 );
}

TEST_F( AgentTest, warmRestartDoesWithoutAFileThatHasBecomeUnusable ) {
    AgentProcess agent( config( { .leakThreshold = 5 } ), socket, { "--supervise" } );
    agent.ready();
    folder.write( "switch.json", "{" );
    EXPECT_EQ( agent.ask( { "reload" } ).status, 1 );
    feed( agent, R"({ "0": { "block": { "3": { "value": 5 } } } })" );
    EXPECT_TRUE( contains(
        agent.logUpTo( "starting with the document that was applied last, " + socket + ".json\n" ),
        leakMessage ) );
    agent.ready();
    EXPECT_TRUE( contains( agent.ask( showBuf ).out, "PPG min cell count: 1000\n" ) );
    EXPECT_EQ( agent.stop(), 0 );
}

TEST_F( AgentTest, supervisorGivesUpAnAgentThatCannotLive ) {
    AgentProcess agent( config( { .leakThreshold = 0 } ), socket, { "--supervise" } );
    EXPECT_EQ( agent.process().exitStatus(), 1 );
    const std::string log = agent.log();
    std::size_t ends = 0;
    for ( std::size_t at = log.find( leakMessage ); at != std::string::npos; ++ends ) {
        at = log.find( leakMessage, at + 1 );
    }
    EXPECT_EQ( ends, 5u );
    EXPECT_TRUE( contains( log, "ended with status 0, for the fifth time within a minute; giving "
                                "up\n" ) );
}

TEST_F( AgentTest, supervisorDoesNotRepeatWhatIsRefused ) {
    const std::string file = folder.write( "switch.json", "{}x" );
    const Outcome refused = runKelqos(
        { "agent", "--supervise", "--config", file, "--socket", socket, "--foreground" } );
    EXPECT_EQ( refused.status, 2 );
    EXPECT_EQ( refused.err, file + ":1:3: JSON syntax error: invalid literal\n" );
}
