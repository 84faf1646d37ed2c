#pragma once

#include "Platform/Entities/Identifier.h"
#include "Platform/Framework/Exceptions.h"

namespace KelPortTypes {

// A port of the chip: its device port number, pipe x 128 + local port. Made from a number above
// 456, it throws Kel::RangeException.
class PortIndex : public Kel::Identifier<PortIndex, U16> {
  public:
    static constexpr U16 min = 0;
    static constexpr U16 invalid = 456; // stands for "no port" when a look-up fails

    constexpr PortIndex() : Identifier( invalid ) {}
    constexpr explicit PortIndex( U32 value ) : Identifier( checked( value ) ) {}

    constexpr U16 pipe() const { return static_cast<U16>( value() >> 7U ); }
    // The port number within its pipe, 0 to 127.
    constexpr U8 localPort() const { return static_cast<U8>( value() & 0x7FU ); }

  private:
    static constexpr U16 checked( U32 value ) {
        if ( value > invalid ) {
            throw Kel::RangeException(
                "PortIndex::value < PortIndex::min or > PortIndex::invalid not allowed" );
        }
        return static_cast<U16>( value );
    }
};

} // namespace KelPortTypes
