#pragma once

#include "Platform/Entities/ChipStatus.h"
#include "Platform/Entities/TmBufferParamsConfig.h"
#include "Platform/Entities/TmCountersData.h"
#include "Platform/Framework/Clock.h"
#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Notifiee.h"

namespace KelQos {

class KelSliceQosLeakHandlerSm;

// Creates the leak handler of one chip; its first look at the counters comes one poll interval
// later. Without tmBufferParams it never looks; with them, chipStatus and tmCountersData must be
// there (asserted at the first look). The activity manager must exist, and outlive the result.
Kel::Ptr<KelSliceQosLeakHandlerSm>
kelSliceQosLeakHandlerSmFactory( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                                 Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                                 Kel::Ptr<const TmCountersData> tmCountersData );

// The creation operation; the factory is this under its public name.
Kel::Ptr<KelSliceQosLeakHandlerSm>
KelSliceQosLeakHandlerSmIs( U32 deviceId, Kel::Ptr<const KelSlice::ChipStatus> chipStatus,
                            Kel::Ptr<const TmBufferParamsConfig> tmBufferParams,
                            Kel::Ptr<const TmCountersData> tmCountersData );

// Watches the drop counters of one chip's egress pipes for packets whose buffer cells never come
// back. When their sum reaches the threshold it logs KEL_INTERNAL_BUFFER_ERROR and ends the process
// with status 0 through the activity manager: only the warm restart that follows frees the cells.
// With SIMULATION_VMID in the environment it stays, as recovered. It programs nothing in the chip.
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
    // Nothing is polled any more.
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
    // A leak was found in a simulated environment. Polling then rests until one of the parameters
    // changes.
    bool recovered() const { return recovered_; }
    void recoveredIs( bool recovered ) { attributeIs( recovered_, recovered, recoveredAttr ); }
    // While false, nothing is polled or scheduled.
    bool initialized() const { return initialized_; }
    void initializedIs( bool initialized ) {
        attributeIs( initialized_, initialized, initializedAttr );
    }

    // The notification switch of both reactors. A poll that comes due while it is off is made up
    // for when it is on again.
    void hasNotificationActiveIs( bool on );

    void handleInitialized();
    // Arms the poll timer for one poll interval from now.
    void schedulePollClock();
    // Polls: compares the counters with the threshold, and arms the timer again or acts on the
    // leak. Throws Kel::RangeException, with nothing changed, for a device id that is none.
    void handlePollClock();
    // The sum over all pipes, in packets; 4294967295 also stands for every larger sum. Throws as
    // above.
    U32 getLeakedPktsCounter() const;
    // Traces every pipe's counters and the two sums, in packets. Throws as above.
    void traceCounters( U32 current, U32 previous ) const;

  private:
    void velDoZombieReactors( bool zombie );
    // The pipe's counters, or null when that pipe was never fetched.
    const BlockLevelCounters * blockLevelCounters( U16 pipe ) const;
    void handleLeak( U32 threshold );

    const U32 deviceId_;
    const Kel::Ptr<const KelSlice::ChipStatus> chipStatus_;
    Kel::Ptr<VelTmBufferParams> velTmBufferParams_;
    const Kel::Ptr<const TmCountersData> tmCountersData_;
    U32 leakedPktsFromLastPoll_ = 0;
    Kel::Ptr<VelPollClock> velPollClock_;
    bool recovered_ = false;
    bool initialized_ = false;
};

// Follows the threshold and the poll interval.
class KelSliceQosLeakHandlerSm::VelTmBufferParams final
    : public Kel::NotifieeOf<TmBufferParamsConfig> {
  public:
    VelTmBufferParams( Kel::Ptr<const TmBufferParamsConfig> params, KelSliceQosLeakHandlerSm * sm )
        : NotifieeOf( std::move( params ) ), sm_( sm ) {}

    // Other parameters count at once: they re-arm the timer, then poll.
    void notifierIs( Kel::Ptr<const TmBufferParamsConfig> params ) override;
    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void smDel() { sm_ = nullptr; }

  private:
    KelSliceQosLeakHandlerSm * sm_;
};

// The poll timer.
class KelSliceQosLeakHandlerSm::VelPollClock final : public Kel::TimedNotifiee<Kel::TimerWheel> {
  public:
    VelPollClock( Kel::Ptr<const Kel::TimerWheel> wheel, KelSliceQosLeakHandlerSm * sm )
        : TimedNotifiee( std::move( wheel ) ), sm_( sm ) {}

    void notifierIs( Kel::Ptr<const Kel::TimerWheel> wheel ) override;
    void onAttribute( Kel::AttributeId id, const void * key ) override;
    void smDel() { sm_ = nullptr; }

  private:
    KelSliceQosLeakHandlerSm * sm_;
};

} // namespace KelQos
