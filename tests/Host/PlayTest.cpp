#include "tests/Host/KelqosProcess.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>

using KelHostTest::Outcome;
using KelHostTest::play;
using KelHostTest::runKelqos;
using TestSupport::TempFolder;

namespace {

using Lines = std::vector<std::string>;

Lines linesOf( const std::string & text ) {
    Lines lines;
    std::istringstream in( text );
    for ( std::string line; std::getline( in, line ); ) {
        lines.push_back( line );
    }
    return lines;
}

std::string scenario( const std::string & config, const std::string & steps,
                      const std::string & more = "" ) {
    return R"({ "config": )" + config + R"(, "steps": [ )" + steps + " ]" + more + " }";
}

// What the last step adds to the log of the steps before it. Recomputations of the shared pools,
// which are the same ten calls each time, appear as one line "pools INGRESS EGRESS".
Lines eventsOf( const std::string & config, const std::string & before, const std::string & last,
                const std::string & more = "" ) {
    const std::string head = play( scenario( config, before, more ) ).out;
    const Outcome outcome =
        play( scenario( config, before + ( before.empty() ? "" : ", " ) + last, more ) );
    EXPECT_EQ( outcome.err, "" );
    EXPECT_EQ( outcome.out.substr( 0, head.size() ), head );
    Lines events;
    for ( const std::string & line : linesOf( outcome.out.substr( head.size() ) ) ) {
        const auto value = [&line] { return line.substr( line.rfind( ", " ) + 2 ); };
        const auto has = [&line]( const char * text ) {
            return line.find( text ) != std::string::npos;
        };
        if ( has( "pool_skid_size_set" ) ) {
            events.push_back( line.substr( 0, line.find( ' ' ) ) + " pools" );
        } else if ( has( "pool_size_set(0, 0, " ) || has( "pool_size_set(0, 4, " ) ) {
            events.back() += " " + value().substr( 0, value().find( ')' ) );
        } else if ( !has( "pool_size_set" ) && !has( "total_cell_count" ) ) {
            events.push_back( line );
        }
    }
    return events;
}

const std::string leaf = R"({
    "bufferParams": { "totalCellsAvailableForIngress": 10000, "leakThreshold": 100 },
    "ports": {
        "Ethernet1": { "portIndex": 4, "qos": { "ppgs": { "3": { "internalCosBmp": 8 } } } },
        "Ethernet2": { "portIndex": 5, "enabled": "enabled" } },
    "counters": { "0": { "ppg": { "0": { "dropCounter": 40 } } } } })";

TEST( Play, ASwitchDocumentPrintsItsStartUp ) {
    const Outcome outcome = play( R"({
        "device": { "id": 1, "totalCells": 20000 },
        "ports": { "Ethernet1": { "portIndex": 4, "enabled": "disabled",
                                  "qos": { "flowControlType": "pfc" } } },
        "wred": { "2": { "7": { "minThdCells": 100, "maxThdCells": 400,
                                "maxDropProbability": 0.1, "timeConstantNs": 1000 } } } })" );
    EXPECT_EQ( outcome.status, 0 );
    EXPECT_EQ( outcome.err, "" );
    std::string expected = "0.000 call bf_tm_total_cell_count_get(1) = 0 -> 20000\n";
    for ( char icos = '0'; icos < '8'; ++icos ) {
        expected +=
            std::string( "0.000 call bf_tm_pool_pfc_limit_set(1, 0, " ) + icos + ", 20000) = 0\n";
    }
    expected += "0.000 status pfcEnabled Ethernet1 pfc\n";
    for ( const char * mirror :
          { "72) = 0 -> 200", "200) = 0 -> 456", "328) = 0 -> 712", "456) = 0 -> 968" } ) {
        const std::string handle = std::string( mirror ).substr( std::strlen( mirror ) - 3 );
        expected += std::string( "0.000 call bf_tm_ppg_defaultppg_get(1, " ) + mirror + "\n" +
                    "0.000 call bf_tm_ppg_guaranteed_min_limit_set(1, " + handle + ", 480) = 0\n";
    }
    const std::string pools = "0.000 call bf_tm_pool_skid_size_set(1, 118784) = 0\n"
                              "0.000 call bf_tm_total_cell_count_get(1) = 0 -> 20000\n"
                              "0.000 call bf_tm_pool_size_set(1, 0, 0) = 0\n"
                              "0.000 call bf_tm_pool_size_set(1, 1, 0) = 0\n"
                              "0.000 call bf_tm_pool_size_set(1, 2, 0) = 0\n"
                              "0.000 call bf_tm_pool_size_set(1, 3, 0) = 0\n"
                              "0.000 call bf_tm_pool_size_set(1, 4, 7712) = 0\n"
                              "0.000 call bf_tm_pool_size_set(1, 5, 0) = 0\n"
                              "0.000 call bf_tm_pool_size_set(1, 6, 0) = 0\n"
                              "0.000 call bf_tm_pool_size_set(1, 7, 12288) = 0\n";
    const std::string shaper = "0.000 call bf_tm_sched_port_shaping_disable(1, 4) = 0\n"
                               "0.000 call bf_tm_sched_port_shaping_rate_set(1, 4, 0, 0, 0) = 0\n";
    expected += pools +
                "0.000 call bf_tm_pool_color_drop_limit_set(1, 0, 2, 0) = 0\n"
                "0.000 call bf_tm_pool_color_drop_limit_set(1, 4, 2, 0) = 0\n" +
                shaper + pools +
                "0.000 call bf_tm_port_flowcontrol_mode_set(1, 4, 1) = 0\n"
                "0.000 call bf_tm_port_flowcontrol_rx_set(1, 4, 1) = 0\n" +
                shaper +
                "0.000 call pipe_mgr_tbl_set_property(1, 1, 101, 1, 1, 0) = 0\n"
                "0.000 call wredSetIndirect(1, 1, 2, 201, 7, [1000, 100, 400, 0.1]) = 0\n";
    EXPECT_EQ( outcome.out, expected );
}

TEST( Play, APatchProgramsWhatDiffersAndTimersFollow ) {
    EXPECT_EQ(
        eventsOf( leaf, "", R"({ "patch": { "ports": { "Ethernet1": { "qos": {
                   "flowControlType": "linkPause", "ppgs": { "3": null, "8": {} } } },
                   "Ethernet2": { "enabled": null } } } })" ),
        ( Lines{ "0.000 pools 7848 266240", "0.000 status pfcEnabled Ethernet1 linkPause",
                 "0.000 call bf_tm_port_flowcontrol_mode_set(0, 4, 2) = 0",
                 "0.000 call bf_tm_port_flowcontrol_rx_set(0, 4, 2) = 0",
                 "0.000 call bf_tm_ppg_icos_mapping_set(0, 0, 0) = 0",
                 "0.000 call bf_tm_ppg_free(0, 0) = 0", "0.000 status tmPpgStatus 4/3 deleted",
                 "0.000 pools 7848 266240", "0.000 call bf_tm_ppg_defaultppg_get(0, 4) = 0 -> 132",
                 "0.000 pools 7848 266240",
                 "0.000 call bf_tm_ppg_guaranteed_min_limit_set(0, 132, 0) = 0",
                 "0.000 status tmPpgStatus 4/8 true" } ) );
    EXPECT_EQ( eventsOf( leaf, "", R"({ "patch": {} })" ), Lines() );
}

TEST( Play, FaultsAnswerCallsAndTimeMovesOnlyAsTold ) {
    const std::string newGroup =
        R"({ "patch": { "ports": { "Ethernet1": { "qos": { "ppgs": { "4": {} } } } } } })";
    const std::string fault =
        R"({ "fault": { "call": "bf_tm_ppg_allocate", "status": 10, "times": 2 } })";
    EXPECT_EQ( eventsOf( leaf, fault, newGroup ),
               ( Lines{ "0.000 call bf_tm_ppg_allocate(0, 4) = 10" } ) );
    EXPECT_EQ( eventsOf( leaf, fault + ", " + newGroup, R"({ "advance": 0.15 })" ),
               ( Lines{ "0.100 call bf_tm_ppg_allocate(0, 4) = 10" } ) );
    const Lines events = eventsOf( leaf, fault + ", " + newGroup + R"(, { "advance": 0.15 })",
                                   R"({ "advance": 1 })" );
    ASSERT_FALSE( events.empty() );
    EXPECT_EQ( events.front(), "0.200 call bf_tm_ppg_allocate(0, 4) = 0 -> 1" );
    EXPECT_EQ( events.back(), "0.200 status tmPpgStatus 4/4 true" );

    // Faults of the scenario itself are there before the first call.
    EXPECT_EQ( linesOf( play( scenario( "{}", "", R"(, "faults": [
                   { "call": "bf_tm_total_cell_count_get", "status": -1, "skip": 1 } ])" ) )
                            .out )[18],
               "0.000 call bf_tm_total_cell_count_get(0) = -1" );
}

TEST( Play, ACommandIsAnsweredInOneLine ) {
    EXPECT_EQ( eventsOf( leaf, "", R"({ "command": "0:show tm intf Ethernet9" })" ),
               ( Lines{ R"(0.000 reply "Unknown interface: Ethernet9\n")" } ) );
    EXPECT_EQ( eventsOf( leaf, "", R"({ "command": "what \"is\" é" })" ),
               ( Lines{ R"(0.000 reply "Unknown command: what \"is\" é\n")" } ) );
    EXPECT_EQ( eventsOf( leaf, "", R"({ "command": "show tm intf Ethernet2" })" ),
               ( Lines{ R"(0.000 reply "")" } ) );
}

TEST( Play, ClearedCountersCountFromTheirLiveValue ) {
    const std::string show = R"({ "command": "show tm intf Ethernet1 nonzero" })";
    const std::string clear = R"({ "clearCounters": true })";
    const auto drops = []( const Lines & events ) {
        EXPECT_EQ( events.size(), 1U );
        const std::size_t end = events.at( 0 ).rfind( " 0x8" );
        return end == std::string::npos ? "" : events[0].substr( end - 3, 3 );
    };
    EXPECT_EQ( drops( eventsOf( leaf, "", show ) ), " 40" );
    EXPECT_EQ( eventsOf( leaf, "", clear ), Lines() );
    EXPECT_EQ( drops( eventsOf( leaf, clear, show ) ), "" );
    const std::string grow =
        R"({ "patch": { "counters": { "0": { "ppg": { "0": { "dropCounter": 165 } } } } } })";
    EXPECT_EQ( drops( eventsOf( leaf, clear + ", " + grow, show ) ), "125" );
}

TEST( Play, TheMirroringMinimumIsProgrammedOnEveryPipe ) {
    const Lines events = eventsOf( leaf, "", R"({ "minLimitCellsForMirroring": 600 })" );
    ASSERT_EQ( events.size(), 9U );
    EXPECT_EQ( events[1], "0.000 call bf_tm_ppg_guaranteed_min_limit_set(0, 200, 600) = 0" );
    EXPECT_EQ( events[8], "0.000 pools 7600 266240" );
}

TEST( Play, WhileNotificationsAreOffChangesAreMissedAndTimersKept ) {
    const std::string overbooked = R"({ "patch": { "bufferParams": {
        "totalCellsAvailableForIngress": 1000 } } })";
    const std::string off = R"({ "notifications": false })";
    const std::string change = R"({ "patch": { "wred": { "0": {} }, "ports": { "Ethernet1": {
        "qos": { "flowControlType": "pfc" } } } } })";
    EXPECT_EQ( eventsOf( leaf, off, change ), Lines() );
    EXPECT_EQ( eventsOf( leaf, overbooked + ", " + off, R"({ "advance": 4 })" ), Lines() );
    EXPECT_EQ( eventsOf( leaf, overbooked + ", " + off + R"(, { "advance": 4 })",
                         R"({ "notifications": true })" ),
               ( Lines{ "4.000 syslog 3 KEL_TM_QUEUE_RESERVED_INVALID Request to reserve 1920 "
                        "buffers of 80 bytes each for ingress traffic-manager cannot be "
                        "satisfied." } ) );
}

const std::string leak = R"({ "patch": { "counters": { "1": { "block": {
    "3": { "name": "pkt_dropcnt", "type": 0, "value": 100 } } } } } })";
const std::string leakMessage = "syslog 3 KEL_INTERNAL_BUFFER_ERROR An internal buffer accounting "
                                "error was detected and corrected.";

TEST( Play, ALeakEndsTheRunWhereItIsFound ) {
    const Outcome outcome =
        play( scenario( leaf, leak + R"(, { "advance": 5 }, { "command": "show buf" })" ) );
    EXPECT_EQ( outcome.status, 0 );
    EXPECT_EQ( outcome.out.substr( outcome.out.find( "1.000" ) ),
               "1.000 " + leakMessage + "\n1.000 exit 0\n" );
}

TEST( Play, ASimulationSurvivesALeakAndPutsTheDriverIntoModelMode ) {
    setenv( "SIMULATION_VMID", "inherited", 1 );
    EXPECT_EQ( play( "{}" ).out.find( "ut_mode" ), std::string::npos );
    unsetenv( "SIMULATION_VMID" );
    const std::string simulation = R"(, "simulation": true)";
    EXPECT_EQ( linesOf( play( scenario( "{}", "", simulation ) ).out ).at( 0 ),
               "0.000 call bf_tm_set_ut_mode_as_model(0) = 0" );
    EXPECT_EQ( eventsOf( leaf, leak, R"({ "advance": 5 })", simulation ),
               ( Lines{ "1.000 " + leakMessage } ) );
}

TEST( Play, AnAbortLeavesACompleteLogAndTheReason ) {
    const Outcome outcome = play(
        scenario( leaf, R"({ "fault": { "call": "bf_tm_port_flowcontrol_rx_set", "status": 4 } },
                 { "patch": { "ports": { "Ethernet1": { "qos": { "flowControlType": "pfc" } } } } } )" ) );
    EXPECT_EQ( outcome.status, -SIGABRT );
    EXPECT_EQ( linesOf( outcome.out ).back(),
               "0.000 call bf_tm_port_flowcontrol_rx_set(0, 4, 1) = 4" );
    EXPECT_NE( outcome.err.find( " API ERROR:" ), std::string::npos ) << outcome.err;
    EXPECT_NE( outcome.err.find( " handlePortInfo, port: Ethernet1\n" ), std::string::npos )
        << outcome.err;
}

TEST( Play, WhatIsRefusedPrintsNoEvent ) {
    const auto refused = []( const std::string & text, const std::string & message ) {
        const Outcome outcome = play( text );
        EXPECT_EQ( outcome.status, 2 );
        EXPECT_EQ( outcome.out, "" );
        EXPECT_EQ( linesOf( outcome.err ).size(), 1U );
        EXPECT_NE( outcome.err.find( message ), std::string::npos ) << outcome.err;
    };
    refused( "{", "tour.json:1:" );
    refused( R"({ "ports": { "Internal5": { "portIndex": 3 } } })", "/ports/Internal5" );
    refused( scenario( leaf, R"({ "advance": 1 }, { "fault": { "call": "x", "status": 1 } })" ),
             "/steps/1/fault/call" );
    refused( scenario( leaf, R"({ "patch": { "ports": { "Ethernet2": { "portIndex": 4 } } } })" ),
             "/steps/0" );
    refused( scenario( leaf, R"({ "patch": { "device": { "id": 3 } } })" ), "/steps/0" );
    EXPECT_EQ( runKelqos( { "play", "/nonexistent/file.json" } ).status, 2 );
}

TEST( Play, TwoRunsAreTheSame ) {
    const std::string text =
        scenario( leaf, leak + R"(, { "command": "show tm" }, { "advance": 0.5 })" );
    EXPECT_EQ( play( text ).out, play( text ).out );
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
            { "play", "--trace" },
            { "play", "a.json", "--trace", "KelSliceQosSm=12" },
            { "play", "a.json", "--trace", "NoSuchHandle=1" } } ) {
        const Outcome outcome = runKelqos( args );
        EXPECT_EQ( outcome.status, 2 );
        EXPECT_EQ( outcome.out, "" );
        EXPECT_NE( outcome.err, "" );
    }
    EXPECT_NE( runKelqos( { "--dance" } ).err.find( "--dance" ), std::string::npos );
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
