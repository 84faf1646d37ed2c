#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace KelHost {

// Refused input. what() is one line that names the file, the place in it and what is allowed there;
// it is meant for the user as it stands. A function that throws it has changed nothing.
class DocumentError : public std::runtime_error {
  public:
    explicit DocumentError( const std::string & line ) : std::runtime_error( line ) {}
};

// Where a JSON value that is being checked comes from, so that an error can name it.
struct DocumentPlace {
    // As the user gave it.
    std::string file;
    // JSON pointer of the value in that file; empty: the file's root.
    std::string root = {};
    // The value is not written in the file: it is what the merge patch at `root` makes of the
    // document before it. Pointers then lead into that result.
    bool afterPatch = false;

    // "FILE: POINTER: TEXT" for a member of the value; `pointer` is relative to the value and is
    // left out together with its colon when it leads to the root of the file. One line of at most
    // messageLimit bytes, whatever the names are.
    std::string line( std::string_view pointer, std::string_view text ) const;

    // The file as a message names it.
    std::string shownFile() const;

    [[noreturn]] void refuse( std::string_view pointer, std::string_view text ) const;
};

// A name as one token of a JSON pointer in a message: "~" becomes "~0" and "/" becomes "~1", and a
// long name is cut.
std::string pointerToken( std::string_view name );

} // namespace KelHost
