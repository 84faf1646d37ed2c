#include "KelQos/Wred/KelSliceQosWredBlockSm.h"
#include "Model/Chip.h"
#include "Model/ModelPdIntf.h"
#include "Model/ModelResourceInfoIntf.h"
#include "Platform/Framework/Exceptions.h"
#include "Platform/Logging/RingTrace.h"

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
        entries->resourceConfigIs( 0, early );
        entries->resourceConfigIs( 1, early );
        entries->resourceConfigIs( 7, late );
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

    Lines lines; // driver calls
    Chip chip;
    Kel::Ptr<KelModel::ModelPdIntf> pdIntf = Kel::makePtr<KelModel::ModelPdIntf>( chip );
    Kel::Ptr<KelDriver::ResourceInfoIntf> program = Kel::makePtr<KelModel::ModelResourceInfoIntf>();
    Kel::Ptr<WredBlockPipeConfig> entries = Kel::makePtr<WredBlockPipeConfig>();
    Kel::Ptr<WredBlockConfig> config = Kel::makePtr<WredBlockConfig>();
    Kel::Ptr<KelSliceQosWredBlockSm> sm;
};

// Nothing is taken back from the chip when the state machine goes.
TEST_F( WredBlockTest, TheEndProgramsNothingAndNobodyListensAnyMore ) {
    createWithPipe2();
    EXPECT_TRUE( sm->initialized() );
    EXPECT_TRUE( sm->pipeSm( pipe2 )->initialized() );
    const auto held = sm->pipeSm( pipe2 )->velPipeConfig();
    sm = nullptr;
    entries->resourceConfigIs( 1, late );
    config->pipeConfigDel( pipe2 );
    EXPECT_EQ( takeLines(), Lines{} );
    EXPECT_EQ( chip.state().wredEntries.size(), 3U );
    EXPECT_EQ( held->owner(), nullptr );

    auto alone = kelSliceQosWredBlockPipeSmFactory( 1, pdIntf, program, pipe2, entries );
    takeLines();
    entries->resourceConfigIs( 1, early );
    EXPECT_EQ( takeLines().size(), 1U );
    const auto heldAlone = alone->velPipeConfig();
    alone = nullptr;
    EXPECT_EQ( heldAlone->owner(), nullptr );
}

TEST_F( WredBlockTest, WhatIsWrittenRemovedOrRefusedIsInTheRingTrace ) {
    createWithPipe2();
    Kel::ringTraceClear();
    chip.faults().faultIs( { .operation = "wredSetIndirect", .status = 12, .times = 1 } );
    entries->resourceConfigIs( 9, early );
    entries->resourceConfigDel( 7 );
    EXPECT_EQ( Kel::ringTraceText(),
               "1 handleResourceConfig devTgt: D0 P2 resourceIndex: 9\n"
               "2 handleResourceConfig Applying WRED entry at index 9 minThdCells: 100 "
               "maxThdCells: 400 maxDropProbablity: 0.1 timeConstantNs: 1000\n"
               "3  WRED Set failed for D0 P2 resourceIndex: 9 with errorCode: 12\n"
               "4 handleResourceConfig devTgt: D0 P2 resourceIndex: 7\n"
               "5 handleResourceConfig WRED entry at index 7removed\n" );
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

    createWithPipe2();
    sm->velWredBlockConfig()->notifierIs( nullptr );
    EXPECT_DEATH( sm->handlePipeConfig( pipe2 ),
                  failed( "KelSliceQosWredBlockSm", "handlePipeConfig\\(KelDriver::KelDevTgt\\)",
                          "wredBlockConfig\\(\\)" ) );
    EXPECT_DEATH(
        sm->handlePipeConfig(),
        failed( "KelSliceQosWredBlockSm", "handlePipeConfig\\(\\)", "wredBlockConfig\\(\\)" ) );
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
