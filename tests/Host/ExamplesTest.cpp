#include "Host/Json/TextFile.h"
#include "tests/Host/KelqosProcess.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

std::string textOf( const std::string & example ) {
    std::ifstream in( "examples/" + example );
    return { std::istreambuf_iterator<char>( in ), {} };
}

} // namespace

TEST( Examples, play ) {
    int count = 0;
    for ( const auto & entry : std::filesystem::directory_iterator( "examples" ) ) {
        if ( entry.path().extension() == ".json" ) {
            const auto outcome = KelHostTest::runKelqos( { "play", entry.path().string() } );
            EXPECT_TRUE( outcome.status == 0 && outcome.err.empty() )
                << entry.path() << outcome.err;
            ++count;
        }
    }
    EXPECT_GE( count, 6 );
}

// What the switches reserve fits, with something left for the shared pools.
TEST( Examples, reservationsFit ) {
    for ( const char * name : { "leaf.json", "full-chip.json", "agent.json" } ) {
        const Json scenario{ { "config", Json::parse( textOf( name ) ) },
                             { "steps", { { { "command", "show buf" } } } } };
        const std::string log = KelHostTest::play( scenario.dump() ).out;
        EXPECT_NE( log.find( "Shared cell count: " ), std::string::npos ) << name;
        EXPECT_EQ( log.find( "Shared cell count: 0\\n" ), std::string::npos ) << name;
    }
}

TEST( Examples, checkDrawsThePictureOfTheDocsOrSaysThatItCannotAnswer ) {
    const TestSupport::TempFolder folder;
    const std::string picture = folder.file( "leaf.svg" );
    const auto outcome =
        KelHostTest::runKelqos( { "check", "examples/leaf.json", "--svg", picture } );
    EXPECT_EQ( outcome.status, 0 );
    EXPECT_TRUE( KelHost::readTextFile( picture ) ==
                 KelHost::readTextFile( "docs/leaf-buffer.svg" ) );
    const KelHost::FileDescriptor full( open( "/dev/full", O_WRONLY | O_CLOEXEC ) );
    const std::vector<std::string> check{ "check", "examples/leaf.json" };
    EXPECT_EQ( KelHostTest::runKelqos( check, full.get() ).status, 1 );
    EXPECT_EQ( KelHostTest::runKelqos( { check[0], check[1], "--svg", "/" } ).status, 1 );
    const std::string document = folder.file( "leaf.json" );
    std::filesystem::copy_file( check[1], document );
    EXPECT_EQ( KelHostTest::runKelqos( { check[0], document, "--svg", document } ).status, 1 );
    EXPECT_TRUE( KelHost::readTextFile( document ) == KelHost::readTextFile( check[1] ) );
}

TEST( Examples, fullChipIsWhatItsGeneratorWrites ) {
    std::FILE * pipe = ::popen( "timeout 15 examples/make-full-chip.sh", "r" );
    std::string output;
    char chunk[4096];
    while ( const std::size_t got = std::fread( chunk, 1, sizeof chunk, pipe ) ) {
        output.append( chunk, got );
    }
    EXPECT_EQ( ::pclose( pipe ), 0 ) << "the generator's status; 124: it did not end within 15 s";
    EXPECT_TRUE( output == textOf( "full-chip.json" ) );
}

TEST( Examples, fullChipTakesEveryGroupOfEveryPipe ) {
    const Json chip = Json::parse( textOf( "full-chip.json" ) );
    std::map<int, std::size_t> groups;
    std::map<int, int> frontPanelPorts;
    for ( const Json & port : chip["ports"] ) {
        if ( port.contains( "qos" ) ) {
            EXPECT_EQ( port["qos"]["txQueues"].size(), 8U );
            EXPECT_TRUE( port["qos"]["ppgs"].contains( "8" ) );
            groups[port["portIndex"].get<int>() / 128] += port["qos"]["ppgs"].size() - 1;
            ++frontPanelPorts[port["portIndex"].get<int>() / 128];
        }
    }
    EXPECT_EQ( groups,
               ( std::map<int, std::size_t>{ { 0, 128 }, { 1, 128 }, { 2, 128 }, { 3, 128 } } ) );
    EXPECT_EQ( frontPanelPorts,
               ( std::map<int, int>{ { 0, 64 }, { 1, 64 }, { 2, 64 }, { 3, 64 } } ) );
}
