#include "KelQos/Show/KelSliceQosCli.h"

#include "Platform/Logging/Trace.h"
#include "tests/support/SmallChip.h"

#include <gtest/gtest.h>

namespace {

using namespace KelQos;
using namespace std::string_literals;
using Kel::IntfId;
using TestSupport::SmallChip;

// One configured interface without groups and queues: its name stands for "show tm intf".
struct Cli : testing::Test {
    Cli() {
        chip.chipStatus->maxPipeIdIs( 0 );
        chip.addPort( "Ethernet1", 5 );
        chip.addIntf( 5 );
        chip.start();
    }
    // Which show operation answers.
    std::string shown( const std::string & command ) {
        const std::string answer = chip.answer( command );
        return answer == "Ethernet1:\n\n"                                        ? "intf"
               : answer == "BlockLevel counters for Pipe: 0 not fetched yet\n\n" ? "blocklevel"
               : answer == "{ 'Ethernet1': { }, }"                               ? "queue status"
               : answer.starts_with( "Ethernet1:\n\n\nUnbound PPGs Pipe 0:\n" )  ? "tm"
               : answer == "\n"                                                  ? "tm nonzero"
               : answer.starts_with( "Buffer Allocation Details\n" )             ? "buf"
                                                                                 : answer;
    }

    SmallChip chip;
};

TEST_F( Cli, dispatchesOnTheFirstTextThatTheCommandContains ) {
    EXPECT_EQ( shown( "show tm intf Ethernet1" ), "intf" );
    EXPECT_EQ( shown( "show tm blocklevel" ), "blocklevel" );
    EXPECT_EQ( shown( "show tm queue status" ), "queue status" );
    EXPECT_EQ( shown( "show tm" ), "tm" );
    EXPECT_EQ( shown( "show buf" ), "buf" );

    EXPECT_EQ( shown( "show tmx" ), "tm" );
    EXPECT_EQ( shown( "show tm queue" ), "tm" );
    EXPECT_EQ( shown( "nonzero please show tm" ), "tm nonzero" );
    EXPECT_EQ( shown( "show tmnonzero" ), "tm nonzero" );
    EXPECT_EQ( shown( "do show buffers now" ), "buf" );
    EXPECT_EQ( shown( "show buf show tm queue status show tm blocklevel" ), "blocklevel" );
    EXPECT_EQ( shown( "show tm blocklevelshow tm intf" ), "Unknown interface: levelshow\n" );

    EXPECT_EQ( shown( "show nothing" ), "Unknown command: show nothing\n" );
    EXPECT_EQ( shown( "SHOW TM" ), "Unknown command: SHOW TM\n" );
    EXPECT_EQ( shown( "show  tm" ), "Unknown command: show  tm\n" );
    EXPECT_EQ( shown( "" ), "Unknown command: \n" );
}

TEST_F( Cli, takesADeviceNumberBeforeTheFirstColonAndPaysNoHeedToIt ) {
    EXPECT_EQ( shown( "0:show tm intf Ethernet1" ), "intf" );
    EXPECT_EQ( shown( "0x7f:show buf" ), "buf" );
    EXPECT_EQ( shown( "a door:show buf" ), "buf" );
    EXPECT_EQ( shown( ":show buf" ), "buf" );
    EXPECT_EQ( shown( "show buf:what" ), "Unknown command: what\n" );
    EXPECT_EQ( shown( "0:1:nothing" ), "Unknown command: 1:nothing\n" );
}

TEST_F( Cli, findsTheInterfaceNameBehindTheFirstThirteenCharacters ) {
    EXPECT_EQ( shown( "show tm intf    Ethernet1   nonzero" ), "" );
    EXPECT_EQ( shown( "show tm intf Ethernet1 and more" ), "intf" );
    EXPECT_EQ( shown( "show tm intf Ethernet" ), "Unknown interface: Ethernet\n" );
    EXPECT_EQ( shown( "show tm intf nonzero" ), "Unknown interface: nonzero\n" );
    EXPECT_EQ( shown( "show tm intfxEthernet1" ), "intf" );
    EXPECT_EQ( shown( "show tm intf\tEthernet1" ), "intf" );
    EXPECT_EQ( shown( "show tm intf \tEthernet1" ), "Unknown interface: \tEthernet1\n" );
    // The same place counts when the text stands elsewhere.
    EXPECT_EQ( shown( "please show tm intf Ethernet1" ), "Unknown interface: m\n" );
}

TEST_F( Cli, survivesTextsFromStrangers ) {
    EXPECT_EQ( shown( "show\0tm\xFF"s ), "Unknown command: show\n" );
    EXPECT_EQ( shown( "show tm intf Ethernet1\0x"s ), "Unknown interface: Ethernet1\n" );
    EXPECT_EQ( shown( std::string( 1U << 20U, 'x' ) ).size(), ( 1U << 20U ) + 18 );
    // A name that nobody has leaves nothing behind.
    EXPECT_EQ( shown( "show tm intf stranger" ), "Unknown interface: stranger\n" );
    EXPECT_TRUE( IntfId::known( "stranger" ).empty() );
    // A name whose port is gone is unknown again.
    chip.systemStatus->portInfoDel( IntfId( "Ethernet1" ) );
    EXPECT_EQ( shown( "show tm intf Ethernet1" ), "Unknown interface: Ethernet1\n" );
}

TEST_F( Cli, tellsBeforehandWhatBecomesOfARequest ) {
    using Verdict = KelSliceQosCli::Verdict;
    const auto expectAll = [&]( Verdict verdict, const std::vector<std::string> & requests ) {
        for ( const std::string & request : requests ) {
            EXPECT_EQ( chip.sm->cliCallback()->verdict( request ), verdict ) << request;
        }
    };
    expectAll( Verdict::interfaceNameMissing,
               { "show tm intf", "show tm intf ", "show tm intf     ", "0:show tm intf",
                 " show tm intf" } );
    expectAll( Verdict::answered, { "show tm", "show buf", "0:show tm queue status",
                                    "show tm blocklevel", "0:show tm intf  Ethernet1" } );
    expectAll( Verdict::unknownCommand, { "", ":", "show tm intf:", "show t m" } );
    // The last one leaves a part of the text itself as the name.
    expectAll( Verdict::unknownInterface, { "show tm intf Ethernet2", "x:y:show tm intf" } );
}

TEST_F( Cli, tracesItsWayToTheAnswer ) {
    std::string traced;
    Kel::traceLevelsIs( "KelSliceQosSm=8" );
    Kel::traceSinkIs(
        [&]( const Kel::TraceRecord & record ) { traced += std::string( record.text ) + "\n"; } );
    chip.sm->cliCallback()->handleCommand( 0xFFFFFFFF, "0x10:show tm intf  Ethernet7 nonzero" );
    chip.sm->cliCallback()->handleCommand( 0xFFFFFFFF, "nothing" );
    Kel::traceSinkIs( nullptr );
    Kel::traceLevelsDelAll();
    EXPECT_EQ( traced,
               "handleCommand: Socket: 4294967295, command: 0x10:show tm intf  Ethernet7 nonzero\n"
               "handleCommand: Pos: 4\n"
               "handleCommand: DevStr: 0x10, devId: 16\n"
               "handleChipCommand, command: show tm intf  Ethernet7 nonzero, devId: 0\n"
               "handleQosCommand: Show tm intf\n"
               "nextFieldS: Command: show tm intf  Ethernet7 nonzero, start: 14, end: 23, "
               "field: Ethernet7\n"
               "handleCommand: Socket: 4294967295, command: nothing\n"
               "handleChipCommand, command: nothing, devId: 0\n" );
}

using CliDeathTest = Cli;

TEST_F( CliDeathTest, needsAnInterfaceNameAndAStateMachine ) {
    EXPECT_DEATH( chip.answer( "show tm intf" ), "Assertion \"intfName != \"\"\" failed" );
    const auto callback = kelSliceQosCliFactory( "KelSliceQosCli", "KelSliceQos", chip.sm.get() );
    EXPECT_EQ( callback->name(), "KelSliceQosCli" );
    EXPECT_EQ( callback->commandType(), "KelSliceQos" );
    callback->kelSliceQosSmIs( nullptr );
    EXPECT_DEATH( callback->handleCommand( 1, "nothing" ),
                  "Assertion \"kelSliceQosSm\\(\\)\" failed" );
}

} // namespace
