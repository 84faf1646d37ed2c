#pragma once

#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Types.h"

#include <string_view>

namespace KelDriver {

// A field of a WRED resource's description.
enum class WredFieldId : U32 { resourceHandle = 0 };

// What the data plane's program says about one of its tables.
struct TableRecord {
    U32 tableHandle = 0; // names the table to the pipe manager
};

// The host's directory of the tables and resources of the data plane's program, by name.
class ResourceInfoIntf : public Kel::Entity {
  public:
    static constexpr U32 noTableIndex = 0x0FFFFFFF;

    // The index of the table, or noTableIndex when the program has none of that name.
    virtual U32 tableIndex( std::string_view tableName ) const = 0;

    // The record of the table at an index that tableIndex returned; any other index is an error of
    // the caller and throws Kel::RangeException.
    virtual TableRecord table( U32 tableIndex ) const = 0;

    // One field of the WRED resource of that name; 0 when the program has none.
    virtual U32 tableWredField( std::string_view resourceName, WredFieldId field ) const = 0;
};

} // namespace KelDriver
