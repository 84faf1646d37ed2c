#include "Host/Scenario.h"
#include "tests/Host/DocumentHelpers.h"

#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>

using namespace KelHost;

namespace {

constexpr FaultCall faultCalls[] = { { "bf_tm_ppg_allocate" }, { "wredSetIndirect", true } };
constexpr U64 headroomOfLosslessGroup = 232; // cells
constexpr U64 multicastPool = 12288;         // cells
constexpr U64 mirrorPorts = 4;
constexpr U64 mirrorPortMinimum = 480; // cells

std::string outputOf( const char * command ) {
    std::FILE * pipe = ::popen( command, "r" );
    std::string output;
    char chunk[4096];
    while ( const std::size_t got = std::fread( chunk, 1, sizeof chunk, pipe ) ) {
        output.append( chunk, got );
    }
    EXPECT_EQ( ::pclose( pipe ), 0 );
    return output;
}

SwitchDocument example( const std::string & name ) {
    return readScenarioFile( "examples/" + name, faultCalls ).start;
}

} // namespace

TEST( Examples, areValid ) {
    int count = 0;
    for ( const auto & entry : std::filesystem::directory_iterator( "examples" ) ) {
        if ( entry.path().extension() == ".json" ) {
            EXPECT_EQ( KelHostTest::refusalOf(
                           [&] { readScenarioFile( entry.path().string(), faultCalls ); } ),
                       "" );
            ++count;
        }
    }
    EXPECT_GE( count, 6 );
}

TEST( Examples, fullChipIsWhatItsGeneratorWrites ) {
    EXPECT_TRUE( outputOf( "examples/make-full-chip.sh" ) ==
                 readTextFile( "examples/full-chip.json" ) );
}

TEST( Examples, fullChipTakesEveryGroupOfEveryPipe ) {
    std::map<int, int> groups;
    std::map<int, int> frontPanelPorts;
    for ( const auto & [name, port] : example( "full-chip.json" ).ports ) {
        if ( port.qos.has_value() ) {
            EXPECT_EQ( port.qos->txQueues.size(), 8u );
            EXPECT_TRUE( port.qos->ppgs.contains( 8 ) );
            groups[port.portIndex / 128] += static_cast<int>( port.qos->ppgs.size() ) - 1;
            ++frontPanelPorts[port.portIndex / 128];
        }
    }
    EXPECT_EQ( groups, ( std::map<int, int>{ { 0, 128 }, { 1, 128 }, { 2, 128 }, { 3, 128 } } ) );
    EXPECT_EQ( frontPanelPorts,
               ( std::map<int, int>{ { 0, 64 }, { 1, 64 }, { 2, 64 }, { 3, 64 } } ) );
}

// What the switches reserve fits, with something left for the shared pools.
TEST( Examples, reservationsFit ) {
    for ( const char * name : { "leaf.json", "full-chip.json", "agent.json", "tour.json" } ) {
        const SwitchDocument document = example( name );
        U64 ingress = mirrorPorts * mirrorPortMinimum;
        U64 egress = multicastPool;
        for ( const auto & [interface, port] : document.ports ) {
            if ( !port.qos.has_value() ) {
                continue;
            }
            for ( const auto & [id, group] : port.qos->ppgs ) {
                ingress += group.minLimitCells + ( group.pfcEnabled ? headroomOfLosslessGroup : 0 );
            }
            for ( const auto & [id, queue] : port.qos->txQueues ) {
                egress += queue.minLimitCells;
            }
        }
        EXPECT_LT( ingress, document.bufferParams->totalCellsAvailableForIngress ) << name;
        EXPECT_LT( egress, document.device.totalCells ) << name;
    }
}
