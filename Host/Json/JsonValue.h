#pragma once

#include "Platform/Framework/Types.h"

#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace KelHost {

class JsonValue;
struct JsonMember;

// The members of a JSON object in the order in which they were added. Look-up by name costs a hash;
// a pointer to a member's value is valid until a member is added or removed.
class JsonObject {
  public:
    using Members = std::vector<JsonMember>;

    JsonObject();
    JsonObject( const JsonObject & );
    JsonObject( JsonObject && ) noexcept;
    JsonObject & operator=( const JsonObject & );
    JsonObject & operator=( JsonObject && ) noexcept;
    ~JsonObject();

    // Null when there is no member of that name.
    const JsonValue * find( std::string_view name ) const;
    JsonValue * find( std::string_view name );

    // Adds a member after the others, or returns null when the name is taken.
    JsonValue * add( std::string name );

    // Removes a member; does nothing when there is none.
    void remove( std::string_view name );

    std::size_t size() const;
    Members::const_iterator begin() const;
    Members::const_iterator end() const;

    // Same members with equal values, whatever their order.
    friend bool operator==( const JsonObject & left, const JsonObject & right );

  private:
    std::size_t slotOf( std::string_view name ) const;
    void indexAll( std::size_t slots );

    Members members_;
    // Open addressing: a slot holds 1 + the position of a member, 0 when it is free. Empty as
    // long as the object is so small that looking at every member is cheaper.
    std::vector<U32> index_;
};

using JsonArray = std::vector<JsonValue>;

// A JSON value as it was written: integers are kept exactly, in 64 bits, and are not the same as
// numbers with a fraction or an exponent. An integer of more than 64 bits is kept as F64 (no member
// of a document reaches that far, so it is only ever refused).
class JsonValue {
  public:
    // S64 holds negative integers only, so that every integer has one form.
    using Variant =
        std::variant<std::monostate, bool, U64, S64, F64, std::string, JsonArray, JsonObject>;

    JsonValue() = default;
    explicit JsonValue( Variant value ) : value_( std::move( value ) ) {}

    bool isNull() const { return std::holds_alternative<std::monostate>( value_ ); }

    // The value when it has that type, else null.
    template <class T>
    const T * as() const {
        return std::get_if<T>( &value_ );
    }
    template <class T>
    T * as() {
        return std::get_if<T>( &value_ );
    }

    bool operator==( const JsonValue & ) const = default;

  private:
    Variant value_;
};

struct JsonMember {
    std::string name;
    JsonValue value;
};

// `target` after the JSON merge patch `patch` (RFC 7396): members that are null in the patch are
// removed, objects are merged member by member, everything else is replaced.
JsonValue mergePatch( JsonValue target, const JsonValue & patch );

// A name as one token of a JSON pointer: "~" becomes "~0" and "/" becomes "~1". Control
// characters are written as in JSON text, so that a pointer stays on its line.
std::string pointerToken( std::string_view name );

} // namespace KelHost
