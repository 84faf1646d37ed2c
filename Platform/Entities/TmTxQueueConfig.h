#pragma once

#include "Platform/Entities/QosIds.h"
#include "Platform/Entities/QosTypes.h"
#include "Platform/Framework/Entity.h"

namespace KelQos {

// Configuration of one transmit queue of a port.
class TmTxQueueConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId {
        txQueueIdAttr = 1,
        pfcCosAttr,
        minLimitCellsAttr,
        dynamicThresholdAttr,
        priorityAttr,
        weightAttr,
        rateParamsAttr,
    };

    explicit TmTxQueueConfig( TxQueueId txQueueId ) : txQueueId_( txQueueId ) {}

    TxQueueId txQueueId() const { return txQueueId_; }

    // Class of service whose PFC frames pause the queue, 0 to 7; negative when none is configured.
    S8 pfcCos() const { return pfcCos_; }
    void pfcCosIs( S8 cos ) { attributeIs( pfcCos_, cos, pfcCosAttr ); }
    // Guaranteed cells; must not be TmConfigConstants::minLimitCellsInvalid() when a state machine
    // programs it.
    U32 minLimitCells() const { return minLimitCells_; }
    void minLimitCellsIs( U32 cells ) { attributeIs( minLimitCells_, cells, minLimitCellsAttr ); }
    // Factor of the queue's share of the egress pool.
    BurstAbsorptionCoeff dynamicThreshold() const { return dynamicThreshold_; }
    void dynamicThresholdIs( BurstAbsorptionCoeff factor ) {
        attributeIs( dynamicThreshold_, factor, dynamicThresholdAttr );
    }
    // 0: strict priority by queue number; anything else: round robin by weight.
    U8 priority() const { return priority_; }
    void priorityIs( U8 priority ) { attributeIs( priority_, priority, priorityAttr ); }
    // Weight among the queues served round robin.
    U16 weight() const { return weight_; }
    void weightIs( U16 weight ) { attributeIs( weight_, weight, weightAttr ); }
    const RateParams & rateParams() const { return rateParams_; }
    void rateParamsIs( const RateParams & params ) {
        attributeIs( rateParams_, params, rateParamsAttr );
    }

  private:
    TxQueueId txQueueId_;
    S8 pfcCos_ = -1;
    U8 priority_ = 0;
    U16 weight_ = 1;
    U32 minLimitCells_ = 0;
    BurstAbsorptionCoeff dynamicThreshold_ = bafInvalid;
    RateParams rateParams_;
};

} // namespace KelQos
