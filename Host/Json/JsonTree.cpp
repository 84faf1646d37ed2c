#include "Host/Json/JsonTree.h"

namespace KelHost {

// From the leaves on, since what is empty is destroyed at once. No tree is deeper than a few calls.
void dismantle( Json & value ) noexcept {
    if ( auto * members = value.get_ptr<Json::object_t *>() ) {
        for ( auto & [name, member] : *members ) {
            dismantle( member );
        }
        members->clear();
    } else if ( auto * elements = value.get_ptr<Json::array_t *>() ) {
        for ( Json & element : *elements ) {
            dismantle( element );
        }
        elements->clear();
    }
    value = nullptr;
}

} // namespace KelHost
