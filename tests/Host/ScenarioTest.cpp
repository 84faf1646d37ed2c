#include "Host/Scenario.h"
#include "Host/DocumentTransition.h"
#include "tests/Host/DocumentHelpers.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

using namespace KelHost;
using KelHostTest::decoded;
using KelHostTest::refusalOf;
using TestSupport::TempFolder;

namespace {

constexpr FaultCall faultCalls[] = { { "bf_tm_ppg_allocate" }, { "wredSetIndirect", true } };

class ScenarioFile : public testing::Test {
  protected:
    Scenario read( std::string_view text ) const {
        return readScenarioFile( folder.write( "tour.json", text ), faultCalls );
    }

    // Why the scenario is refused, without the folder's name.
    std::string refusal( std::string_view text ) const {
        std::string message = refusalOf( [&] { read( text ); } );
        const std::string & path = folder.path();
        while ( message.find( path ) != std::string::npos ) {
            message.erase( message.find( path ), path.size() + 1 );
        }
        return message;
    }

    // The same of a scenario with an empty document whose step 1 is given.
    std::string stepRefusal( const std::string & step ) const {
        return refusal( R"({ "config": {}, "steps": [ { "advance": 1 }, )" + step + " ] }" );
    }

    TempFolder folder;
};

// Why a switch cannot go from one document to another, behind "leaf.json: ".
std::string transitionRefusal( std::string_view current, std::string_view next ) {
    const std::string message = refusalOf(
        [&] { checkTransition( decoded( current ), decoded( next ), { .file = "leaf.json" } ); } );
    return message.substr( std::min( message.size(), std::string_view( "leaf.json: " ).size() ) );
}

} // namespace

TEST( DocumentTransition, refusesWhatIsSettledAtStartUp ) {
    EXPECT_EQ( transitionRefusal( "{}", R"({ "device": { "id": 0, "maxPipeId": 3 } })" ), "" );
    EXPECT_EQ( transitionRefusal( "{}", R"({ "device": { "maxPipeId": 1 } })" ),
               "/device/maxPipeId: must stay 3; the device is settled at start-up" );
    EXPECT_EQ( transitionRefusal( "{}", R"({ "bufferParams": {} })" ),
               "/bufferParams: must stay absent; whether there is one is settled at start-up" );
    EXPECT_EQ( transitionRefusal( R"({ "bufferParams": {} })", "{}" ),
               "must keep the member \"bufferParams\"; whether there is one is settled at "
               "start-up" );
    EXPECT_EQ( transitionRefusal( R"({ "ports": { "Internal68": { "portIndex": 6 } } })", "{}" ),
               "/ports: must keep the member \"Internal68\"; an internal port cannot be removed" );
}

TEST( DocumentTransition, aPortIndexMovesOnlyWhereNothingIsProgrammed ) {
    const std::string bare = R"({ "ports": { "A": { "portIndex": 1 } } })";
    const std::string moved = R"({ "ports": { "A": { "portIndex": 2 } } })";
    const std::string withQos = R"({ "ports": { "A": { "portIndex": 1, "qos": {} } } })";
    const std::string movedWithQos = R"({ "ports": { "A": { "portIndex": 2, "qos": {} } } })";
    const std::string stays =
        "/ports/A/portIndex: must stay 1 while the port has \"qos\"; remove that in a step before";
    EXPECT_EQ( transitionRefusal( bare, moved ), "" );
    EXPECT_EQ( transitionRefusal( withQos, moved ), stays );
    EXPECT_EQ( transitionRefusal( bare, movedWithQos ), stays );
    EXPECT_EQ( transitionRefusal( withQos, bare ), "" );
    EXPECT_EQ( transitionRefusal( withQos, "{}" ), "" );
}

TEST( DocumentTransition, aPortIndexChangesItsOwnerInTwoSteps ) {
    const std::string before =
        R"({ "ports": { "A": { "portIndex": 1 }, "B": { "portIndex": 2 } } })";
    EXPECT_EQ(
        transitionRefusal( before, R"({ "ports": { "C/": { "portIndex": 1 } } })" ),
        "/ports/C~1/portIndex: must not be 1 in the step in which \"A\" gives it up; free it "
        "in one step, take it in the next" );
    EXPECT_EQ( transitionRefusal(
                   before, R"({ "ports": { "A": { "portIndex": 2 }, "B": { "portIndex": 1 } } })" ),
               "/ports/A/portIndex: must not be 2 in the step in which \"B\" gives it up; free it "
               "in one step, take it in the next" );
}

TEST_F( ScenarioFile, becomesItsStepsWithTheDocumentAfterEachPatch ) {
    const Scenario scenario = read( R"({ "steps": [
        { "patch": { "ports": { "E": { "portIndex": 3 } } } }, { "advance": 0.3 },
        { "command": "0:show buf" },
        { "fault": { "call": "wredSetIndirect", "status": 5, "times": 2, "skip": 1 } },
        { "clearCounters": true }, { "minLimitCellsForMirroring": 600 }, { "notifications": false },
        { "patch": { "cosToTc": null, "ports": { "E": { "enabled": "enabled" } } } } ],
        "faults": [ { "status": -2147483648, "call": "bf_tm_ppg_allocate" } ], "simulation": true,
        "config": { "cosToTc": [ 0, 1, 2, 3, 4, 5, 6, 7 ] } })" );
    EXPECT_TRUE( scenario.simulation );
    EXPECT_TRUE( scenario.start.ports.empty() );
    ASSERT_EQ( scenario.faults.size(), 1u );
    EXPECT_EQ( scenario.faults[0].status, std::numeric_limits<S32>::min() );
    EXPECT_EQ( scenario.faults[0].times, FaultStep::always );
    ASSERT_EQ( scenario.steps.size(), 8u );
    const SwitchDocument & first = std::get<PatchStep>( scenario.steps[0] ).document;
    EXPECT_EQ( first.ports.at( "E" ).portIndex, 3 );
    EXPECT_EQ( first.cosToTc[7], 7 );
    EXPECT_EQ( std::get<AdvanceStep>( scenario.steps[1] ).seconds, 0.3 );
    EXPECT_EQ( std::get<CommandStep>( scenario.steps[2] ).text, "0:show buf" );
    const FaultStep & fault = std::get<FaultStep>( scenario.steps[3] );
    EXPECT_EQ( fault.call, "wredSetIndirect" );
    EXPECT_EQ( fault.status, 5 );
    EXPECT_EQ( fault.times, 2u );
    EXPECT_EQ( fault.skip, 1u );
    EXPECT_TRUE( std::holds_alternative<ClearCountersStep>( scenario.steps[4] ) );
    EXPECT_EQ( std::get<MirroringLimitStep>( scenario.steps[5] ).minLimitCells, 600u );
    EXPECT_FALSE( std::get<NotificationsStep>( scenario.steps[6] ).active );
    const SwitchDocument & last = std::get<PatchStep>( scenario.steps[7] ).document;
    EXPECT_EQ( last.ports.at( "E" ).enabled, IntfEnabled::enabled );
    EXPECT_EQ( last.cosToTc[7], unmappedTc );
}

TEST_F( ScenarioFile, findsItsDocumentFromItsOwnFolder ) {
    folder.write( "switches/one.json", R"({ "ports": { "E": { "portIndex": 3 } } })" );
    folder.write( "switches/bad.json", R"({ "ports": { "E": {} } })" );
    EXPECT_TRUE( read( R"({ "config": "switches/one.json" })" ).start.ports.contains( "E" ) );
    EXPECT_EQ( refusal( R"({ "config": "switches/bad.json" })" ),
               "switches/bad.json: /ports/E: must have the member \"portIndex\"" );
    EXPECT_EQ( refusal( R"({ "config": "none.json" })" ),
               "tour.json: /config: none.json: cannot be read: No such file or directory" );
    for ( const std::string name : { "switches/one.json\\u0000", "no\\nne.json" } ) {
        EXPECT_EQ( refusal( R"({ "config": ")" + name + "\" }" ),
                   "tour.json: /config: must be a path without control characters" );
    }
    // A switch document alone is a scenario without steps.
    const Scenario alone = readScenarioFile( folder.file( "switches/one.json" ), faultCalls );
    EXPECT_TRUE( alone.start.ports.contains( "E" ) );
    EXPECT_TRUE( alone.steps.empty() );
}

TEST_F( ScenarioFile, errorsPointIntoTheScenario ) {
    EXPECT_EQ( refusal( R"({ "steps": [] })" ), "tour.json: must have the member \"config\"" );
    EXPECT_EQ( refusal( R"({ "config": 1 })" ),
               "tour.json: /config: must be a switch document or the path of one" );
    EXPECT_EQ( refusal( R"({ "config": { "ports": { "E": { "portIndex": -1 } } } })" ),
               "tour.json: /config/ports/E/portIndex: must be pipe x 128 + local port, an integer: "
               "pipe 0 to 3, local port 0 to 71" );
    EXPECT_EQ( refusal( R"({ "config": {}, "faults": [ { "call": "bf_tm_ppg_allocate" } ] })" ),
               "tour.json: /faults/0: must have the member \"status\"" );
    EXPECT_EQ( stepRefusal( R"({ "advance": 10000000.5 })" ),
               "tour.json: /steps/1/advance: must be a number from 0 to 10000000" );
    const std::string kinds = "; allowed are \"patch\", \"advance\", \"command\", \"fault\", "
                              "\"clearCounters\", \"minLimitCellsForMirroring\" and "
                              "\"notifications\"";
    EXPECT_EQ( stepRefusal( R"({ "wait": 1 })" ),
               "tour.json: /steps/1/wait: is not a member of this object" + kinds );
    EXPECT_EQ( stepRefusal( "{}" ), "tour.json: /steps/1: must have exactly one member" + kinds );
    EXPECT_EQ( stepRefusal( R"({ "advance": 1, "command": "" })" ),
               "tour.json: /steps/1: must have exactly one member" + kinds );
    EXPECT_EQ( stepRefusal( R"({ "clearCounters": false })" ),
               "tour.json: /steps/1/clearCounters: must be true" );
}

TEST_F( ScenarioFile, faultsNameACallAndAStatusThatItCanHave ) {
    const auto fault = [this]( const std::string & members ) {
        return stepRefusal( R"({ "fault": { )" + members + " } }" );
    };
    EXPECT_EQ( fault( R"("call": "bf_tm_ppg", "status": 1)" ),
               "tour.json: /steps/1/fault/call: must be the name of a bf_tm_* operation, "
               "\"pipe_mgr_tbl_set_property\" or \"wredSetIndirect\"" );
    EXPECT_EQ(
        fault( R"("call": "bf_tm_ppg_allocate", "status": 0)" ),
        "tour.json: /steps/1/fault/status: must not be 0, which is the status of a call that "
        "succeeds" );
    EXPECT_EQ( fault( R"("call": "wredSetIndirect", "status": -1)" ),
               "tour.json: /steps/1/fault/status: must be 1 or more for wredSetIndirect" );
    EXPECT_EQ( fault( R"("call": "bf_tm_ppg_allocate", "status": 10, "times": 0)" ),
               "tour.json: /steps/1/fault/times: must be an integer from 1 to "
               "18446744073709551615" );
}

TEST_F( ScenarioFile, everyPatchIsCheckedAgainstTheDocumentBeforeIt ) {
    EXPECT_EQ(
        stepRefusal( R"({ "patch": { "ports": { "E": { "portIndex": 72 } } } })" ),
        "tour.json: /steps/1: the document after this patch: /ports/E/portIndex: must be pipe "
        "x 128 + local port, an integer: pipe 0 to 3, local port 0 to 71" );
    EXPECT_EQ( stepRefusal( R"({ "patch": [] })" ),
               "tour.json: /steps/1: the document after this patch: must be an object" );
    EXPECT_EQ(
        stepRefusal( R"({ "patch": { "ports": { "E": { "portIndex": 1 } } } },
                                { "patch": { "ports": { "F": { "portIndex": 1 }, "E": null } } })" ),
        "tour.json: /steps/2: the document after this patch: /ports/F/portIndex: must not be "
        "1 in the step in which \"E\" gives it up; free it in one step, take it in the next" );
    EXPECT_EQ( stepRefusal( R"({ "patch": { "ports": { "E": {}, "E": {} } } })" ),
               "tour.json: /steps/1/patch/ports/E: is given twice; each member of an object may be "
               "given once" );
}
