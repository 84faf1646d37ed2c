#pragma once

#include "Host/Document/SwitchDocument.h"
#include "Host/Json/JsonTree.h"

#include <string>
#include <vector>

namespace KelHost {

// A switch document as it was written, and what it says.
struct WrittenDocument {
    std::string file; // as the user gave it
    JsonTree tree;
    SwitchDocument document;
};

// Throws DocumentError when anything in the text is refused. `file` is what errors call it.
WrittenDocument writtenDocument( std::string_view text, const std::string & file );

// A member that two documents give different values. Absent members have their defaults; an object
// that is absent on one side is null there, and whole on the other.
struct MemberChange {
    std::string pointer;           // JSON pointer
    std::vector<std::string> path; // the names in it
    Json before;
    Json after;
};

// Ascending by pointer.
std::vector<MemberChange> memberChanges( const WrittenDocument & before,
                                         const WrittenDocument & after );

} // namespace KelHost
