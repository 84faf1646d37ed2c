#pragma once

#include "Platform/Entities/ChipStatus.h"
#include "Platform/Entities/TmBufferParamsConfig.h"
#include "Platform/Entities/TmCountersData.h"
#include "Platform/Framework/Clock.h"
#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Reactor.h"

namespace KelQos {

class KelSliceQosLeakHandlerSm;

// Creates the leak handler of one chip; it first polls the counters one poll interval later. It
// never polls when one of the three entities is null. The activity manager must exist, and outlive
// the result.
Kel::Ptr<KelSliceQosLeakHandlerSm>
kelSliceQosLeakHandlerSmFactory( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                                 Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                                 Kel::Ptr<const TmCountersData> tmCountersData );

// The creation operation, which the factory calls.
Kel::Ptr<KelSliceQosLeakHandlerSm>
KelSliceQosLeakHandlerSmIs( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                            Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                            Kel::Ptr<const TmCountersData> tmCountersData );

// Watches the drop counters of one chip's egress pipes for packets whose buffer cells never come
// back. When their sum reaches the threshold it logs KEL_INTERNAL_BUFFER_ERROR and ends the process
// with status 0 through the activity manager: only the warm restart that follows frees the cells.
// With SIMULATION_VMID in the environment the process goes on, and the handler counts as recovered.
// It programs nothing in the chip.
class KelSliceQosLeakHandlerSm : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId {
        leakedPktsFromLastPollAttr = 1,
        recoveredAttr,
        initializedAttr,
    };
    class VelTmBufferParams;
    class VelPollClock;

    static constexpr auto creation = &kelSliceQosLeakHandlerSmFactory;

    KelSliceQosLeakHandlerSm( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                              Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                              Kel::Ptr<const TmCountersData> tmCountersData );
    ~KelSliceQosLeakHandlerSm() override;

    U32 deviceId() const { return deviceId_; }
    const Kel::Ptr<const KelSlice::ChipStatus> & chipStatus() const { return chipStatus_; }
    const Kel::Ptr<const TmCountersData> & tmCountersData() const { return tmCountersData_; }

    // The watched parameters and their reactor; null when there are none.
    const TmBufferParamsConfig * tmBufferParams() const;
    const Kel::Ptr<VelTmBufferParams> & velTmBufferParams() const { return velTmBufferParams_; }
    // Stops polling.
    void tmBufferParamsDel();

    // The wheel that the poll timer is on, and the timer; null when there is none.
    const Kel::TimerWheel * pollClock() const;
    const Kel::Ptr<VelPollClock> & velPollClock() const { return velPollClock_; }
    // Puts the poll timer, unarmed, on the wheel; moving it to another wheel polls at once. Throws
    // Kel::NullArgumentException for null.
    void pollClockIs( Kel::Ptr<const Kel::TimerWheel> wheel );
    void pollClockDel();

    // Packets lost in all egress pipes together, as the last poll found them.
    U32 leakedPktsFromLastPoll() const { return leakedPktsFromLastPoll_; }
    void leakedPktsFromLastPollIs( U32 packets ) {
        attributeIs( leakedPktsFromLastPoll_, packets, leakedPktsFromLastPollAttr );
    }
    // A leak was found in a simulated environment. Polling then pauses until one of the parameters
    // changes.
    bool recovered() const { return recovered_; }
    void recoveredIs( bool recovered ) { attributeIs( recovered_, recovered, recoveredAttr ); }
    // While false, nothing is polled or scheduled.
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) {
        attributeIs( initialized_, initialized, initializedAttr );
    }

    // The notification switch of both reactors. A poll that falls due while it is off is made up
    // for once it is on again.
    void hasNotificationActiveIs( bool on );

    void handleInitialized();
    // Arms the poll timer for one poll interval from now.
    void schedulePollClock();
    // Polls: compares the counters with the threshold, and arms the timer again or acts on the
    // leak. Throws Kel::RangeException, with nothing changed, for a number that is not a device id.
    void handlePollClock();
    // The sum over all pipes, in packets; 4294967295 also stands for every larger sum. Throws as
    // above.
    U32 getLeakedPktsCounter() const;
    // Traces every pipe's counters and the two sums, in packets. Throws as above.
    void traceCounters( U32 current, U32 previous ) const;

  private:
    void velDoZombieReactors( bool zombie );
    // Whether there is everything that a poll needs.
    bool canPoll() const;
    bool hasPipe( U32 pipe ) const;
    // The pipe's counters, or null when that pipe was never fetched.
    const BlockLevelCounters * blockLevelCounters( U16 pipe ) const;
    void handleLeak( U32 threshold );

    const U32 deviceId_;
    const Kel::Ptr<const KelSlice::ChipStatus> chipStatus_;
    Kel::Ptr<VelTmBufferParams> velTmBufferParams_;
    const Kel::Ptr<const TmCountersData> tmCountersData_;
    U32 leakedPktsFromLastPoll_ = 0;
    U32 polls_ = 0; // how many there have been; wraps
    Kel::Ptr<VelPollClock> velPollClock_;
    bool recovered_ = false;
    bool initialized_ = false;
};

// Follows the threshold and the poll interval.
class KelSliceQosLeakHandlerSm::VelTmBufferParams final
    : public Kel::Reactor<KelSliceQosLeakHandlerSm::VelTmBufferParams, TmBufferParamsConfig,
                          KelSliceQosLeakHandlerSm> {
  public:
    static constexpr Kel::Handler<VelTmBufferParams> handlers[]{
        Kel::calls<&KelSliceQosLeakHandlerSm::handlePollClock>(
            TmBufferParamsConfig::leakThresholdAttr ),
        Kel::calls<&KelSliceQosLeakHandlerSm::schedulePollClock>(
            TmBufferParamsConfig::leakPollIntervalAttr ),
    };

    using Reactor::Reactor;
    // Other parameters count at once: they re-arm the timer, then poll.
    void handleNotifier() override;
};

// The poll timer.
class KelSliceQosLeakHandlerSm::VelPollClock final
    : public Kel::TimedReactor<KelSliceQosLeakHandlerSm::VelPollClock, Kel::TimerWheel,
                               KelSliceQosLeakHandlerSm> {
  public:
    static constexpr Kel::Handler<VelPollClock> handlers[]{
        Kel::calls<&KelSliceQosLeakHandlerSm::handlePollClock>( Kel::TimerWheel::timeMinAttr ),
    };

    using Reactor::Reactor;
    // Another wheel: polls at once.
    void handleNotifier() override { owner()->handlePollClock(); }
};

} // namespace KelQos
