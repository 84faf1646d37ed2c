#include "KelQos/Wred/KelSliceQosWredBlockSm.h"
#include "Model/Chip.h"
#include "Model/ModelPdIntf.h"
#include "Model/ModelResourceInfoIntf.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Logging/RingTrace.h"
#include "Platform/Logging/Trace.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace KelQos {
namespace {

using KelDriver::KelDevTgt;
using KelModel::Chip;
using Lines = std::vector<std::string>;

constexpr KelDevTgt pipe0{ KelId::KelDevId( 0 ), KelId::KelPipeId( 0 ) };
constexpr KelDevTgt pipe2{ KelId::KelDevId( 0 ), KelId::KelPipeId( 2 ) };

constexpr WredBlockResourceConfig early{
    .minThdCells = 100, .maxThdCells = 400, .maxDropProbability = 0.1F, .timeConstantNs = 1000.0F };
constexpr WredBlockResourceConfig late{ .minThdCells = 70000,
                                        .maxThdCells = 4000000000,
                                        .maxDropProbability = 1.0F,
                                        .timeConstantNs = 2.5F };

const std::string propertySet = "call pipe_mgr_tbl_set_property(1, 0, 101, 1, 1, 0) = 0";

// A data plane whose program has no table and no WRED resource.
class EmptyProgram : public KelDriver::ResourceInfoIntf {
  public:
    U32 tableIndex( std::string_view ) const override { return noTableIndex; }
    KelDriver::TableRecord table( U32 ) const override { return {}; }
    U32 tableWredField( std::string_view, KelDriver::WredFieldId ) const override { return 0; }
};

class WredBlockTest : public testing::Test {
  public:
    WredBlockTest() {
        Chip::currentIs( &chip );
        chip.logSinkIs( [this]( std::string_view line ) { lines.emplace_back( line ); } );
        Kel::ringTraceClear();
        Kel::traceSinkIs( [this]( const Kel::TraceRecord & record ) {
            lines.push_back( std::to_string( record.level ) + " " + std::string( record.text ) );
        } );
        entries->resourceConfigIs( 0, early );
        entries->resourceConfigIs( 1, early );
        entries->resourceConfigIs( 7, late );
    }
    ~WredBlockTest() override {
        Kel::traceLevelsDelAll();
        Kel::traceSinkIs( nullptr );
    }

    void create() {
        sm = Kel::construct<KelSliceQosWredBlockSm>( 1U, KelId::KelDevId( 0 ), pdIntf, program,
                                                     config );
    }
    // A block that follows the three entries in pipe 2, with its start behind it.
    void createWithPipe2() {
        config->pipeConfigIs( pipe2, entries );
        create();
        lines.clear();
    }
    Lines takeLines() { return std::exchange( lines, {} ); }

    Lines lines; // driver calls and traces
    Chip chip;
    Kel::Ptr<KelModel::ModelPdIntf> pdIntf = Kel::makePtr<KelModel::ModelPdIntf>( chip );
    Kel::Ptr<KelDriver::ResourceInfoIntf> program = Kel::makePtr<KelModel::ModelResourceInfoIntf>();
    Kel::Ptr<WredBlockPipeConfig> entries = Kel::makePtr<WredBlockPipeConfig>();
    Kel::Ptr<WredBlockConfig> config = Kel::makePtr<WredBlockConfig>();
    Kel::Ptr<KelSliceQosWredBlockSm> sm;
};

TEST_F( WredBlockTest, StartSetsTheTableScopeOnceAndThenWritesEveryEntry ) {
    auto single = Kel::makePtr<WredBlockPipeConfig>();
    single->resourceConfigIs( 65535, early );
    config->pipeConfigIs( pipe2, entries );
    config->pipeConfigIs( pipe0, single );
    create();
    EXPECT_TRUE( sm->initialized() );
    EXPECT_TRUE( sm->pipeSm( pipe2 )->initialized() );
    EXPECT_EQ(
        takeLines(),
        ( Lines{ propertySet, "call wredSetIndirect(1, 0, 2, 201, 0, [1000, 100, 400, 0.1]) = 0",
                 "call wredSetIndirect(1, 0, 2, 201, 1, [1000, 100, 400, 0.1]) = 0",
                 "call wredSetIndirect(1, 0, 2, 201, 7, [2.5, 70000, 4000000000, 1]) = 0",
                 "call wredSetIndirect(1, 0, 0, 201, 65535, [1000, 100, 400, 0.1]) = 0" } ) );

    // Nothing is taken back from the chip when the state machine goes.
    const auto held = sm->pipeSm( pipe2 )->velPipeConfig();
    sm = nullptr;
    entries->resourceConfigIs( 1, late );
    config->pipeConfigDel( pipe0 );
    EXPECT_EQ( takeLines(), Lines{} );
    EXPECT_EQ( chip.state().wredEntries.size(), 4U );
}

TEST_F( WredBlockTest, StartIsTracedWithFullSignatures ) {
    Kel::traceLevelsIs( "KelSliceQosWredBlockSm=*" );
    entries->resourceConfigDel( 0 );
    entries->resourceConfigDel( 7 );
    config->pipeConfigIs( pipe2, entries );
    create();
    const std::string block = "void KelQos::KelSliceQosWredBlockSm::";
    const std::string pipe = "void KelQos::KelSliceQosWredBlockPipeSm::";
    EXPECT_EQ(
        takeLines(),
        ( Lines{
            "3 " + block + "handleInitialized(): ",
            propertySet,
            "3 " + block + "handlePipeConfig(): ",
            "3 " + block + "handlePipeConfig(KelDriver::KelDevTgt): devTgt: D0 P2",
            "4 " + pipe + "handleInitialized(): ",
            "3 " + pipe + "handleInitialized(): WRED handle: 201",
            "9 " + pipe + "handleResourceConfig(): devTgt: D0 P2",
            "9 " + pipe + "handleResourceConfig(U16): devTgt: D0 P2 resourceIndex: 1",
            "9 " + pipe +
                "handleResourceConfig(U16): Applying WRED entry at index 1 minThdCells: 100 "
                "maxThdCells: 400 maxDropProbablity: 0.1 timeConstantNs: 1000",
            "call wredSetIndirect(1, 0, 2, 201, 1, [1000, 100, 400, 0.1]) = 0",
            "3 " + block +
                "handlePipeConfig(KelDriver::KelDevTgt): pipeSm initialized for devTgt: D0 P2",
        } ) );
    config->pipeConfigDel( pipe2 );
    EXPECT_EQ( takeLines().back(),
               "3 " + block +
                   "handlePipeConfig(KelDriver::KelDevTgt): pipeSm removed for devTgt: D0 P2" );
}

TEST_F( WredBlockTest, AChangedEntryIsRewrittenAloneAndARemovedOneStaysInTheChip ) {
    createWithPipe2();
    Kel::ringTraceClear();
    WredBlockResourceConfig steeper = early;
    steeper.maxDropProbability = 0.25F;
    entries->resourceConfigIs( 1, steeper );
    entries->resourceConfigIs( 0, early ); // as it is already
    entries->resourceConfigIs( 9, early );
    EXPECT_EQ( takeLines(),
               ( Lines{ "call wredSetIndirect(1, 0, 2, 201, 1, [1000, 100, 400, 0.25]) = 0",
                        "call wredSetIndirect(1, 0, 2, 201, 9, [1000, 100, 400, 0.1]) = 0" } ) );

    Kel::traceLevelsIs( "KelSliceQosWredBlockSm=9" );
    entries->resourceConfigDel( 7 );
    EXPECT_EQ( takeLines().back(), "9 void KelQos::KelSliceQosWredBlockPipeSm::"
                                   "handleResourceConfig(U16): WRED entry at index 7 removed" );
    EXPECT_EQ( chip.state().wredEntries.count( { 2, 201, 7 } ), 1U );
    EXPECT_EQ( Kel::ringTraceText(),
               "1 handleResourceConfig devTgt: D0 P2 resourceIndex: 1\n"
               "2 handleResourceConfig Applying WRED entry at index 1 minThdCells: 100 "
               "maxThdCells: 400 maxDropProbablity: 0.25 timeConstantNs: 1000\n"
               "3 handleResourceConfig devTgt: D0 P2 resourceIndex: 9\n"
               "4 handleResourceConfig Applying WRED entry at index 9 minThdCells: 100 "
               "maxThdCells: 400 maxDropProbablity: 0.1 timeConstantNs: 1000\n"
               "5 handleResourceConfig devTgt: D0 P2 resourceIndex: 7\n"
               "6 handleResourceConfig WRED entry at index 7removed\n" );
}

TEST_F( WredBlockTest, ARefusedWriteIsTracedAndTheOthersAreWritten ) {
    Kel::traceLevelsIs( "KelSliceQosWredBlockSm=1" );
    chip.faults().faultIs(
        { .operation = "wredSetIndirect", .status = 12, .times = 1, .skip = 1 } );
    config->pipeConfigIs( pipe2, entries );
    create();
    ASSERT_EQ( lines.size(), 5U );
    EXPECT_EQ( lines[2], "call wredSetIndirect(1, 0, 2, 201, 1, [1000, 100, 400, 0.1]) = 12" );
    EXPECT_EQ( lines[3], "1 void KelQos::KelSliceQosWredBlockPipeSm::handleResourceConfig(U16): "
                         "WRED Set failed for D0 P2 resourceIndex: 1 with errorCode: 12" );
    EXPECT_NE( Kel::ringTraceText().find( "  WRED Set failed for D0 P2 resourceIndex: 1 "
                                          "with errorCode: 12\n" ),
               std::string::npos );
    EXPECT_TRUE( chip.state().wredEntries.contains( { 2, 201, 0 } ) );
    EXPECT_FALSE( chip.state().wredEntries.contains( { 2, 201, 1 } ) );
    EXPECT_TRUE( chip.state().wredEntries.contains( { 2, 201, 7 } ) );

    entries->resourceConfigIs( 1, late ); // the next change tries again
    EXPECT_TRUE( chip.state().wredEntries.contains( { 2, 201, 1 } ) );
}

TEST_F( WredBlockTest, PipesComeAndGoWithTheirConfiguration ) {
    create();
    EXPECT_TRUE( sm->initialized() );
    EXPECT_TRUE( sm->pipeSm().empty() );
    EXPECT_EQ( takeLines(), Lines{ propertySet } );

    config->pipeConfigIs( pipe2, entries );
    config->pipeConfigIs( pipe0, Kel::makePtr<WredBlockPipeConfig>() );
    EXPECT_EQ( sm->pipeSm().size(), 2U );
    EXPECT_EQ( takeLines().size(), 3U );

    config->pipeConfigDel( pipe2 );
    entries->resourceConfigIs( 1, late ); // nobody follows it any more
    EXPECT_EQ( takeLines(), Lines{} );
    EXPECT_FALSE( sm->pipeSmHas( pipe2 ) );
    EXPECT_TRUE( sm->pipeSmHas( pipe0 ) );
    EXPECT_EQ( chip.state().wredEntries.size(), 3U );

    config->pipeConfigIs( pipe2, entries );
    EXPECT_EQ( takeLines().size(), 3U );
}

TEST_F( WredBlockTest, TheNotificationSwitchReachesEveryPipe ) {
    createWithPipe2();
    sm->hasNotificationActiveIs( false );
    EXPECT_FALSE( sm->pipeSm( pipe2 )->hasNotificationActive() );
    entries->resourceConfigIs( 1, late );
    config->pipeConfigIs( pipe0, Kel::makePtr<WredBlockPipeConfig>() );
    EXPECT_EQ( takeLines(), Lines{} );
    EXPECT_FALSE( sm->pipeSmHas( pipe0 ) );

    sm->hasNotificationActiveIs( true );
    entries->resourceConfigIs( 1, early );
    EXPECT_EQ( takeLines().size(), 1U );
}

TEST_F( WredBlockTest, APipeIsBuiltOnceFromOneSetOfArguments ) {
    createWithPipe2();
    const auto present = sm->pipeSm( pipe2 );
    EXPECT_EQ( sm->pipeSmIs( 1, pdIntf, program, pipe2, entries ), present );
    EXPECT_THROW( sm->pipeSmIs( 2, pdIntf, program, pipe2, entries ),
                  Kel::ReinstantiationException );
    EXPECT_THROW( sm->pipeSmIs( 1, pdIntf, program, pipe0, nullptr ), Kel::NullArgumentException );
    EXPECT_EQ( sm->pipeSm().size(), 1U );
    EXPECT_EQ( takeLines(), Lines{} );
}

using WredBlockDeathTest = WredBlockTest;

// The line that a failed assertion of a function of the class leaves on standard error.
std::string failed( const std::string & file, const std::string & function,
                    const std::string & expression ) {
    return "KelQos/Wred/" + file + "\\.cpp:[0-9]+: void KelQos::" + file + "::" + function +
           ": Assertion \"" + expression + "\" failed\\.\n";
}

TEST_F( WredBlockDeathTest, WhatIsMissingAtStartIsFatal ) {
    const std::string init = "handleInitialized\\(\\)";
    const KelId::KelDevId device( 0 );
    EXPECT_DEATH( kelSliceQosWredBlockSmFactory( 1, device, nullptr, nullptr, nullptr ),
                  failed( "KelSliceQosWredBlockSm", init, "resourceInfoIntf\\(\\)" ) );
    EXPECT_DEATH( kelSliceQosWredBlockSmFactory( 1, device, nullptr, program, nullptr ),
                  failed( "KelSliceQosWredBlockSm", init, "pdIntf\\(\\)" ) );
    EXPECT_DEATH( kelSliceQosWredBlockSmFactory( 1, device, pdIntf, program, nullptr ),
                  failed( "KelSliceQosWredBlockSm", init, "wredBlockConfig\\(\\)" ) );
    EXPECT_DEATH(
        kelSliceQosWredBlockSmFactory( 1, device, pdIntf, Kel::makePtr<EmptyProgram>(), config ),
        failed( "KelSliceQosWredBlockSm", init, "wredQueueSelectIndex != 0xFFFFFFF" ) );
    EXPECT_DEATH( kelSliceQosWredBlockPipeSmFactory( 1, nullptr, nullptr, pipe0, nullptr ),
                  failed( "KelSliceQosWredBlockPipeSm", init, "resourceInfoIntf\\(\\)" ) );
    EXPECT_DEATH( kelSliceQosWredBlockPipeSmFactory( 1, nullptr, program, pipe0, nullptr ),
                  failed( "KelSliceQosWredBlockPipeSm", init, "pdIntf\\(\\)" ) );
    EXPECT_DEATH( kelSliceQosWredBlockPipeSmFactory( 1, pdIntf, program, pipe0, nullptr ),
                  failed( "KelSliceQosWredBlockPipeSm", init, "pipeConfig\\(\\)" ) );

    chip.faults().faultIs( { .operation = "pipe_mgr_tbl_set_property", .status = 1 } );
    EXPECT_DEATH( create(), failed( "KelSliceQosWredBlockSm", init, "pps == 0" ) );
}

TEST_F( WredBlockDeathTest, ASecondConfigurationForOnePipeIsFatal ) {
    createWithPipe2();
    EXPECT_DEATH( config->pipeConfigIs( pipe2, Kel::makePtr<WredBlockPipeConfig>() ),
                  "Failed\\(!pipeSmHas\\( devTgt \\)\\) Unexpected KelSliceQosWredBlockPipeSm "
                  "already initialized\n" +
                      failed( "KelSliceQosWredBlockSm",
                              "handlePipeConfig\\(KelDriver::KelDevTgt\\)",
                              "\"!pipeSmHas\\( devTgt \\)\" == nullptr" ) );
}

} // namespace
} // namespace KelQos
