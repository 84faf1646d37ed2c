#pragma once

#include "Platform/Entities/Identifier.h"
#include "Platform/Framework/Exceptions.h"

namespace KelId {

// A traffic-manager device, 0 to 7. Made from a number above 8, it throws Kel::RangeException.
class KelDevId : public Kel::Identifier<KelDevId, U8> {
  public:
    static constexpr U8 min = 0;
    static constexpr U8 invalid = 8;

    constexpr KelDevId() : Identifier( invalid ) {}
    constexpr explicit KelDevId( U32 value ) : Identifier( checked( value ) ) {}

  private:
    static constexpr U8 checked( U32 value ) {
        if ( value > invalid ) {
            throw Kel::RangeException(
                "KelDevId::value < KelDevId::min or > KelDevId::invalid not allowed" );
        }
        return static_cast<U8>( value );
    }
};

// A pipe of a device, 0 to the chip's maxPipeId.
class KelPipeId : public Kel::Identifier<KelPipeId, U16> {
  public:
    constexpr KelPipeId() : Identifier( 0 ) {}
    constexpr explicit KelPipeId( U16 value ) : Identifier( value ) {}
};

} // namespace KelId

namespace KelDriver {

// A device and one of its pipes: what an entry of a per-pipe table is written to.
class KelDevTgt {
  public:
    constexpr KelDevTgt() = default;
    constexpr KelDevTgt( KelId::KelDevId devId, KelId::KelPipeId pipeId )
        : devId_( devId ), pipeId_( pipeId ) {}

    constexpr KelId::KelDevId devId() const { return devId_; }
    constexpr KelId::KelPipeId pipeId() const { return pipeId_; }

    constexpr std::size_t hash() const {
        return static_cast<std::size_t>( devId_.value() ) << 16U | pipeId_.value();
    }
    friend constexpr bool operator==( const KelDevTgt &, const KelDevTgt & ) = default;
    friend constexpr auto operator<=>( const KelDevTgt &, const KelDevTgt & ) = default;
    // "D" device " P" pipe.
    friend std::string valueToStrep( const KelDevTgt & devTgt ) {
        return "D" + valueToStrep( devTgt.devId() ) + " P" + valueToStrep( devTgt.pipeId() );
    }

  private:
    KelId::KelDevId devId_;
    KelId::KelPipeId pipeId_;
};

} // namespace KelDriver
