#pragma once

#include "Platform/Entities/KelId.h"
#include "Platform/Framework/Collections.h"
#include "Platform/Framework/Record.h"

namespace KelQos {

// One drop profile. Values are passed to the chip as they are.
struct WredBlockResourceConfig {
    U32 minThdCells = 0;          // queue depth in cells at which dropping starts
    U32 maxThdCells = 0;          // queue depth in cells from which the maximum probability holds
    F32 maxDropProbability = 0.0; // 0 to 1
    F32 timeConstantNs = 0.0;     // of the averaging, in nanoseconds

    std::size_t hash() const { return Kel::recordHash( *this ); }
    friend bool operator==( const WredBlockResourceConfig &,
                            const WredBlockResourceConfig & ) = default;
    friend std::string valueToStrep( const WredBlockResourceConfig & config ) {
        return Kel::recordToStrep( config );
    }
    static constexpr auto record() {
        return std::tuple(
            "KelQos::WredBlockResourceConfig",
            Kel::Field{ "minThdCells", &WredBlockResourceConfig::minThdCells },
            Kel::Field{ "maxThdCells", &WredBlockResourceConfig::maxThdCells },
            Kel::Field{ "maxDropProbability", &WredBlockResourceConfig::maxDropProbability },
            Kel::Field{ "timeConstantNs", &WredBlockResourceConfig::timeConstantNs } );
    }
};

// Drop profiles of one pipe, by their index in the chip's WRED resource.
class WredBlockPipeConfig : public Kel::Entity {
  public:
    enum Attribute : Kel::AttributeId { resourceConfigAttr = 1 };
    using ResourceConfigs = Kel::ValueCollection<U16, WredBlockResourceConfig>;

    const ResourceConfigs & resourceConfig() const { return resourceConfig_; }
    // A profile with its default values when there is none at the index.
    WredBlockResourceConfig resourceConfig( U16 index ) const {
        const WredBlockResourceConfig * config = resourceConfig_.find( index );
        return config ? *config : WredBlockResourceConfig();
    }
    bool resourceConfigHas( U16 index ) const { return resourceConfig_.has( index ); }
    void resourceConfigIs( U16 index, const WredBlockResourceConfig & config ) {
        resourceConfig_.set( index, config );
    }
    void resourceConfigDel( U16 index ) { resourceConfig_.erase( index ); }
    void resourceConfigDelAll() { resourceConfig_.eraseAll(); }

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
    // Returns the pipe's, or inserts a new one without entries.
    Kel::Ptr<WredBlockPipeConfig> pipeConfigIs( KelDriver::KelDevTgt devTgt ) {
        return pipeConfig_.getOrInsert( devTgt, newPipeConfig );
    }
    static Kel::Ptr<WredBlockPipeConfig> newPipeConfig() {
        return Kel::makePtr<WredBlockPipeConfig>();
    }
    // Inserts one that was filled before, replacing that of the same pipe.
    void pipeConfigIs( KelDriver::KelDevTgt devTgt, const Kel::Ptr<WredBlockPipeConfig> & config ) {
        pipeConfig_.insert( devTgt, config );
    }
    void pipeConfigDel( KelDriver::KelDevTgt devTgt ) { pipeConfig_.erase( devTgt ); }
    void pipeConfigDelAll() { pipeConfig_.eraseAll(); }

  private:
    PipeConfigs pipeConfig_{ *this, pipeConfigAttr };
};

} // namespace KelQos
