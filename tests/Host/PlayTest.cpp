#include "tests/Host/KelqosProcess.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>

using KelHostTest::Outcome;
using KelHostTest::play;
using KelHostTest::runKelqos;
using TestSupport::TempFolder;

namespace {

const std::string leaf = R"({
    "ports": { "Ethernet1": { "portIndex": 4, "qos": { "ppgs": { "3": { "internalCosBmp": 8 } } } } } })";

TEST( Play, AnAbortEndsWithTheRecordedEvents ) {
    const Outcome outcome = play( R"({ "config": )" + leaf + R"(, "steps": [],
        "faults": [ { "call": "bf_tm_port_flowcontrol_rx_set", "status": 4 } ] })" );
    EXPECT_EQ( outcome.status, -SIGABRT );
    EXPECT_TRUE( outcome.out.ends_with( " call bf_tm_port_flowcontrol_rx_set(0, 4, 0) = 4\n" ) );
    EXPECT_NE( outcome.err.find( " handlePortInfo, port: Ethernet1\n" ), std::string::npos )
        << outcome.err;
}

TEST( Play, TheEnvironmentMakesNoSimulation ) {
    setenv( "SIMULATION_VMID", "inherited", 1 );
    EXPECT_EQ( play( "{}" ).out.find( "ut_mode" ), std::string::npos );
    unsetenv( "SIMULATION_VMID" );
}

TEST( Play, AReaderThatGoesAwayEndsTheRun ) {
    int ends[2];
    ASSERT_EQ( pipe2( ends, O_CLOEXEC ), 0 );
    close( ends[0] );
    const TempFolder folder;
    const Outcome outcome = runKelqos( { "play", folder.write( "tour.json", "{}" ) }, ends[1] );
    close( ends[1] );
    EXPECT_EQ( outcome.status, 1 );
    EXPECT_EQ( outcome.err, "kelqos: cannot write the event log: Broken pipe\n" );
}

TEST( CommandLine, HelpVersionAndRefusals ) {
    EXPECT_EQ( runKelqos( { "--version" } ).status, 0 );
    EXPECT_EQ( runKelqos( { "--version" } ).out.substr( 0, 7 ), "kelqos " );
    for ( const std::vector<std::string> & args :
          { std::vector<std::string>{ "--help" }, { "play", "--help" } } ) {
        const Outcome help = runKelqos( args );
        EXPECT_EQ( help.status, 0 );
        EXPECT_NE( help.out.find( "play" ), std::string::npos );
    }
    EXPECT_NE( runKelqos( { "--help" } ).out.find( "Exit status:" ), std::string::npos );
    for ( const std::vector<std::string> & args :
          { std::vector<std::string>{},
            { "dance" },
            { "play" },
            { "play", "a.json", "b.json" },
            { "play", "/nonexistent/file.json" },
            { "play", "--trace" },
            { "play", "a.json", "--trace", "KelSliceQosSm=12" },
            { "play", "a.json", "--trace", "NoSuchHandle=1" } } ) {
        const Outcome outcome = runKelqos( args );
        EXPECT_EQ( outcome.status, 2 );
        EXPECT_EQ( outcome.out, "" );
        EXPECT_NE( outcome.err, "" );
    }
    EXPECT_NE( runKelqos( { "--dance" } ).err.find( "--dance" ), std::string::npos );
    const std::pair<std::vector<std::string>, std::string> words[] = {
        { { "shwo", "tm" }, "no command 'shwo'; did you mean 'show'?\n" },
        { { "xyzzy" }, "no command 'xyzzy'; see kelqos --help\n" },
        { { "\x1b[2J" }, "no command '\\u001b[2J'; see kelqos --help\n" },
        { { std::string( 100000, 'x' ) },
          "no command '" + std::string( 61, 'x' ) + "...'; see kelqos --help\n" },
        { { "clear", "queues" }, "nothing to clear is called 'queues'; there is: counters\n" },
        { { "clear" }, "say what to clear; there is: counters\n" } };
    for ( const auto & [args, text] : words ) {
        EXPECT_EQ( runKelqos( args ), ( Outcome{ 2, "", text } ) );
    }
    const int full = open( "/dev/full", O_WRONLY | O_CLOEXEC );
    EXPECT_EQ( runKelqos( { "--help" }, full ).status, 1 );
    close( full );
}

TEST( CommandLine, TraceGoesToStandardErrorAndLeavesTheLogAlone ) {
    const Outcome plain = play( leaf );
    const Outcome traced = play( leaf, { "--trace", "KelSliceQosSm=0-4,9", "--trace", "*=5" } );
    EXPECT_EQ( traced.out, plain.out );
    EXPECT_EQ( plain.err, "" );
    EXPECT_NE( traced.err.find( "KelSliceQosSm/5" ), std::string::npos );
}

} // namespace
