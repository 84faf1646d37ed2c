#pragma once

#include "Platform/Framework/Record.h"
#include "Platform/Framework/Types.h"

namespace KelQos {

// The flow control mode of a port, as configured and as published for the sibling component.
enum FlowControlType : U32 {
    flowControlTypeNone = 0,
    flowControlTypeLinkPause = 1,
    flowControlTypePfc = 2,
};
// The member's name; "unknown" for a number without one.
const char * stringValue( FlowControlType type );

// The burst absorption factor of a priority group or queue: 0 to 9 are the driver's factors of a
// dynamic threshold, which the chip turns into a share of what is left in a shared pool.
enum BurstAbsorptionCoeff : U32 {
    baf0,
    baf1,
    baf2,
    baf3,
    baf4,
    baf5,
    baf6,
    baf7,
    baf8,
    baf9,
    bafInvalid = 10, // no factor was given
};
const char * stringValue( BurstAbsorptionCoeff factor );

// Values that are compiled in. A cell of the packet buffer is 80 bytes.
struct TmConfigConstants {
    // Cells that one jumbo packet takes.
    static constexpr U32 tofinoJumboPktCells() { return 116; }
    // Cells of egress application pool 3, kept for multicast.
    static constexpr U32 multicastReservedPoolCellCount() { return 12288; }
    // Marks a minLimitCells attribute that nobody set.
    static constexpr U32 minLimitCellsInvalid() { return 0xFFFFFFFF; }
};

// Rates with a special meaning; only these exact values have it.
inline constexpr U32 shapeRateUnlimited = 600000001;        // no shaping
inline constexpr U32 shapeRateUnlimitedInternal = 10000002; // no shaping on internal interfaces

// A port's shaper.
class ShapeRate {
  public:
    constexpr ShapeRate() = default;
    constexpr ShapeRate( U32 accountingMode, U32 shapeRateVal, U32 shapeRateBurst )
        : accountingMode_( accountingMode ),
          shapeRateVal_( shapeRateVal ),
          shapeRateBurst_( shapeRateBurst ) {}

    // 0: packets per second, else kilobits per second.
    constexpr U32 accountingMode() const { return accountingMode_; }
    // In the unit of the accounting mode; shapeRateUnlimited means no shaping.
    constexpr U32 shapeRateVal() const { return shapeRateVal_; }
    // In the driver's burst unit of the accounting mode.
    constexpr U32 shapeRateBurst() const { return shapeRateBurst_; }

    std::size_t hash() const { return Kel::recordHash( *this ); }
    friend constexpr bool operator==( const ShapeRate &, const ShapeRate & ) = default;
    friend std::string valueToStrep( const ShapeRate & rate ) { return Kel::recordToStrep( rate ); }
    static constexpr auto record() {
        return std::tuple( "KelQos::ShapeRate",
                           Kel::Field{ "accountingMode", &ShapeRate::accountingMode_ },
                           Kel::Field{ "shapeRateVal", &ShapeRate::shapeRateVal_ },
                           Kel::Field{ "shapeRateBurst", &ShapeRate::shapeRateBurst_ } );
    }

  private:
    U32 accountingMode_ = 1;
    U32 shapeRateVal_ = shapeRateUnlimited;
    U32 shapeRateBurst_ = 0;
};

// A queue's maximum (shaping) rate and guaranteed (minimum) rate. Rates and bursts are in the
// driver's units of their accounting mode and are passed through unchanged.
class RateParams {
  public:
    constexpr RateParams() = default;
    constexpr RateParams( const ShapeRate & shapeRate, bool accountingModeGBwPps,
                          U32 guaranteedBwRate, U32 guaranteedBwRateBurst )
        : shapeRateAccountingMode_( shapeRate.accountingMode() ),
          shapeRateVal_( shapeRate.shapeRateVal() ),
          shapeRateBurst_( shapeRate.shapeRateBurst() ),
          accountingModeGBwPps_( accountingModeGBwPps ),
          guaranteedBwRate_( guaranteedBwRate ),
          guaranteedBwRateBurst_( guaranteedBwRateBurst ) {}

    // 0: packets per second, else kilobits per second.
    constexpr U32 shapeRateAccountingMode() const { return shapeRateAccountingMode_; }
    // shapeRateUnlimited means no shaping, shapeRateUnlimitedInternal none on internal interfaces.
    constexpr U32 shapeRateVal() const { return shapeRateVal_; }
    constexpr U32 shapeRateBurst() const { return shapeRateBurst_; }
    // True: the guaranteed rate is counted in packets per second, else in kilobits per second.
    constexpr bool accountingModeGBwPps() const { return accountingModeGBwPps_; }
    // 0 means no guaranteed rate.
    constexpr U32 guaranteedBwRate() const { return guaranteedBwRate_; }
    constexpr U32 guaranteedBwRateBurst() const { return guaranteedBwRateBurst_; }

    std::size_t hash() const { return Kel::recordHash( *this ); }
    friend constexpr bool operator==( const RateParams &, const RateParams & ) = default;
    friend std::string valueToStrep( const RateParams & params ) {
        return Kel::recordToStrep( params );
    }
    static constexpr auto record() {
        return std::tuple(
            "KelQos::RateParams",
            Kel::Field{ "shapeRateAccountingMode", &RateParams::shapeRateAccountingMode_ },
            Kel::Field{ "shapeRateVal", &RateParams::shapeRateVal_ },
            Kel::Field{ "shapeRateBurst", &RateParams::shapeRateBurst_ },
            Kel::Field{ "accountingModeGBwPps", &RateParams::accountingModeGBwPps_ },
            Kel::Field{ "guaranteedBwRate", &RateParams::guaranteedBwRate_ },
            Kel::Field{ "guaranteedBwRateBurst", &RateParams::guaranteedBwRateBurst_ } );
    }

  private:
    U32 shapeRateAccountingMode_ = ShapeRate().accountingMode();
    U32 shapeRateVal_ = ShapeRate().shapeRateVal();
    U32 shapeRateBurst_ = ShapeRate().shapeRateBurst();
    bool accountingModeGBwPps_ = false;
    U32 guaranteedBwRate_ = 0;
    U32 guaranteedBwRateBurst_ = 0;
};

} // namespace KelQos
