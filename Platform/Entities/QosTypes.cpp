#include "Platform/Entities/QosTypes.h"

#include <array>

namespace KelQos {

const char * stringValue( FlowControlType type ) {
    switch ( type ) {
    case flowControlTypeNone:
        return "flowControlTypeNone";
    case flowControlTypeLinkPause:
        return "flowControlTypeLinkPause";
    case flowControlTypePfc:
        return "flowControlTypePfc";
    }
    return "unknown";
}

const char * stringValue( BurstAbsorptionCoeff factor ) {
    constexpr std::array<const char *, bafInvalid + 1> names{ "baf0", "baf1", "baf2",      "baf3",
                                                              "baf4", "baf5", "baf6",      "baf7",
                                                              "baf8", "baf9", "bafInvalid" };
    return factor < names.size() ? names[factor] : "unknown";
}

} // namespace KelQos
