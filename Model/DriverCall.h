#pragma once

#include "Model/Arguments.h"
#include "Model/CallLine.h"
#include "Model/Chip.h"
#include "Model/Operation.h"
#include "Platform/Driver/DriverStatus.h"
#include "Platform/Framework/Types.h"

#include <type_traits>

namespace KelModel {

// Of several refusals, that of an invalid argument wins: the chip looks for an object only when it
// knows where.
template <class... Args>
S32 refusalOf( const Chip & chip, const Args &... args ) {
    S32 status = KelDriver::statusSuccess;
    const auto take = [&]( S32 refused ) {
        if ( status != KelDriver::statusInvalidArguments && refused != 0 ) {
            status = refused;
        }
    };
    ( take( refusal( chip, args ) ), ... );
    return status;
}

template <class... Args>
void logCall( const Chip & chip, Operation operation, S32 status, const Args &... args ) {
    CallLine line;
    line.add( "call " );
    line.add( operation.name() );
    ( line.addArgument( args ), ... );
    line.add( ") = " );
    line.add( status );
    if ( status == KelDriver::statusSuccess ) {
        ( line.addResult( args ), ... );
    }
    chip.logSink()( line.view() );
}

// The one way in which the model answers a driver call, whatever its name: a planned failure, or a
// refused argument, or the effect on the chip's state; then the log. `effect( ChipState & )`
// returns nothing, or a status if it can fail by itself; when it fails, it must not have changed
// anything.
template <class Effect, class... Args>
S32 driverCall( Chip & chip, Operation operation, const Effect & effect, const Args &... args ) {
    S32 status = chip.faults().answer( operation );
    if ( status == KelDriver::statusSuccess ) {
        status = refusalOf( chip, args... );
    }
    if ( status == KelDriver::statusSuccess ) {
        if constexpr ( std::is_void_v<std::invoke_result_t<Effect, ChipState &>> ) {
            effect( chip.state() );
        } else {
            status = effect( chip.state() );
        }
    }
    if ( chip.logSink() ) {
        logCall( chip, operation, status, args... );
    }
    return status;
}

// The device number among the arguments of a call.
template <class First, class... Others>
U32 deviceOf( const First & first, const Others &... others ) {
    if constexpr ( std::is_same_v<First, DeviceArg> ) {
        return first.value;
    } else {
        return deviceOf( others... );
    }
}

// A call through one of the driver's C functions.
template <class Effect, class... Args>
S32 tmCall( Operation operation, const Effect & effect, const Args &... args ) {
    return driverCall( Chip::of( deviceOf( args... ) ), operation, effect, args... );
}

} // namespace KelModel
