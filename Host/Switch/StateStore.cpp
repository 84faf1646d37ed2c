#include "Host/Switch/StateStore.h"

namespace KelHost {

using Kel::makePtr;

StateStore::StateStore( const DeviceSettings & device, bool withBufferParams )
    : devId( device.id ),
      chipStatus( makePtr<KelSlice::ChipStatus>() ),
      systemStatus( makePtr<KelSystem::SystemStatus>() ),
      ethPhyIntfStatusDir( makePtr<Interface::EthPhyIntfStatusDir>() ),
      tmConfig( makePtr<KelQos::TmConfig>() ),
      wredBlockConfig( makePtr<KelQos::WredBlockConfig>() ),
      tmCountersData( makePtr<KelQos::TmCountersData>() ),
      tmCountersDataLastClear( makePtr<KelQos::TmCountersData>() ),
      tmStatus( makePtr<KelQos::TmStatus>() ),
      pfcSharedState( makePtr<KelQos::KelPfcSharedState>() ),
      cmdRequestDirSm( makePtr<Agent::AgentCommandRequestDirSm>() ) {
    chipStatus->maxPipeIdIs( device.maxPipeId );
    if ( withBufferParams ) {
        tmBufferParams = makePtr<KelQos::TmBufferParamsConfig>();
    }
}

KelDriver::KelDevTgt StateStore::devTgt( U16 pipe ) const {
    return { devId, KelId::KelPipeId( pipe ) };
}

} // namespace KelHost
