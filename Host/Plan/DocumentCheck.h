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

// Checks a document, and keeps no more than so many warnings. Which of several objects that reserve
// as much comes first is a matter of their names.
DocumentCheck checkOf( const SwitchDocument & document, const std::string & file,
                       std::size_t mostWarnings );

// Checks the text of a switch document. Throws DocumentError when anything in it is refused. `file`
// is what errors call it.
DocumentCheck checkOf( std::string_view text, const std::string & file );

} // namespace KelHost
