#pragma once

#include "Platform/Framework/Entity.h"

namespace KelSlice {

// Status of one chip.
class ChipStatus : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { maxPipeIdAttr = 1 };

    // The highest pipe of the chip; pipes are counted from 0 to this one inclusive.
    U16 maxPipeId() const { return maxPipeId_; }
    void maxPipeIdIs( U16 pipe ) { attributeIs( maxPipeId_, pipe, maxPipeIdAttr ); }

  private:
    U16 maxPipeId_ = 3;
};

} // namespace KelSlice
