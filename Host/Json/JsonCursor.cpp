#include "Host/Json/JsonCursor.h"

namespace KelHost {

std::string JsonCursor::pointer() const {
    if ( parent_ == nullptr ) {
        return {};
    }
    const bool inArray = parent_->value_.is_array();
    return parent_->pointer() + '/' +
           ( inArray ? std::to_string( index_ ) : pointerToken( name_ ) );
}

void JsonCursor::refuse( std::string_view text ) const { place_.refuse( pointer(), text ); }

} // namespace KelHost
