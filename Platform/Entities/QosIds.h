#pragma once

#include "Platform/Entities/Identifier.h"
#include "Platform/Framework/Exceptions.h"

namespace KelQos {

// A priority group of a port.
class PpgId : public Kel::Identifier<PpgId, U8> {
  public:
    constexpr PpgId() : Identifier( 0 ) {}
    constexpr explicit PpgId( U8 value ) : Identifier( value ) {}

    // The port's lossy (default) group. It has the port's default group in the chip, maps no
    // classes of its own there and is never given PFC treatment.
    static constexpr PpgId lossyPpgId() { return PpgId( 8 ); }
};

// A transmit queue of a port: 0 to 7, on the CPU port up to 13.
class TxQueueId : public Kel::Identifier<TxQueueId, U8> {
  public:
    constexpr TxQueueId() : Identifier( 0 ) {}
    constexpr explicit TxQueueId( U8 value ) : Identifier( value ) {}

    // The driver takes queue numbers as they are.
    constexpr operator U32() const { return value(); }
};

// A class of service, 0 to 7. Made from a larger number, it throws Kel::RangeException.
class Cos : public Kel::Identifier<Cos, U8> {
  public:
    static constexpr U8 min = 0;
    static constexpr U8 max = 7;
    static constexpr U8 count = 8;

    constexpr Cos() : Identifier( 0 ) {}
    constexpr explicit Cos( U32 value ) : Identifier( checked( value ) ) {}

  private:
    static constexpr U8 checked( U32 value ) {
        if ( value > max ) {
            throw Kel::RangeException( "Cos::value < Cos::min or > Cos::max not allowed" );
        }
        return static_cast<U8>( value );
    }
};

// A traffic class is a plain number from 0 to 7; this one stands for a class of service that no
// traffic class is mapped to.
inline constexpr U8 trafficClassUnmapped = 8;

} // namespace KelQos
