#pragma once

#include "Platform/Driver/ResourceInfoIntf.h"

namespace KelModel {

// Knows the one table and the one WRED resource of the modelled data plane: "wredQueueSelect" and
// "wredBlock".
class ModelResourceInfoIntf : public KelDriver::ResourceInfoIntf {
  public:
    U32 tableIndex( std::string_view tableName ) const override;
    KelDriver::TableRecord table( U32 tableIndex ) const override;
    U32 tableWredField( std::string_view resourceName,
                        KelDriver::WredFieldId field ) const override;
};

} // namespace KelModel
