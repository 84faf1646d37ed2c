#pragma once

#include "Platform/Agent/AgentCommand.h"
#include "Platform/Entities/ChipStatus.h"
#include "Platform/Entities/EthPhyIntfStatus.h"
#include "Platform/Entities/KelPfcSharedState.h"
#include "Platform/Entities/SystemStatus.h"
#include "Platform/Entities/TmBufferParamsConfig.h"
#include "Platform/Entities/TmConfig.h"
#include "Platform/Entities/TmCountersData.h"
#include "Platform/Entities/TmStatus.h"
#include "Platform/Framework/Clock.h"

namespace KelQos {

// What one slice state machine is given: the entities of one chip, in the factory's order.
struct KelSliceQosSmInputs {
    U32 deviceId = 0;                 // device number that every driver call carries
    Kel::Ptr<const Kel::Clock> clock; // its ticks drive the buffer-allocation syslog
    Kel::Ptr<const TmConfig> tmConfig;
    Kel::Ptr<TmStatus> tmStatus;
    Kel::Ptr<const TmBufferParamsConfig> tmBufferParams;
    Kel::Ptr<KelPfcSharedState> pfcSharedState;
    Kel::Ptr<const KelSystem::SystemStatus> systemStatus;
    Kel::Ptr<const KelSlice::ChipStatus> chipStatus;
    Kel::Ptr<Agent::AgentCommandRequestDirSm> cmdRequestDirSm;
    Kel::Ptr<const TmCountersData> tmCountersData;
    Kel::Ptr<TmCountersData> tmCountersDataLastClear;
    Kel::Ptr<const Interface::EthPhyIntfStatusDir> ethPhyIntfStatusDir;
};

} // namespace KelQos
