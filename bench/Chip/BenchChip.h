#pragma once

#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Framework/ActivityManager.h"

#include <string>

namespace KelBench {

// How much of the chip is configured: ports over its four pipes, each with PFC and with as many
// lossless groups as fit beside the lossy one.
struct ChipSize {
    U32 ports = 256;
    U32 groups = 3;
    U32 queues = 8;
};

// A configured chip, with or without the state machine that programs it.
class BenchChip {
  public:
    explicit BenchChip( const ChipSize & size );

    static std::string interfaceName( U32 number );
    // The port of interface `number`, counted over all pipes.
    KelPortTypes::PortIndex port( U32 number ) const;

    // From the factory call to the last timer served.
    [[gnu::noinline]] void bringUp();
    // Lets the state machine go, and forgets what it wrote about the chip.
    void tearDown();

    const ChipSize & size() const { return size_; }
    Kel::ActivityManager & time() { return activityManager_; }
    KelQos::TmConfig & config() { return *config_; }
    KelQos::TmIntfConfig & intf( U32 number );
    KelQos::TmPpgConfig & group( U32 number );
    KelQos::TmTxQueueConfig & queue( U32 number );
    KelQos::TmCountersData & counters() { return *counters_; }
    Agent::AgentCommandRequestDirSm & commands() { return *commands_; }
    KelQos::KelSliceQosSm & sm() { return *sm_; }

    // The number of a lossless group, or of the lossy one when `index` is the last.
    KelQos::PpgId groupId( U32 index ) const;

  private:
    void configure( U32 number );

    const ChipSize size_;
    Kel::ActivityManager activityManager_;
    Kel::Ptr<KelQos::TmConfig> config_ = Kel::makePtr<KelQos::TmConfig>();
    Kel::Ptr<KelQos::TmStatus> status_ = Kel::makePtr<KelQos::TmStatus>();
    Kel::Ptr<KelQos::TmBufferParamsConfig> params_ = Kel::makePtr<KelQos::TmBufferParamsConfig>();
    Kel::Ptr<KelQos::KelPfcSharedState> pfc_ = Kel::makePtr<KelQos::KelPfcSharedState>();
    Kel::Ptr<KelSystem::SystemStatus> system_ = Kel::makePtr<KelSystem::SystemStatus>();
    Kel::Ptr<KelSlice::ChipStatus> chip_ = Kel::makePtr<KelSlice::ChipStatus>();
    Kel::Ptr<Agent::AgentCommandRequestDirSm> commands_ =
        Kel::makePtr<Agent::AgentCommandRequestDirSm>();
    Kel::Ptr<KelQos::TmCountersData> counters_ = Kel::makePtr<KelQos::TmCountersData>();
    Kel::Ptr<KelQos::TmCountersData> lastClear_ = Kel::makePtr<KelQos::TmCountersData>();
    Kel::Ptr<Interface::EthPhyIntfStatusDir> interfaces_ =
        Kel::makePtr<Interface::EthPhyIntfStatusDir>();
    Kel::Ptr<KelQos::KelSliceQosSm> sm_;
};

} // namespace KelBench
