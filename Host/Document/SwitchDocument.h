#pragma once

#include "Platform/Framework/Types.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

// What a switch document says, decoded: plain values with the defaults filled in, valid by
// construction when they come out of decodeSwitchDocument(). Maps iterate in the order in which
// the differences between two documents are applied: names by bytes, numbers ascending.
namespace KelHost {

struct DeviceSettings {
    U8 id = 0;               // 0 to 7
    U16 maxPipeId = 3;       // highest pipe, inclusive, 0 to 3
    U32 totalCells = 278528; // buffer cells of the modelled chip
    bool operator==( const DeviceSettings & ) const = default;
};

struct BufferParams {
    U32 totalCellsAvailableForIngress = 0; // cells
    U32 leakThreshold = 4294967295;        // packets
    F64 leakPollInterval = 1.0;            // seconds, 0.001 to 86400
    bool operator==( const BufferParams & ) const = default;
};

// A rate and its burst in the driver's units.
struct Rate {
    // This rate means that nothing is shaped.
    static constexpr U32 noShaping = 600000001;

    bool packetsPerSecond = false; // else kilobits per second
    U32 rate = 0;
    U32 burst = 0;
    bool operator==( const Rate & ) const = default;
};

inline constexpr Rate unshaped{ .packetsPerSecond = false, .rate = Rate::noShaping, .burst = 0 };

// What is written as a word is the position of that word.
enum class FlowControl : U8 { none = 0, linkPause = 1, pfc = 2 };
enum class IntfEnabled : U32 { unknown = 0, enabled = 1, disabled = 2 };
enum class QueuePriority : U8 { strict = 0, roundRobin = 1 };
inline constexpr std::string_view flowControlWords[] = { "none", "linkPause", "pfc" };
inline constexpr std::string_view enabledWords[] = { "unknown", "enabled", "disabled" };
inline constexpr std::string_view priorityWords[] = { "strict", "roundRobin" };
inline constexpr std::string_view unitWords[] = { "kbps", "pps" };

// The burst-absorption factor that stands for "none given".
inline constexpr U32 noFactor = 10;

struct PpgSettings {
    U8 internalCosBmp = 0; // bit i: internal class of service i
    bool pfcEnabled = false;
    U32 minLimitCells = 0;           // cells, never 4294967295
    U32 dynamicThreshold = noFactor; // 0 to 9, or noFactor
    bool operator==( const PpgSettings & ) const = default;
};

struct TxQueueSettings {
    S8 pfcCos = -1;                  // -1: none
    U32 minLimitCells = 0;           // cells, never 4294967295
    U32 dynamicThreshold = noFactor; // 0 to 9, or noFactor
    QueuePriority priority = QueuePriority::strict;
    U16 weight = 1;
    Rate shapeRate = unshaped;
    Rate guaranteedRate = {}; // rate 0: no guarantee
    bool operator==( const TxQueueSettings & ) const = default;
};

struct QosSettings {
    FlowControl flowControlType = FlowControl::none;
    Rate shapeRate = unshaped;
    std::map<U8, PpgSettings> ppgs;         // group 0 to 8
    std::map<U8, TxQueueSettings> txQueues; // queue 0 to 7, 0 to 13 on Internal67
    bool operator==( const QosSettings & ) const = default;
};

struct PortSettings {
    U16 portIndex = 0;                  // pipe x 128 + local port
    std::optional<IntfEnabled> enabled; // absent: the interface has no status entity
    std::optional<QosSettings> qos;     // absent: the port has no traffic-manager configuration
    bool operator==( const PortSettings & ) const = default;
};

struct WredEntry {
    U32 minThdCells = 0;        // cells
    U32 maxThdCells = 0;        // cells
    F32 maxDropProbability = 0; // 0 to 1
    F32 timeConstantNs = 0;     // nanoseconds
    bool operator==( const WredEntry & ) const = default;
};

struct PpgCounters {
    U64 minUsage = 0;    // cells
    U64 sharedUsage = 0; // cells
    U64 skidUsage = 0;   // cells
    U64 dropCounter = 0; // packets
    bool operator==( const PpgCounters & ) const = default;
};

struct BlockCounter {
    std::string name;
    U32 type = 0; // 1: a gauge
    U64 value = 0;
    bool operator==( const BlockCounter & ) const = default;
};

struct PipeCounters {
    std::map<U8, PpgCounters> ppg; // by the low byte of the group's handle
    std::map<U16, U64> queue;      // cells by pipe port index x 8 + queue number
    // Absent: the pipe's block-level counters were never fetched.
    std::optional<std::map<U32, BlockCounter>> block;
    bool operator==( const PipeCounters & ) const = default;
};

using CounterStore = std::map<U16, PipeCounters>; // by pipe

// The two internal ports of the chip; neither can be removed once it is there.
inline constexpr std::string_view cpuPortName = "Internal67";
inline constexpr std::string_view reservedCpuPortName = "Internal68";

inline constexpr U8 unmappedTc = 8;

struct SwitchDocument {
    DeviceSettings device;
    std::optional<BufferParams> bufferParams; // absent: there is no such entity
    std::array<U8, 8> cosToTc = { unmappedTc, unmappedTc, unmappedTc, unmappedTc,
                                  unmappedTc, unmappedTc, unmappedTc, unmappedTc };
    std::map<std::string, PortSettings, std::less<>> ports; // by interface name
    std::map<U16, std::map<U16, WredEntry>> wred;           // by pipe, then resource index
    CounterStore counters;
    CounterStore countersLastClear;
    bool operator==( const SwitchDocument & ) const = default;
};

} // namespace KelHost
