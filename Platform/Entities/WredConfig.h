#pragma once

#include "Platform/Entities/KelId.h"
#include "Platform/Framework/Collections.h"

namespace KelQos {

// One drop profile. Values are passed to the chip as they are.
struct WredBlockResourceConfig {
    U32 minThdCells = 0;          // queue depth in cells at which dropping starts
    U32 maxThdCells = 0;          // queue depth in cells from which the maximum probability holds
    F32 maxDropProbability = 0.0; // 0 to 1
    F32 timeConstantNs = 0.0;     // of the averaging, in nanoseconds

    friend bool operator==( const WredBlockResourceConfig &,
                            const WredBlockResourceConfig & ) = default;
};

// Drop profiles of one pipe, by their index in the chip's WRED resource.
class WredBlockPipeConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { resourceConfigAttr = 1 };
    using ResourceConfigs = Kel::ValueCollection<U16, WredBlockResourceConfig>;

    const ResourceConfigs & resourceConfig() const { return resourceConfig_; }
    void resourceConfigIs( U16 index, const WredBlockResourceConfig & config ) {
        resourceConfig_.set( index, config );
    }
    void resourceConfigDel( U16 index ) { resourceConfig_.erase( index ); }

  private:
    ResourceConfigs resourceConfig_{ *this, resourceConfigAttr };
};

// Drop profiles of one chip, by device and pipe.
class WredBlockConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { pipeConfigAttr = 1 };
    using PipeConfigs = Kel::MemberCollection<KelDriver::KelDevTgt, WredBlockPipeConfig>;

    const PipeConfigs & pipeConfig() const { return pipeConfig_; }
    Kel::Ptr<WredBlockPipeConfig> pipeConfig( KelDriver::KelDevTgt devTgt ) const {
        return pipeConfig_.get( devTgt );
    }
    bool pipeConfigHas( KelDriver::KelDevTgt devTgt ) const { return pipeConfig_.has( devTgt ); }
    // Inserts one that was filled before, in place of another of its pipe.
    void pipeConfigIs( KelDriver::KelDevTgt devTgt, const Kel::Ptr<WredBlockPipeConfig> & config ) {
        pipeConfig_.insert( devTgt, config );
    }
    void pipeConfigDel( KelDriver::KelDevTgt devTgt ) { pipeConfig_.erase( devTgt ); }

  private:
    PipeConfigs pipeConfig_{ *this, pipeConfigAttr };
};

} // namespace KelQos
