#pragma once

#include "Platform/Framework/Entity.h"

namespace KelQos {

// Buffer parameters of one chip.
class TmBufferParamsConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId {
        totalCellsAvailableForIngressAttr = 1,
        leakThresholdAttr,
        leakPollIntervalAttr,
    };

    // Cells that the ingress side may use.
    U32 totalCellsAvailableForIngress() const { return totalCellsAvailableForIngress_; }
    void totalCellsAvailableForIngressIs( U32 cells ) {
        attributeIs( totalCellsAvailableForIngress_, cells, totalCellsAvailableForIngressAttr );
    }
    // A buffer leak is declared when this many packets, or more, were dropped in all egress pipes
    // together. 0 declares one at the first poll.
    U32 leakThreshold() const { return leakThreshold_; }
    void leakThresholdIs( U32 packets ) {
        attributeIs( leakThreshold_, packets, leakThresholdAttr );
    }
    // Seconds between two polls of the drop counters; above 0.
    F64 leakPollInterval() const { return leakPollInterval_; }
    void leakPollIntervalIs( F64 seconds ) {
        attributeIs( leakPollInterval_, seconds, leakPollIntervalAttr );
    }

  private:
    U32 totalCellsAvailableForIngress_ = 0;
    U32 leakThreshold_ = 0xFFFFFFFF;
    F64 leakPollInterval_ = 1.0;
};

} // namespace KelQos
