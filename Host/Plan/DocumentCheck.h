#pragma once

#include "Host/Plan/BufferUse.h"
#include "Host/Plan/Warnings.h"

#include <string>

namespace KelHost {

// What can be said of a switch document before a chip is touched.
struct DocumentCheck {
    std::string file; // as the user gave it
    BufferUse use;
    Warnings warnings;
};

// Checks the text of a switch document. Throws DocumentError when anything in it is refused. `file`
// is what errors call it.
DocumentCheck checkOf( std::string_view text, const std::string & file );

// One JSON object, and a line end.
std::string jsonOf( const DocumentCheck & check );

} // namespace KelHost
