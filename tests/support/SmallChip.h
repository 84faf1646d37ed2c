#pragma once

#include "KelQos/Slice/KelSliceQosSm.h"
#include "Model/Chip.h"
#include "Platform/Framework/ActivityManager.h"
#include "Platform/Logging/RingTrace.h"

#include <string>
#include <vector>

namespace TestSupport {

// A modelled chip and the state store of its switch, with virtual time that starts at 0. Everything
// that a test wants to see comes into one log in the order in which it happens: driver calls,
// syslog messages, and status writes, in the words of the event log without the time.
//
// Fill the entities, call start(), change the entities, advance time, and look at the log.
class SmallChip {
  public:
    explicit SmallChip( U32 totalCells = 278528 );
    ~SmallChip();

    // Adds a port to the port table. The port's kind follows from its name.
    void addPort( const std::string & name, U32 portIndex );
    // Adds a configuration with default values for the port, not programmed yet while the state
    // machine is not started.
    Kel::Ptr<KelQos::TmIntfConfig> addIntf( U32 portIndex );
    // A group with the classes of the bitmap and dynamic threshold 3.
    static Kel::Ptr<KelQos::TmPpgConfig> newPpg( U8 id, U8 bitmap, bool pfc = false,
                                                 U32 minCells = 0 );
    // A queue with dynamic threshold 3.
    static Kel::Ptr<KelQos::TmTxQueueConfig> newQueue( U8 id, U32 minCells = 0 );
    // Maps every class of service to the traffic class of its number.
    void mapAllClasses();
    void setStatus( const std::string & name, Interface::EnabledState state );

    // Creates the slice state machine and serves the timers that are due.
    KelQos::KelSliceQosSm & start();
    void stop() { sm = nullptr; }
    // Moves time forward by seconds and fires what falls due.
    void advance( F64 seconds ) { activityManager.advanceTo( activityManager.now() + seconds ); }

    // What was logged since it was last asked.
    std::vector<std::string> takeLog();
    // The same without the calls that every recomputation of the shared pools makes; each
    // recomputation is one line "pools INGRESS EGRESS" with the two sizes.
    std::vector<std::string> takeStory();
    // What the command callback answers to a command.
    std::string answer( const std::string & command );

    Kel::ActivityManager activityManager;
    KelModel::Chip chip;
    Kel::Ptr<Kel::Clock> clock = activityManager.config()->clock();
    Kel::Ptr<KelQos::TmConfig> tmConfig = Kel::makePtr<KelQos::TmConfig>();
    Kel::Ptr<KelQos::TmStatus> tmStatus = Kel::makePtr<KelQos::TmStatus>();
    Kel::Ptr<KelQos::TmBufferParamsConfig> tmBufferParams =
        Kel::makePtr<KelQos::TmBufferParamsConfig>();
    Kel::Ptr<KelQos::KelPfcSharedState> pfcSharedState = Kel::makePtr<KelQos::KelPfcSharedState>();
    Kel::Ptr<KelSystem::SystemStatus> systemStatus = Kel::makePtr<KelSystem::SystemStatus>();
    Kel::Ptr<KelSlice::ChipStatus> chipStatus = Kel::makePtr<KelSlice::ChipStatus>();
    Kel::Ptr<Agent::AgentCommandRequestDirSm> cmdRequestDirSm =
        Kel::makePtr<Agent::AgentCommandRequestDirSm>();
    Kel::Ptr<KelQos::TmCountersData> tmCountersData = Kel::makePtr<KelQos::TmCountersData>();
    Kel::Ptr<KelQos::TmCountersData> tmCountersDataLastClear =
        Kel::makePtr<KelQos::TmCountersData>();
    Kel::Ptr<Interface::EthPhyIntfStatusDir> intfStatusDir =
        Kel::makePtr<Interface::EthPhyIntfStatusDir>();
    Kel::Ptr<KelQos::KelSliceQosSm> sm;

  private:
    class StatusWatch;
    class PfcWatch;
    class IntfStatusWatch;

    std::vector<std::string> log_;
    std::vector<Kel::Ptr<Kel::Notifiee>> watches_;
};

} // namespace TestSupport
