#pragma once

#include "Host/Document/DocumentDifference.h"
#include "Host/Switch/ChipAccess.h"
#include "Host/Switch/StateStore.h"
#include "Platform/Framework/ActivityManager.h"

#include <string>

namespace KelQos {
class KelSliceQosSm;
class KelSliceQosWredBlockSm;
} // namespace KelQos

namespace KelHost {

// One running switch: the state store that follows a switch document, and the state machines that
// follow the state store. Its owner owns time as well: the owner moves the activity manager's clock
// and calls serveTimers() after each event.
//
// Every member function that acts makes driver calls, and ends the process when the library does:
// by an abort when the driver refuses a setting or anything is thrown on the way (nobody knows what
// the chip holds then), or by the activity manager's orderly exit. So a call that throws has
// changed nothing.
class SwitchRuntime {
  public:
    // Fills the state store; nothing is programmed yet. The activity manager must outlive this.
    SwitchRuntime( Kel::ActivityManager & activityManager, SwitchDocument document );
    ~SwitchRuntime();
    SwitchRuntime( const SwitchRuntime & ) = delete;
    SwitchRuntime & operator=( const SwitchRuntime & ) = delete;

    // Creates the state machines, which bring the chip up, and serves the timers that are due.
    // Once, before anything below.
    void start( ChipAccess & chip );

    const StateStore & store() const { return store_; }
    const SwitchDocument & document() const { return document_; }
    const KelQos::KelSliceQosSm & sliceQosSm() const { return *sliceQosSm_; }

    // Takes the switch a step on, from the present document. The step, or the whole one of which it
    // is a part, must have passed checkTransition().
    void apply( const DocumentDifference & difference );

    // Fires the timers that are due by now, in order of due time.
    void serveTimers();
    // Moves time forward to `time`, in seconds, and fires each timer that falls due on the way, at
    // its time.
    void advanceTo( F64 time );

    // Hands one diagnostic command to the library, which writes the answer to `fd` before this
    // returns. A "show tm intf" without an interface name is a broken invariant of the library and
    // aborts.
    void deliver( const std::string & command, int fd ) const;

    // What an operator's "clear counters" does; see clearCounters() in StateStoreDifference.h.
    void clearCounters();

    // Guaranteed minimum of each pipe's mirror port, in cells.
    void minLimitCellsForMirroringIs( U32 cells );

    // The notification switch of both state machines. Attribute changes missed while it is off stay
    // missed; timers that expire meanwhile fire when it is on again.
    void notificationsActiveIs( bool active );

  private:
    Kel::ActivityManager & activityManager_;
    SwitchDocument document_;
    StateStore store_;
    Kel::Ptr<KelQos::KelSliceQosSm> sliceQosSm_;
    Kel::Ptr<KelQos::KelSliceQosWredBlockSm> wredBlockSm_;
};

} // namespace KelHost
