#include "Host/Plan/ChangePlan.h"

#include "Host/Document/DocumentTransition.h"
#include "Host/Plan/ModelledChip.h"
#include "Host/Plan/Warnings.h"
#include "KelQos/Leak/KelSliceQosLeakHandlerSm.h"
#include "KelQos/Slice/KelSliceQosSm.h"
#include "Platform/Logging/Syslog.h"

#include <algorithm>
#include <cstdlib>

namespace KelHost {

namespace {

WayTaken::Groups groupsOf( const ChipSnapshot & snapshot ) {
    WayTaken::Groups groups;
    for ( const auto & [place, handle] : snapshot.groups ) {
        groups.insert( place );
    }
    return groups;
}

// Every group that is configured: nobody knows which would have to wait.
WayTaken::Groups groupsOf( const SwitchDocument & document ) {
    WayTaken::Groups groups;
    for ( const auto & [name, port] : document.ports ) {
        if ( port.qos ) {
            for ( const auto & [id, group] : port.qos->ppgs ) {
                groups.emplace( port.portIndex, id );
            }
        }
    }
    return groups;
}

// A modelled switch of its own, in whatever surroundings there are.
class Rehearsal {
  public:
    explicit Rehearsal( const SwitchDocument & document ) : runtime_( activityManager_, document ) {
        setenv( "SIMULATION_VMID", "1", 1 );
        Kel::syslogSinkIs( []( int, std::string_view, std::string_view ) {} );
        Kel::syslogTimeSourceIs( [this] { return activityManager_.now(); } );
        runtime_.start( chip_ );
    }
    ~Rehearsal() {
        Kel::syslogTimeSourceIs( nullptr );
        Kel::syslogSinkIs( nullptr );
    }
    Rehearsal( const Rehearsal & ) = delete;
    Rehearsal & operator=( const Rehearsal & ) = delete;

    ChipSnapshot snapshot() { return { chip_.chip().state(), runtime_ }; }

    // The driver calls on the way.
    std::vector<std::string> goTo( const SwitchDocument & document ) {
        std::vector<std::string> calls;
        chip_.chip().logSinkIs( [&calls]( std::string_view line ) {
            constexpr std::string_view word = "call ";
            calls.emplace_back( line.substr( word.size() ) );
        } );
        runtime_.apply( differenceOf( runtime_.document(), document ) );
        runtime_.serveTimers();
        chip_.chip().logSinkIs( nullptr );
        return calls;
    }

    bool hasDeclaredLeak() const { return runtime_.sliceQosSm().leakHandlerSm()->recovered(); }

  private:
    Kel::ActivityManager activityManager_;
    ModelledChip chip_;
    SwitchRuntime runtime_;
};

// Whether the refusal is about this change, or about something inside of what it adds or removes.
bool isAbout( const TransitionRefusal & refusal, const MemberChange & change ) {
    return refusal.member == change.pointer || refusal.member.starts_with( change.pointer + "/" );
}

} // namespace

ChangePlan changePlanOf( const WrittenDocument & before, const WrittenDocument & after ) {
    ChangePlan plan;
    plan.before = bufferUseOf( before.document );
    plan.after = bufferUseOf( after.document );
    std::vector<MemberChange> changes = memberChanges( before, after );
    const auto refusals = transitionRefusals( before.document, after.document );
    WayTaken way{ .before = before.document, .after = after.document };
    way.leak = leaksAtOnce( after.document ) && !leaksAtOnce( before.document );
    Rehearsal rehearsal( before.document );
    const ChipSnapshot then = rehearsal.snapshot();
    way.groupsBefore = groupsOf( then );
    if ( refusals.empty() && !changes.empty() ) {
        plan.calls = rehearsal.goTo( after.document );
        const ChipSnapshot now = rehearsal.snapshot();
        plan.chip = changedSettings( then, now );
        way.groupsAfter = groupsOf( now );
        way.leak |= rehearsal.hasDeclaredLeak();
    } else {
        way.groupsAfter = groupsOf( after.document );
    }
    for ( MemberChange & change : changes ) {
        const MemberImpact own = impactOf( change, way );
        PlannedChange planned{ {}, own.impact, std::string( own.note ) };
        const auto refusal = std::ranges::find_if(
            refusals, [&]( const TransitionRefusal & each ) { return isAbout( each, change ); } );
        if ( refusal != refusals.end() ) {
            planned.impact = Impact::restart;
            planned.note = refusal->text;
        }
        plan.impact = std::max( plan.impact, planned.impact );
        planned.change = std::move( change );
        plan.changes.push_back( std::move( planned ) );
    }
    return plan;
}

} // namespace KelHost
