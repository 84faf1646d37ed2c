#include "Host/Switch/SwitchRuntime.h"

#include "Host/Switch/StateStoreDifference.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "KelQos/Wred/KelSliceQosWredBlockSm.h"
#include "Platform/Framework/Assert.h"

#include <exception>
#include <utility>

namespace KelHost {

namespace {

constexpr const char * commandType = "KelSliceQos";

// Half an event is worse than none: an exception in the middle of one, even for lack of memory,
// leaves a store and a chip in a state that nobody knows.
template <class Event>
void runToCompletion( Event && event ) {
    try {
        event();
    } catch ( const std::exception & error ) {
        KEL_FAILED( "no exception leaves a handler", error.what() );
    }
}

// What a new state store holds.
SwitchDocument emptyDocument( const DeviceSettings & device ) {
    SwitchDocument document;
    document.device = device;
    return document;
}

} // namespace

SwitchRuntime::SwitchRuntime( Kel::ActivityManager & activityManager, SwitchDocument document )
    : activityManager_( activityManager ),
      document_( std::move( document ) ),
      store_( document_.device, document_.bufferParams.has_value() ) {
    applyDifference( emptyDocument( document_.device ), document_, store_ );
}

SwitchRuntime::~SwitchRuntime() = default;

void SwitchRuntime::start( ChipAccess & chip ) {
    const ChipHandles handles = chip.attach( document_.device );
    runToCompletion( [&] {
        sliceQosSm_ = KelQos::kelSliceQosSmFactory(
            document_.device.id, activityManager_.config()->clock(), store_.tmConfig,
            store_.tmStatus, store_.tmBufferParams, store_.pfcSharedState, store_.systemStatus,
            store_.chipStatus, store_.cmdRequestDirSm, store_.tmCountersData,
            store_.tmCountersDataLastClear, store_.ethPhyIntfStatusDir );
        wredBlockSm_ = KelQos::kelSliceQosWredBlockSmFactory(
            handles.sessionId, store_.devId, handles.pdIntf, handles.resourceInfoIntf,
            store_.wredBlockConfig );
    } );
    serveTimers();
}

void SwitchRuntime::apply( const DocumentDifference & difference ) {
    runToCompletion( [&] {
        applyDifference( difference.before, difference.after, store_ );
        KelHost::apply( difference, document_ );
    } );
}

void SwitchRuntime::serveTimers() { advanceTo( activityManager_.now() ); }

void SwitchRuntime::advanceTo( F64 time ) {
    runToCompletion( [&] { activityManager_.advanceTo( time ); } );
}

void SwitchRuntime::deliver( const std::string & command, int fd ) const {
    const bool answered =
        store_.cmdRequestDirSm->deliver( commandType, static_cast<U32>( fd ), command );
    KEL_ASSERT( answered );
}

void SwitchRuntime::clearCounters() {
    runToCompletion( [&] { KelHost::clearCounters( document_.counters, store_ ); } );
}

void SwitchRuntime::minLimitCellsForMirroringIs( U32 cells ) {
    runToCompletion( [&] { sliceQosSm_->minLimitCellsForMirroringIs( cells ); } );
}

void SwitchRuntime::notificationsActiveIs( bool active ) {
    runToCompletion( [&] {
        sliceQosSm_->hasNotificationActiveIs( active );
        wredBlockSm_->hasNotificationActiveIs( active );
    } );
}

} // namespace KelHost
