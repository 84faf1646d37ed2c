#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Platform/Agent/AgentCommand.h"
#include "Platform/Entities/ChipStatus.h"
#include "Platform/Entities/EthPhyIntfStatus.h"
#include "Platform/Entities/KelPfcSharedState.h"
#include "Platform/Entities/SystemStatus.h"
#include "Platform/Entities/TmBufferParamsConfig.h"
#include "Platform/Entities/TmConfig.h"
#include "Platform/Entities/TmCountersData.h"
#include "Platform/Entities/TmStatus.h"
#include "Platform/Entities/WredConfig.h"

namespace KelHost {

// The entities of one chip: all that its state machines read and write. Which entities exist never
// changes; what they hold follows the switch document (StateStoreDifference.h).
struct StateStore {
    // `withBufferParams`: whether there is a TmBufferParamsConfig. Everything else is there, empty.
    StateStore( const DeviceSettings & device, bool withBufferParams );

    // The pipe as the key of per-pipe configuration.
    KelDriver::KelDevTgt devTgt( U16 pipe ) const;

    KelId::KelDevId devId;
    Kel::Ptr<KelSlice::ChipStatus> chipStatus;
    Kel::Ptr<KelSystem::SystemStatus> systemStatus;
    Kel::Ptr<Interface::EthPhyIntfStatusDir> ethPhyIntfStatusDir;
    Kel::Ptr<KelQos::TmBufferParamsConfig> tmBufferParams; // null when the document has none
    Kel::Ptr<KelQos::TmConfig> tmConfig;
    Kel::Ptr<KelQos::WredBlockConfig> wredBlockConfig;
    Kel::Ptr<KelQos::TmCountersData> tmCountersData;
    Kel::Ptr<KelQos::TmCountersData> tmCountersDataLastClear;

    // Written by the state machines.
    Kel::Ptr<KelQos::TmStatus> tmStatus;
    Kel::Ptr<KelQos::KelPfcSharedState> pfcSharedState;

    Kel::Ptr<Agent::AgentCommandRequestDirSm> cmdRequestDirSm;
};

} // namespace KelHost
