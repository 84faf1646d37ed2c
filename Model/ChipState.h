#pragma once

#include "Platform/Driver/PdIntf.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

namespace KelModel {

constexpr U32 pipeCount = 4;
constexpr U32 portsPerPipe = 73; // the last one, local port 72, is the mirror port
constexpr U32 pipePortShift = 7; // a port number is pipe x 128 + local port
constexpr U32 queuesPerPort = 32;
constexpr U32 classCount = 8;
constexpr U32 poolCount = 8;
constexpr U32 ppgsPerPipe = 128; // that can be allocated; the ports' default groups come on top

// A user's setting for one pool; the hysteresis is in cells.
struct PoolUsage {
    bool enabled = false;
    U32 factor = 0;
    U32 hysteresis = 0;
    bool operator==( const PoolUsage & ) const = default;
};

// Burst and rate in packets and packets per second (pps), or in kilobits and kbps.
struct Shaper {
    bool enabled = false;
    bool pps = false;
    U32 burst = 0;
    U32 rate = 0;

    // Switching a shaper on or off leaves its rate alone, and vice versa.
    void rateIs( bool inPps, U32 newBurst, U32 newRate ) {
        pps = inPps;
        burst = newBurst;
        rate = newRate;
    }
    bool operator==( const Shaper & ) const = default;
};

struct Pool {
    U32 sizeCells = 0;
    std::array<U32, classCount> pfcLimitCells{};
    std::map<U32, U32> colorDropLimitCells; // by colour; only those that were set
};

struct Queue {
    U32 pfcCos = 0;
    U32 minLimitCells = 0;
    bool colorDrop = false;
    U32 priority = 0;
    U32 remainingBwPriority = 0;
    U32 weight = 0;
    Shaper maxRate;
    Shaper guaranteedRate;
    std::array<PoolUsage, poolCount> poolUsage{};
    bool operator==( const Queue & ) const = default;
};

struct Port {
    U32 flowControlMode = 0; // 0 none, 1 PFC, 2 link-level pause: what it sends
    U32 flowControlRx = 0;   // likewise: what it obeys
    std::array<U8, classCount> pfcCosToIcos{};
    U32 queueCount = 0;
    std::array<U8, queuesPerPort> queueMap{}; // by ingress queue selector
    Shaper shaper;
    std::array<Queue, queuesPerPort> queues{};
};

struct Ppg {
    U32 portId = 0;
    U32 minLimitCells = 0;
    U8 icosBitmap = 0; // bit i: internal class i is mapped here
    bool lossless = false;
    U32 skidLimitCells = 0;
    std::array<PoolUsage, poolCount> poolUsage{};
    bool operator==( const Ppg & ) const = default;
};

// What the driver's operations have set: all that tests can read back from a modelled chip.
//
// A group's handle is pipe x 256 + index: 0 to 127 are allocated, 128 + local port is the default
// group of a port. The lowest free index is handed out first, with nothing left of its previous
// use.
class ChipState {
  public:
    ChipState();

    static bool hasPort( U32 portId );

    // The port must exist (hasPort).
    Port & port( U32 portId ) { return ports_[portIndex( portId )]; }
    const Port & port( U32 portId ) const { return ports_[portIndex( portId )]; }
    static S32 defaultPpg( U32 portId );

    // The handle of a group that was free and now belongs to the port; nothing if all groups of the
    // port's pipe are taken.
    std::optional<S32> ppgAllocate( U32 portId );
    // Frees an allocated group; a default group stays as it is.
    void ppgFree( S32 handle );

    // The group of a handle, or null when it is neither allocated nor a default group.
    Ppg * ppg( S32 handle ) { return hasPpg( handle ) ? &ppgs_[ppgIndex( handle )] : nullptr; }
    const Ppg * ppg( S32 handle ) const {
        return hasPpg( handle ) ? &ppgs_[ppgIndex( handle )] : nullptr;
    }
    bool hasPpg( S32 handle ) const;
    U32 ppgsAllocated( U32 pipe ) const;

    bool utModeAsModel = false;
    U32 skidPoolCells = 0;
    std::array<Pool, poolCount> pools;
    // By pipe, resource handle and entry index.
    std::map<std::tuple<U16, U32, U32>, p4_pd_red_spec> wredEntries;
    // Value and argument, by table handle and property.
    std::map<std::pair<U32, U32>, std::pair<U32, U32>> tableProperties;

  private:
    static constexpr U32 ppgsWithDefaults = ppgsPerPipe + portsPerPipe;

    static std::size_t portIndex( U32 portId );
    static std::size_t ppgIndex( S32 handle );

    std::vector<Port> ports_;                           // by pipe, then local port
    std::vector<Ppg> ppgs_;                             // by pipe, then index
    std::array<std::array<U64, 2>, pipeCount> taken_{}; // one bit for each group to allocate
};

} // namespace KelModel
