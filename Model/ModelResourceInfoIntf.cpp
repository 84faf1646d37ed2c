#include "Model/ModelResourceInfoIntf.h"

#include "Model/Chip.h"
#include "Platform/Framework/Exceptions.h"

#include <string>

namespace KelModel {

namespace {

constexpr U32 wredQueueSelectIndex = 0;

} // namespace

U32 ModelResourceInfoIntf::tableIndex( std::string_view tableName ) const {
    return tableName == "wredQueueSelect" ? wredQueueSelectIndex : noTableIndex;
}

KelDriver::TableRecord ModelResourceInfoIntf::table( U32 tableIndex ) const {
    if ( tableIndex != wredQueueSelectIndex ) {
        throw Kel::RangeException( "no table has the index " + std::to_string( tableIndex ) );
    }
    return { .tableHandle = wredQueueSelectTableHandle };
}

U32 ModelResourceInfoIntf::tableWredField( std::string_view resourceName,
                                           KelDriver::WredFieldId field ) const {
    const bool known =
        resourceName == "wredBlock" && field == KelDriver::WredFieldId::resourceHandle;
    return known ? wredBlockResourceHandle : 0;
}

} // namespace KelModel
