#pragma once

#include "Model/Chip.h"
#include "Platform/Driver/PdIntf.h"

namespace KelModel {

// Writes the WRED entries of one modelled chip, which must outlive it. The chip keeps an entry for
// any pipe, handle and index.
class ModelPdIntf : public KelDriver::PdIntf {
  public:
    explicit ModelPdIntf( Chip & chip ) : chip_( chip ) {}

    U32 wredSetIndirect( U32 sessionHdl, U32 devId, U16 pipeId, U32 wredHdl, U32 index,
                         const p4_pd_red_spec * spec ) override;

  private:
    Chip & chip_;
};

} // namespace KelModel
