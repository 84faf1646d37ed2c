#include "Host/Switch/SwitchRuntime.h"
#include "Host/Plan/ModelledChip.h"
#include "tests/Host/DocumentHelpers.h"

#include <gtest/gtest.h>
#include <new>

using namespace KelHost;
using KelHostTest::decoded;

namespace {

// Memory runs out while the chip is programmed.
class FailingPdIntf : public KelDriver::PdIntf {
    U32 wredSetIndirect( U32, U32, U16, U32, U32, const p4_pd_red_spec * ) override {
        throw std::bad_alloc();
    }
};

class FailingChip : public ModelledChip {
    ChipHandles attach( const DeviceSettings & device ) override {
        ChipHandles handles = ModelledChip::attach( device );
        handles.pdIntf = Kel::makePtr<FailingPdIntf>();
        return handles;
    }
};

TEST( SwitchRuntimeDeathTest, nothingIsThrownOutOfAStepThatHasBegun ) {
    Kel::ActivityManager activityManager;
    FailingChip chip;
    SwitchRuntime runtime( activityManager, decoded( "{}" ) );
    runtime.start( chip );
    const DocumentDifference step = differenceOf(
        decoded( "{}" ), decoded( R"({ "wred": { "0": { "7": { "minThdCells": 1, "maxThdCells": 2,
                                       "maxDropProbability": 0.5, "timeConstantNs": 10 } } } })" ) );
    EXPECT_DEATH( runtime.apply( step ), "no exception leaves a handler.* std::bad_alloc" );
}

} // namespace
