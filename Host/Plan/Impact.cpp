#include "Host/Plan/Impact.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>

namespace KelHost {

namespace {

struct Words {
    std::string_view word;
    std::string_view meaning;
};
// By Impact.
constexpr std::array<Words, 5> words{ {
    { "none", "nothing reaches the chip" },
    { "settings", "limits, thresholds, rates, weights: traffic goes on" },
    { "reclassifies", "traffic moves to another class, group, queue priority or pause mode" },
    { "interrupts", "what a group guaranteed is gone meanwhile, or the agent ends" },
    { "restart", "a running switch refuses it" },
} };

constexpr U8 lossyGroup = 8; // every port has one, which is never allocated

constexpr MemberImpact waits{ Impact::interrupts,
                              "no group of the chip is free: it waits for one" };
constexpr MemberImpact releases{ Impact::interrupts, "its group of the chip is released" };
constexpr MemberImpact leaks{ Impact::interrupts,
                              "the switch declares a buffer leak, which ends the agent" };

MemberImpact worse( MemberImpact a, MemberImpact b ) { return b.impact > a.impact ? b : a; }

// Where a change happens: of the ports, one; of its groups, one.
class Place {
  public:
    Place( const MemberChange & change, const WayTaken & way ) : change_( change ), way_( way ) {}

    bool added() const { return change_.before.is_null(); }
    bool removed() const { return change_.after.is_null(); }
    const MemberChange & change() const { return change_; }
    const WayTaken & way() const { return way_; }

    const std::string & portName() const { return change_.path[1]; }
    const PortSettings * portBefore() const { return port( way_.before ); }
    const PortSettings * portAfter() const { return port( way_.after ); }
    bool isInternal() const {
        return portName() == cpuPortName || portName() == reservedCpuPortName;
    }

    U8 group() const {
        U8 id = 0;
        const std::string & name = change_.path[4];
        std::from_chars( name.data(), name.data() + name.size(), id );
        return id;
    }
    bool holdsBefore( U8 id ) const {
        return portBefore() && way_.groupsBefore.contains( { portBefore()->portIndex, id } );
    }
    bool holdsAfter( U8 id ) const {
        return portAfter() && way_.groupsAfter.contains( { portAfter()->portIndex, id } );
    }

  private:
    const PortSettings * port( const SwitchDocument & document ) const {
        const auto found = document.ports.find( portName() );
        return found == document.ports.end() ? nullptr : &found->second;
    }

    const MemberChange & change_;
    const WayTaken & way_;
};

template <Impact impact>
MemberImpact always( const Place & ) {
    return { impact, {} };
}

// Ports with PFC are given the map once for each class that changes, unless one is unmapped then.
MemberImpact classMap( const Place & place ) {
    const SwitchDocument & before = place.way().before;
    const SwitchDocument & after = place.way().after;
    const bool pfc = std::ranges::any_of( before.ports, []( const auto & entry ) {
        return entry.second.qos && entry.second.qos->flowControlType == FlowControl::pfc;
    } );
    auto map = before.cosToTc;
    bool written = false;
    for ( std::size_t cos = 0; cos < map.size(); ++cos ) {
        if ( map[cos] != after.cosToTc[cos] ) {
            map[cos] = after.cosToTc[cos];
            written |= std::ranges::count( map, unmappedTc ) == 0;
        }
    }
    return { pfc && written ? Impact::reclassifies : Impact::none, {} };
}

MemberImpact addedGroup( const Place & place, U8 id, const PpgSettings & group ) {
    if ( !place.holdsAfter( id ) ) {
        return waits;
    }
    const bool moves = id != lossyGroup && group.internalCosBmp != 0;
    return { moves ? Impact::reclassifies : Impact::settings, {} };
}

MemberImpact addedQos( const Place & place ) {
    const QosSettings & qos = *place.portAfter()->qos;
    const bool moves = qos.flowControlType != FlowControl::none || !qos.txQueues.empty();
    MemberImpact result{ moves ? Impact::reclassifies : Impact::settings, {} };
    for ( const auto & [id, group] : qos.ppgs ) {
        result = worse( result, addedGroup( place, id, group ) );
    }
    return result;
}

// The queues keep their settings.
MemberImpact removedQos( const Place & place ) {
    const auto holds = [&]( const auto & entry ) { return place.holdsBefore( entry.first ); };
    return std::ranges::any_of( place.portBefore()->qos->ppgs, holds ) ? releases : MemberImpact{};
}

MemberImpact qos( const Place & place ) {
    return place.removed() ? removedQos( place ) : addedQos( place );
}

// An internal port is given its queue map.
MemberImpact port( const Place & place ) {
    const auto * which = place.removed() ? place.portBefore() : place.portAfter();
    const MemberImpact own{ place.isInternal() ? Impact::reclassifies : Impact::none, {} };
    return which->qos ? worse( own, qos( place ) ) : own;
}

MemberImpact portIndex( const Place & place ) {
    return { place.isInternal() ? Impact::reclassifies : Impact::none, {} };
}

// The shaper of the port is applied again.
MemberImpact enabled( const Place & place ) {
    const bool applies = !place.removed() && place.portBefore()->qos;
    return { applies ? Impact::settings : Impact::none, {} };
}

MemberImpact group( const Place & place ) {
    const U8 id = place.group();
    if ( place.removed() ) {
        return place.holdsBefore( id ) ? releases : MemberImpact{};
    }
    return addedGroup( place, id, place.portAfter()->qos->ppgs.at( id ) );
}

// A group that waits for one of the chip takes its settings when it comes.
template <Impact impact>
MemberImpact ofGroup( const Place & place ) {
    return { place.holdsBefore( place.group() ) ? impact : Impact::none, {} };
}
// The lossy group takes all classes that no other group has, and is never paused.
template <Impact impact>
MemberImpact ofLosslessGroup( const Place & place ) {
    return place.group() == lossyGroup ? MemberImpact{} : ofGroup<impact>( place );
}

// The chip keeps the factor that it has.
bool givesNoFactor( const Place & place ) { return place.change().after == noFactor; }
MemberImpact groupFactor( const Place & place ) {
    return givesNoFactor( place ) ? MemberImpact{} : ofGroup<Impact::settings>( place );
}
MemberImpact queueFactor( const Place & place ) {
    return { givesNoFactor( place ) ? Impact::none : Impact::settings, {} };
}

// What is removed stays in the chip.
MemberImpact queue( const Place & place ) {
    return { place.removed() ? Impact::none : Impact::reclassifies, {} };
}
MemberImpact wredEntry( const Place & place ) {
    return { place.removed() ? Impact::none : Impact::settings, {} };
}
MemberImpact wredPipe( const Place & place ) {
    return { place.removed() || place.change().after.empty() ? Impact::none : Impact::settings,
             {} };
}

MemberImpact leak( const Place & place ) { return place.way().leak ? leaks : MemberImpact{}; }

struct Row {
    std::string_view pattern; // names; * is any one, ** is any number of them
    MemberImpact ( *impact )( const Place & );
};

// The first that fits counts.
constexpr Row rows[] = {
    { "bufferParams/totalCellsAvailableForIngress", always<Impact::settings> },
    { "bufferParams/**", leak },
    { "cosToTc", classMap },
    { "ports/*", port },
    { "ports/*/portIndex", portIndex },
    { "ports/*/enabled", enabled },
    { "ports/*/qos", qos },
    { "ports/*/qos/flowControlType", always<Impact::reclassifies> },
    { "ports/*/qos/shapeRate/**", always<Impact::settings> },
    { "ports/*/qos/ppgs/*", group },
    { "ports/*/qos/ppgs/*/internalCosBmp", ofLosslessGroup<Impact::reclassifies> },
    { "ports/*/qos/ppgs/*/pfcEnabled", ofLosslessGroup<Impact::reclassifies> },
    { "ports/*/qos/ppgs/*/dynamicThreshold", groupFactor },
    { "ports/*/qos/ppgs/*/*", ofGroup<Impact::settings> },
    { "ports/*/qos/txQueues/*", queue },
    { "ports/*/qos/txQueues/*/pfcCos", always<Impact::reclassifies> },
    { "ports/*/qos/txQueues/*/priority", always<Impact::reclassifies> },
    { "ports/*/qos/txQueues/*/dynamicThreshold", queueFactor },
    { "ports/*/qos/txQueues/*/**", always<Impact::settings> },
    { "wred/*", wredPipe },
    { "wred/*/*", wredEntry },
    { "wred/*/*/*", always<Impact::settings> },
    { "counters/*", leak },
    { "counters/*/block/**", leak },
};

bool fits( std::string_view pattern, std::span<const std::string> path ) {
    while ( !pattern.empty() ) {
        const std::size_t end = std::min( pattern.find( '/' ), pattern.size() );
        const std::string_view name = pattern.substr( 0, end );
        if ( name == "**" ) {
            return true;
        }
        if ( path.empty() || ( name != "*" && name != path.front() ) ) {
            return false;
        }
        path = path.subspan( 1 );
        pattern.remove_prefix( std::min( end + 1, pattern.size() ) );
    }
    return path.empty();
}

} // namespace

std::string_view word( Impact impact ) { return words[static_cast<std::size_t>( impact )].word; }
std::string_view meaning( Impact impact ) {
    return words[static_cast<std::size_t>( impact )].meaning;
}

MemberImpact impactOf( const MemberChange & change, const WayTaken & way ) {
    const auto * row = std::ranges::find_if(
        rows, [&]( const Row & each ) { return fits( each.pattern, change.path ); } );
    return row == std::end( rows ) ? MemberImpact{} : row->impact( Place( change, way ) );
}

} // namespace KelHost
