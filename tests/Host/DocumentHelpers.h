#pragma once

#include "Host/Document/SwitchDocumentDecoder.h"
#include "Host/Json/DocumentError.h"
#include "Host/Json/JsonReader.h"

#include <string>
#include <string_view>

namespace KelHostTest {

using namespace KelHost;

inline SwitchDocument decoded( std::string_view text ) {
    return decodeSwitchDocument( readJson( text, "leaf.json" ), { .file = "leaf.json" } );
}

// What `action` refuses its input with; empty when it accepts it.
template <class Action>
std::string refusalOf( Action action ) {
    try {
        action();
    } catch ( const DocumentError & error ) {
        return error.what();
    }
    return {};
}

// Why a switch document "leaf.json" of that text is refused; empty when it is valid.
inline std::string refusal( std::string_view text ) {
    return refusalOf( [text] { decoded( text ); } );
}

} // namespace KelHostTest
