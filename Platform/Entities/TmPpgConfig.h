#pragma once

#include "Platform/Entities/QosIds.h"
#include "Platform/Entities/QosTypes.h"
#include "Platform/Framework/Entity.h"

namespace KelQos {

// Configuration of one priority group of a port: the classes that share a guaranteed minimum, a PFC
// skid and a dynamic share of the ingress pool.
class TmPpgConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId {
        internalCosBmpAttr = 1,
        pfcEnabledAttr,
        minLimitCellsAttr,
        dynamicThresholdAttr,
    };

    explicit TmPpgConfig( PpgId ppgId ) : ppgId_( ppgId ) {}

    PpgId ppgId() const { return ppgId_; }

    // Internal classes of service mapped to the group, bit i for class i.
    U8 internalCosBmp() const { return internalCosBmp_; }
    void internalCosBmpIs( U8 bitmap ) {
        attributeIs( internalCosBmp_, bitmap, internalCosBmpAttr );
    }
    // Whether the group is lossless.
    bool pfcEnabled() const { return pfcEnabled_; }
    void pfcEnabledIs( bool enabled ) { attributeIs( pfcEnabled_, enabled, pfcEnabledAttr ); }
    // Guaranteed minimum in cells; must not be TmConfigConstants::minLimitCellsInvalid() when a
    // state machine programs it.
    U32 minLimitCells() const { return minLimitCells_; }
    void minLimitCellsIs( U32 cells ) { attributeIs( minLimitCells_, cells, minLimitCellsAttr ); }
    // Factor of the group's share of the ingress pool.
    BurstAbsorptionCoeff dynamicThreshold() const { return dynamicThreshold_; }
    void dynamicThresholdIs( BurstAbsorptionCoeff factor ) {
        attributeIs( dynamicThreshold_, factor, dynamicThresholdAttr );
    }

  private:
    PpgId ppgId_;
    U8 internalCosBmp_ = 0;
    bool pfcEnabled_ = false;
    U32 minLimitCells_ = 0;
    BurstAbsorptionCoeff dynamicThreshold_ = bafInvalid;
};

} // namespace KelQos
