#pragma once

#include "Host/Switch/ChipAccess.h"
#include "Model/Chip.h"

#include <functional>
#include <memory>
#include <utility>

namespace KelHost {

// The modelled chip as the chip of this process.
class ModelledChip : public ChipAccess {
  public:
    // Makes the modelled chip, which is the current one from then on, and gives it to `prepare`
    // before the first driver call.
    using Prepare = std::function<void( KelModel::Chip & )>;
    explicit ModelledChip( Prepare prepare = {} ) : prepare_( std::move( prepare ) ) {}

    ChipHandles attach( const DeviceSettings & device ) override;

    // There is one once attach() has run.
    KelModel::Chip & chip() { return *chip_; }

  private:
    Prepare prepare_;
    std::unique_ptr<KelModel::Chip> chip_;
};

} // namespace KelHost
