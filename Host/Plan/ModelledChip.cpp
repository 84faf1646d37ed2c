#include "Host/Plan/ModelledChip.h"

#include "Model/ModelPdIntf.h"
#include "Model/ModelResourceInfoIntf.h"

namespace KelHost {

ChipHandles ModelledChip::attach( const DeviceSettings & device ) {
    chip_ = std::make_unique<KelModel::Chip>( device.id, device.totalCells );
    KelModel::Chip::currentIs( chip_.get() );
    if ( prepare_ ) {
        prepare_( *chip_ );
    }
    return { KelModel::pipeManagerSession, Kel::makePtr<KelModel::ModelPdIntf>( *chip_ ),
             Kel::makePtr<KelModel::ModelResourceInfoIntf>() };
}

} // namespace KelHost
