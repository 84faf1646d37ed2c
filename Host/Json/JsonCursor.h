#pragma once

#include "Host/Json/DocumentError.h"
#include "Host/Json/Json.h"

namespace KelHost {

// A value inside a JSON tree, together with the path to it. Cursors live on the stack of the code
// that walks the tree: each refers to the one it was made from, so that the pointer of a value is
// put together only when an error needs it.
class JsonCursor {
  public:
    JsonCursor( const Json & root, const DocumentPlace & place )
        : value_( root ), place_( place ) {}

    JsonCursor member( std::string_view name, const Json & value ) const {
        return JsonCursor( value, place_, this, name, 0 );
    }
    JsonCursor element( const Json & array, std::size_t index ) const {
        return JsonCursor( array[index], place_, this, {}, index );
    }

    const Json & value() const { return value_; }
    const DocumentPlace & place() const { return place_; }

    // The name of the member that this value is; empty for the root and array elements.
    std::string_view name() const { return name_; }

    // The object or array around the value. The root has none.
    const JsonCursor & parent() const { return *parent_; }

    // JSON pointer from the root of the walk.
    std::string pointer() const;

    // Throws DocumentError: `text` says what is allowed here.
    [[noreturn]] void refuse( std::string_view text ) const;

  private:
    JsonCursor( const Json & value, const DocumentPlace & place, const JsonCursor * parent,
                std::string_view name, std::size_t index )
        : value_( value ), place_( place ), parent_( parent ), name_( name ), index_( index ) {}

    const Json & value_;
    const DocumentPlace & place_;
    const JsonCursor * parent_ = nullptr;
    std::string_view name_;
    std::size_t index_ = 0;
};

} // namespace KelHost
