#pragma once

#include "Host/Json/JsonCursor.h"
#include "Platform/Framework/Types.h"

#include <concepts>
#include <cstddef>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>

// The vocabulary in which a decoder says what a document may hold: a plain struct is decoded by a
// table of its members, each with the function that checks and stores it. Every function here
// throws DocumentError at the value that is not allowed.
namespace KelHost::Decode {

// One member of the JSON object that becomes a T.
template <class T>
struct Rule {
    std::string_view name;
    void ( *decode )( const JsonCursor &, T & );
    bool required = false;
};

// The class and the type of a member, given a pointer to it.
template <auto member>
struct MemberOf;
template <class T, class M, M T::*member>
struct MemberOf<member> {
    using Class = T;
    using Type = M;
};
template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <auto member>
using ClassOf = typename MemberOf<member>::Class;
template <auto member>
using TypeOf = typename MemberOf<member>::Type;

// Characters that a name has at most.
inline constexpr std::size_t nameLimit = 64;

const Json::object_t & readObject( const JsonCursor & );
bool readBoolean( const JsonCursor & );
const std::string & readText( const JsonCursor & );
// 1 to 64 printable ASCII characters.
const std::string & readName( const JsonCursor & );

// An integer in the given range, written without fraction and exponent, as its 64 bits.
U64 readInteger( const JsonCursor &, S64 low, U64 high );

// An integer or a number with fraction or exponent, in the given range.
F64 readNumber( const JsonCursor &, F64 low, F64 high );

// The position of the value in `words`.
std::size_t readWord( const JsonCursor &, std::span<const std::string_view> words );

// The name of the value as a number: decimal, without leading zeros, 0 to `high`. `what` says
// what the number counts.
U64 readKey( const JsonCursor &, U64 high, std::string_view what );

[[noreturn]] void refuseUnknown( const JsonCursor &, std::span<const std::string_view> allowed );
[[noreturn]] void refuseCount( const JsonCursor &, std::span<const std::string_view> allowed );
[[noreturn]] void refuseMissing( const JsonCursor &, std::string_view missing );

// Fills `out` from the members of a JSON object.
template <class T, std::size_t n>
void object( const JsonCursor & cursor, T & out, const Rule<T> ( &rules )[n] ) {
    bool found[n] = {};
    for ( const auto & [name, value] : readObject( cursor ) ) {
        std::size_t i = 0;
        while ( i < n && rules[i].name != name ) {
            ++i;
        }
        const JsonCursor inner = cursor.member( name, value );
        if ( i == n ) {
            std::string_view names[n];
            for ( std::size_t k = 0; k < n; ++k ) {
                names[k] = rules[k].name;
            }
            refuseUnknown( inner, names );
        }
        rules[i].decode( inner, out );
        found[i] = true;
    }
    for ( std::size_t i = 0; i < n; ++i ) {
        if ( rules[i].required && !found[i] ) {
            refuseMissing( cursor, rules[i].name );
        }
    }
}

// What the tables are made of.

template <auto member, S64 low, U64 high>
void integer( const JsonCursor & cursor, ClassOf<member> & out ) {
    out.*member = static_cast<TypeOf<member>>( readInteger( cursor, low, high ) );
}

// The whole range of an unsigned type.
template <auto member>
void anyUnsigned( const JsonCursor & cursor, ClassOf<member> & out ) {
    integer<member, 0, std::numeric_limits<TypeOf<member>>::max()>( cursor, out );
}

template <auto member>
void boolean( const JsonCursor & cursor, ClassOf<member> & out ) {
    out.*member = readBoolean( cursor );
}

template <auto member>
void text( const JsonCursor & cursor, ClassOf<member> & out ) {
    out.*member = readText( cursor );
}
template <auto member>
void name( const JsonCursor & cursor, ClassOf<member> & out ) {
    out.*member = readName( cursor );
}

// An enumeration (or an optional one) whose values are the positions of the words.
template <auto member, const auto & words>
void word( const JsonCursor & cursor, ClassOf<member> & out ) {
    using Type = TypeOf<member>;
    const std::size_t position = readWord( cursor, words );
    if constexpr ( isOptional<Type> ) {
        out.*member = static_cast<typename Type::value_type>( position );
    } else {
        out.*member = static_cast<Type>( position );
    }
}

// A nested struct, or an optional one, by its own function.
template <auto member, auto decode>
void nested( const JsonCursor & cursor, ClassOf<member> & out ) {
    if constexpr ( isOptional<TypeOf<member>> ) {
        decode( cursor, ( out.*member ).emplace() );
    } else {
        decode( cursor, out.*member );
    }
}

// A JSON object whose member names are numbers, into a map keyed by them.
template <class Map>
void numbered( const JsonCursor & cursor, Map & out, U64 highestKey, std::string_view what,
               void ( *decode )( const JsonCursor &, typename Map::mapped_type & ) ) {
    for ( const auto & [name, value] : readObject( cursor ) ) {
        const JsonCursor inner = cursor.member( name, value );
        const U64 key = readKey( inner, highestKey, what );
        decode( inner, out[static_cast<typename Map::key_type>( key )] );
    }
}

} // namespace KelHost::Decode
