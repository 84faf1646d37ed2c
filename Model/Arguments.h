#pragma once

#include "Model/Chip.h"
#include "Platform/Driver/DriverStatus.h"
#include "Platform/Framework/Types.h"

#include <algorithm>
#include <cstddef>
#include <span>

// The arguments of driver calls, by kind: refusal() says what the chip refuses of each. Plain
// numbers are never refused.
namespace KelModel {

struct DeviceArg {
    U32 value;
};

struct PortArg {
    U32 value;
};

struct PpgArg {
    S32 value;
};

template <U32 count>
struct NumberArg {
    U32 value; // below count
};
using QueueArg = NumberArg<queuesPerPort>;
using ClassArg = NumberArg<classCount>;
using PriorityArg = NumberArg<8>;
using FactorArg = NumberArg<10>;
using PoolArg = NumberArg<poolCount>;

// A list of numbers below a count, as bytes.
template <U32 count>
struct ListArg {
    std::span<const U8> values;
};
using QueueListArg = ListArg<queuesPerPort>;
using ClassListArg = ListArg<classCount>;

struct WredSpecArg {
    const p4_pd_red_spec & spec;
};

// Where a successful call stores what it hands out.
template <class T>
struct OutArg {
    T * value;
};

// The status with which the chip refuses an argument, or 0.
constexpr S32 validOr3( bool valid ) {
    return valid ? KelDriver::statusSuccess : KelDriver::statusInvalidArguments;
}
inline S32 refusal( const Chip & chip, DeviceArg arg ) {
    return validOr3( arg.value == chip.deviceId() );
}
inline S32 refusal( const Chip &, PortArg arg ) {
    return validOr3( ChipState::hasPort( arg.value ) );
}
inline S32 refusal( const Chip & chip, PpgArg arg ) {
    return chip.state().hasPpg( arg.value ) ? KelDriver::statusSuccess
                                            : KelDriver::statusObjectNotFound;
}
template <U32 count>
S32 refusal( const Chip &, NumberArg<count> arg ) {
    return validOr3( arg.value < count );
}
template <U32 count>
S32 refusal( const Chip &, ListArg<count> arg ) {
    return validOr3( std::ranges::all_of( arg.values, []( U8 value ) { return value < count; } ) );
}
template <class Plain>
S32 refusal( const Chip &, const Plain & ) {
    return KelDriver::statusSuccess;
}

} // namespace KelModel
