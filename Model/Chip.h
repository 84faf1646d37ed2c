#pragma once

#include "Model/ChipState.h"
#include "Model/Faults.h"
#include "Platform/Framework/Types.h"

#include <functional>
#include <string_view>
#include <utility>

namespace KelModel {

// What the pipe manager of the modelled chip hands out.
constexpr U32 pipeManagerSession = 1;
constexpr U32 wredQueueSelectTableHandle = 101;
constexpr U32 wredBlockResourceHandle = 201;

// A software traffic manager: one modelled chip with its state, its planned failures and the log of
// the driver calls that it answered.
//
// The driver's C functions act on the current chip of the process, or on another that was put
// beside it under the device number that the call names. Calling one while there is no current chip
// is a broken invariant and aborts. A chip that is destroyed leaves its place. For one thread.
class Chip {
  public:
    // One finished driver call, without a line end:
    //     call NAME(ARG, ARG) = STATUS
    // and " -> VALUE" where a successful call hands out a value. The text is valid for the duration
    // of the call. Out-arguments are left out, lists are [a, b], true and false are 1 and 0, floats
    // have the shortest form that reads back the same.
    using LogSink = std::function<void( std::string_view line )>;

    // `deviceId` is the only device number that calls may name; `totalCells` is the buffer size
    // that the driver reports, in cells.
    explicit Chip( U32 deviceId = 0, U32 totalCells = 278528 );
    ~Chip();
    Chip( const Chip & ) = delete;
    Chip & operator=( const Chip & ) = delete;

    // The chip behind the C functions, alone; null takes all away.
    static void currentIs( Chip * chip );
    // One more chip, for calls that name its device number.
    static void besideIs( Chip & chip );
    // The chip that answers calls which name this device number.
    static Chip & of( U32 deviceId );

    U32 deviceId() const { return deviceId_; }
    U32 totalCells() const { return totalCells_; }

    ChipState & state() { return state_; }
    const ChipState & state() const { return state_; }
    Faults & faults() { return faults_; }

    // Called for every driver call, including refused ones, after it has taken effect. Without a
    // sink (the default) no line is made.
    void logSinkIs( LogSink sink ) { logSink_ = std::move( sink ); }
    const LogSink & logSink() const { return logSink_; }

  private:
    U32 deviceId_;
    U32 totalCells_;
    ChipState state_;
    Faults faults_;
    LogSink logSink_;
};

} // namespace KelModel
